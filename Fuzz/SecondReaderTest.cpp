// The second JSON reader: the texts that it accepts, and that the first one agrees.

#include "SecondReader.h"

#include <gtest/gtest.h>

#include <string>

#include "JsonAccess.h"

namespace {

using fuzz::Verdict;

std::string Times(std::size_t count, const std::string& part) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i)
    text += part;
  return text;
}

// The second reader's verdict. Expects the same verdict of the first, unless both verdicts are
// right.
Verdict Judged(const std::string& text) {
  const Verdict verdict = fuzz::JudgeText(text.c_str());
  rapidjson::Document document;
  const bool isTaken = json::Parse(text.c_str(), document);
  EXPECT_TRUE(verdict == Verdict::kEither || isTaken == (verdict == Verdict::kTaken))
      << text.substr(0, 100);
  return verdict;
}

TEST(SecondReaderTest, JsonIsTaken) {
  for (const char* text :
       {"{}", " [1,-0,0.5,1e2,-1E-2] \n", "\"\"", "null", "{\"a\":{\"a\":[true,false]}}",
        "\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u00e4\\uD83D\\uDD0A\"", "\"\x7F\"", "1.7e308", "-1e-400",
        // The service accepts these although other readers would refuse them.
        "\"\xFF\xC3\"", "\"\\udc00\"", "\"\\\\udc00\"", "\"\\uD83D\\uDD0A\\udd0a\""})
    EXPECT_EQ(Judged(text), Verdict::kTaken) << text;
}

TEST(SecondReaderTest, WhatIsNotJsonIsRefused) {
  for (const char* text : {"",
                           " ",
                           "{",
                           "[1,]",
                           "{\"a\":1,}",
                           "{} {}",
                           "01",
                           "1.",
                           ".5",
                           "+1",
                           "-",
                           "1e",
                           "NaN",
                           "tru",
                           "'a'",
                           "\"a",
                           "\"\n\"",
                           "\"\\x\"",
                           "\"\\u12\"",
                           "\"\\ud83d\"",
                           "\"\\ud83dx\"",
                           "\"\\ud83d\\u0041\"",
                           "\"\\",
                           "\xEF\xBB\xBF{}",
                           "\xFF",
                           "\\udc00",
                           "// a\n{}",
                           "1e309",
                           "-99e308",
                           "1.9e308"})
    EXPECT_EQ(Judged(text), Verdict::kRefused) << text;
}

TEST(SecondReaderTest, EndOfTheRangeAndNumbersThatAreGivenUpMayBeEither) {
  for (const std::string& text :
       {std::string("1.7976931348623157e308"), std::string("[1.797693134862315810e308]"),
        std::string("0e309"), std::string("0.0e99999"), "1" + Times(320, "0") + "e-100"})
    EXPECT_EQ(Judged(text), Verdict::kEither) << text;
}

TEST(SecondReaderTest, ARefusalOutweighsANumberThatMayBeEither) {
  EXPECT_EQ(Judged("[0e309,]"), Verdict::kRefused);
  EXPECT_EQ(Judged("[0e309,1e309]"), Verdict::kRefused);
}

TEST(SecondReaderTest, LimitsAreThoseOfTheService) {
  const std::size_t size = json::kMaxDocumentSize - 2;
  EXPECT_EQ(Judged("\"" + Times(size, "a") + "\""), Verdict::kTaken);
  EXPECT_EQ(Judged("\"" + Times(size, "a") + "\" "), Verdict::kRefused);
  const std::size_t nesting = json::kMaxNesting;
  EXPECT_EQ(Judged(Times(nesting, "[") + Times(nesting, "]")), Verdict::kTaken);
  EXPECT_EQ(Judged(Times(nesting + 1, "[") + Times(nesting + 1, "]")), Verdict::kRefused);
  EXPECT_EQ(Judged("[" + Times(100, "[[]],") + Times(nesting - 1, "[") + Times(nesting, "]")),
            Verdict::kTaken);
  // The array itself counts, and so do the key and the value of a member.
  const std::size_t values = json::kMaxValues;
  EXPECT_EQ(Judged("[0" + Times(values - 2, ",0") + "]"), Verdict::kTaken);
  EXPECT_EQ(Judged("[0" + Times(values - 1, ",0") + "]"), Verdict::kRefused);
  EXPECT_EQ(Judged("[{\"\":0" + Times(values / 2 - 2, ",\"\":0") + "}]"), Verdict::kTaken);
  EXPECT_EQ(Judged("[0,{\"\":0" + Times(values / 2 - 2, ",\"\":0") + "}]"), Verdict::kRefused);
}

TEST(SecondReaderTest, WhatFollowsAZeroIsNotSeen) {
  EXPECT_EQ(fuzz::JudgeText("{}\0x"), Verdict::kTaken);
}

}  // namespace
