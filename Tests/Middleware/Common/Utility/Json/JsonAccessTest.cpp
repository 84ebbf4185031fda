// Strict access to JSON documents.

#include "JsonAccess.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "DeepNesting.h"

namespace {

rapidjson::Document Parsed(const std::string& text) {
  rapidjson::Document document;
  EXPECT_TRUE(json::Parse(text.c_str(), document)) << text;
  return document;
}

/// The result of `json::Read` for one JSON value; nothing if it is refused. A refused value must
/// not change the target.
template <typename Target>
std::optional<Target> ReadValue(const std::string& jsonValue, Target before) {
  const rapidjson::Document document = Parsed("{\"Key\":" + jsonValue + "}");
  Target target = before;
  if (json::Read(document, "Key", target))
    return target;
  EXPECT_EQ(target, before) << jsonValue;
  return std::nullopt;
}

template <typename Target>
struct ReadCase {
  const char* jsonValue;
  std::optional<Target> expected;  // nothing: refused
};

template <typename Target>
void ExpectReads(const std::vector<ReadCase<Target>>& cases, Target before) {
  for (const ReadCase<Target>& readCase : cases)
    EXPECT_EQ(ReadValue(readCase.jsonValue, before), readCase.expected) << readCase.jsonValue;
}

// --- Parsing ---

TEST(JsonAccessTest, NullTextIsNotADocument) {
  rapidjson::Document document;
  EXPECT_FALSE(json::Parse(nullptr, document));
  EXPECT_FALSE(json::ParseObject(nullptr, document));
}

TEST(JsonAccessTest, TextThatIsNotJsonIsRefused) {
  for (const char* text : {"", " ", "{", "}", "{} {}", "{}x", "{'a':1}", "{a:1}", "{\"a\":1,}",
                           "{\"a\":}", "[1,]", "{\"a\":NaN}", "{\"a\":01}", "{\"a\":+1}",
                           "{\"a\":0x10}", "{\"a\":True}", "{\"a\":\"b}", "{/**/}", "Start"}) {
    rapidjson::Document document;
    EXPECT_FALSE(json::Parse(text, document)) << text;
    EXPECT_FALSE(json::ParseObject(text, document)) << text;
  }
}

TEST(JsonAccessTest, NumberBeyondTheRangeOfADoubleRefusesTheDocument) {
  for (const char* number : {"1e309", "-1e309", "99e308", "-99e308", "1.8e308", "1e99999"})
    for (const std::string& text : {"{\"unknown\":" + std::string(number) + "}",
                                    "{\"a\":1,\"b\":[{\"c\":" + std::string(number) + "}]}"}) {
      rapidjson::Document document;
      EXPECT_FALSE(json::Parse(text.c_str(), document)) << text;
    }
  for (const char* number : {"1.7e308", "-1.7e308", "1e308", "1e-400"})
    Parsed("{\"a\":" + std::string(number) + "}");
}

TEST(JsonAccessTest, OnlyAnObjectIsAnObject) {
  for (const char* text : {"[]", "[{}]", "1", "\"{}\"", "true", "null"}) {
    rapidjson::Document document;
    EXPECT_TRUE(json::Parse(text, document)) << text;
    EXPECT_FALSE(json::ParseObject(text, document)) << text;
  }
  for (const char* text : {"{}", " {\n\t} ", "{\"a\":1}"}) {
    rapidjson::Document document;
    EXPECT_TRUE(json::ParseObject(text, document)) << text;
  }
}

// A document of exactly `size` bytes.
std::string DocumentOf(std::size_t size) {
  constexpr std::size_t kFrame = sizeof R"({"a":""})" - 1;
  return R"({"a":")" + std::string(size - kFrame, 'x') + R"("})";
}

// An array of `elements` numbers. It counts as `elements` + 1 values.
std::string ArrayOf(std::size_t elements) {
  std::string text = "[0";
  for (std::size_t i = 1; i < elements; ++i)
    text += ",0";
  return text + "]";
}

// An object of `members` members. It counts as 2 `members` + 1 values and keys.
std::string ObjectOf(std::size_t members) {
  std::string text = R"({"":0)";
  for (std::size_t i = 1; i < members; ++i)
    text += R"(,"":0)";
  return text + "}";
}

bool IsTaken(const std::string& text) {
  rapidjson::Document document;
  const bool isTaken = json::Parse(text.c_str(), document);
  EXPECT_TRUE(isTaken || document.IsNull());
  return isTaken;
}

TEST(JsonAccessTest, TensOfThousandsOfLevelsAreRefused) {
  for (const std::string& text :
       {UnclosedArrays(), UnclosedObjects(), NestedArrays(), NestedObjects()})
    EXPECT_FALSE(IsTaken(text)) << text.substr(0, 5);
}

TEST(JsonAccessTest, NestingIsTakenUpToItsLimit) {
  EXPECT_TRUE(IsTaken(NestedArrays(json::kMaxNesting)));
  EXPECT_TRUE(IsTaken(NestedObjects(json::kMaxNesting)));
  EXPECT_FALSE(IsTaken(NestedArrays(json::kMaxNesting + 1)));
  EXPECT_FALSE(IsTaken(NestedObjects(json::kMaxNesting + 1)));
}

TEST(JsonAccessTest, ObjectsAndArraysSideBySideDoNotCountAsNesting) {
  std::string text = "[[]";
  for (std::size_t i = 0; i < 10 * json::kMaxNesting; ++i)
    text += ",{},[{}]";
  EXPECT_TRUE(IsTaken(text + "]"));
}

TEST(JsonAccessTest, SizeIsTakenUpToItsLimit) {
  EXPECT_TRUE(IsTaken(DocumentOf(json::kMaxDocumentSize)));
  EXPECT_FALSE(IsTaken(DocumentOf(json::kMaxDocumentSize + 1)));
  EXPECT_FALSE(IsTaken(std::string(json::kMaxDocumentSize, ' ') + "{}"));
}

TEST(JsonAccessTest, ValuesAndKeysAreTakenUpToTheirLimit) {
  EXPECT_TRUE(IsTaken(ArrayOf(json::kMaxValues - 1)));
  EXPECT_FALSE(IsTaken(ArrayOf(json::kMaxValues)));
  EXPECT_TRUE(IsTaken(ObjectOf((json::kMaxValues - 1) / 2)));
  EXPECT_FALSE(IsTaken(ObjectOf((json::kMaxValues + 1) / 2)));
}

TEST(JsonAccessTest, DocumentCanBeUsedAgainAfterARefusedText) {
  rapidjson::Document document;
  EXPECT_FALSE(json::ParseObject("{\"a\":", document));
  ASSERT_TRUE(json::ParseObject("{\"a\":1}", document));
  EXPECT_NE(json::Find(document, "a"), nullptr);
}

// --- Finding members ---

TEST(JsonAccessTest, KeysMatchExactly) {
  const auto document = Parsed(R"({"ClusterId":1,"Cluster\u0000Id":2})");
  EXPECT_NE(json::Find(document, "ClusterId"), nullptr);
  for (const char* key : {"clusterid", "CLUSTERID", "Cluster", "ClusterIds", " ClusterId", ""})
    EXPECT_EQ(json::Find(document, key), nullptr) << key;
}

TEST(JsonAccessTest, FirstOfDuplicateKeysCounts) {
  const auto document = Parsed(R"({"a":1,"a":2})");
  std::uint32_t value = 0;
  EXPECT_TRUE(json::Read(document, "a", value));
  EXPECT_EQ(value, 1u);
}

TEST(JsonAccessTest, SecondOfDuplicateKeysDoesNotStandInForAMistypedFirst) {
  const auto document = Parsed(R"({"a":"one","a":2})");
  std::uint32_t value = 7;
  EXPECT_FALSE(json::Read(document, "a", value));
  EXPECT_EQ(value, 7u);
}

TEST(JsonAccessTest, NullMemberIsPresent) {
  const auto document = Parsed(R"({"a":null})");
  ASSERT_NE(json::Find(document, "a"), nullptr);
  EXPECT_TRUE(json::Find(document, "a")->IsNull());
}

TEST(JsonAccessTest, ObjectsAndArraysAreFoundByTheirType) {
  const auto document = Parsed(R"({"o":{"x":1},"a":[1,2],"n":1,"s":"{}","z":null})");
  ASSERT_NE(json::FindObject(document, "o"), nullptr);
  EXPECT_NE(json::Find(*json::FindObject(document, "o"), "x"), nullptr);
  ASSERT_NE(json::FindArray(document, "a"), nullptr);
  EXPECT_EQ(json::FindArray(document, "a")->Size(), 2u);
  for (const char* key : {"a", "n", "s", "z", "missing"})
    EXPECT_EQ(json::FindObject(document, key), nullptr) << key;
  for (const char* key : {"o", "n", "s", "z", "missing"})
    EXPECT_EQ(json::FindArray(document, key), nullptr) << key;
}

// --- Reading values ---

TEST(JsonAccessTest, MissingKeyLeavesEveryTarget) {
  const auto document = Parsed("{}");
  bool flag = true;
  std::int32_t number = -5;
  std::uint32_t count = 5;
  std::uint64_t large = 55;
  std::string text = "before";
  EXPECT_FALSE(json::Read(document, "Key", flag));
  EXPECT_FALSE(json::Read(document, "Key", number));
  EXPECT_FALSE(json::Read(document, "Key", count));
  EXPECT_FALSE(json::Read(document, "Key", large));
  EXPECT_FALSE(json::Read(document, "Key", text));
  EXPECT_TRUE(flag);
  EXPECT_EQ(number, -5);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(large, 55u);
  EXPECT_EQ(text, "before");
}

TEST(JsonAccessTest, SignedTakesIntegersOf32BitsOnly) {
  ExpectReads<std::int32_t>({{"0", 0},
                             {"-0", 0},
                             {"-24", -24},
                             {"2147483647", 2147483647},
                             {"-2147483648", -2147483647 - 1},
                             {"2147483648", {}},
                             {"-2147483649", {}},
                             {"4294967296", {}},
                             {"9.0", {}},
                             {"-23.5", {}},
                             {"1e2", {}},
                             {"\"1\"", {}},
                             {"true", {}},
                             {"null", {}},
                             {"[1]", {}},
                             {"{}", {}}},
                            77);
}

TEST(JsonAccessTest, UnsignedTakesIntegersOf32BitsWithoutSignOnly) {
  ExpectReads<std::uint32_t>({{"0", 0},
                              {"2147483648", 2147483648u},
                              {"4294967295", 4294967295u},
                              {"4294967296", {}},
                              {"18446744073709551616", {}},
                              {"-1", {}},
                              {"9.0", {}},
                              {"9.5", {}},
                              {"1e2", {}},
                              {"\"1\"", {}},
                              {"true", {}},
                              {"null", {}},
                              {"[1]", {}},
                              {"{}", {}}},
                             77);
}

TEST(JsonAccessTest, LargeUnsignedTakesIntegersOf64BitsWithoutSignOnly) {
  ExpectReads<std::uint64_t>({{"0", 0},
                              {"4294967296", 4294967296u},
                              {"18446744073709551615", 18446744073709551615u},
                              {"18446744073709551616", {}},
                              {"-1", {}},
                              {"9.0", {}},
                              {"\"1\"", {}},
                              {"true", {}},
                              {"null", {}}},
                             77);
}

TEST(JsonAccessTest, FlagTakesTrueAndFalseOnly) {
  for (const bool before : {false, true})
    ExpectReads<bool>({{"true", true},
                       {"false", false},
                       {"1", {}},
                       {"0", {}},
                       {"\"true\"", {}},
                       {"null", {}},
                       {"[true]", {}}},
                      before);
}

TEST(JsonAccessTest, TextTakesStringsOnly) {
  ExpectReads<std::string>({{R"("Both")", "Both"},
                            {R"("")", ""},
                            {R"("a\"b\\c\/d\n\u00e9")", "a\"b\\c/d\n\xC3\xA9"},
                            {R"("a\u0000b")", std::string("a\0b", 3)},
                            {"7", {}},
                            {"true", {}},
                            {"null", {}},
                            {"[\"a\"]", {}},
                            {"{}", {}}},
                           "before");
}

}  // namespace
