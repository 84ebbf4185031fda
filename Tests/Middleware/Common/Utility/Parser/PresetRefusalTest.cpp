// Preset documents that are refused: incomplete, malformed and hostile ones. Each leaves the preset
// in its reset state.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "DeepNesting.h"
#include "JsonAccess.h"
#include "PresetFixture.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char kEmset[] =
    R"("EmsetConfig":[{"Slot":1,"Cage":2,"Signals":{"Flows":{"Primary":[{}]}}}])";

// Members of documents in which a required section is missing or bad.
const std::vector<std::string> kIncomplete[] = {
    {kMeterSet, kClock},
    {kClusters, kClock},
    {kClusters, kMeterSet},
    {R"("Clusters":{})", kMeterSet, kClock},
    {kClusters, R"("MeterSet":[])", kClock},
    {kClusters, kMeterSet, R"("SystemClockSource":[])"},
};

// Members of documents that are not read to their end.
const std::vector<std::string> kFatal[] = {
    {kClusters, R"("MeterSet":{"rear":{}})", kClock},
    {kClusters, R"("MeterSet":{"2147483648":{}})", kClock},
    {kClusters, kMeterSet, kClock, R"("Name":{"Preset":"News"})"},
};

// The document with these members, followed by `more`.
std::string DocumentWith(std::vector<std::string> members, const std::string& more) {
  members.push_back(more);
  return Document(members);
}

class PresetRefusalTest : public PresetTest {
 protected:
  ~PresetRefusalTest() override { cPresetParser::mpLogger = nullptr; }

  // Parses with a logger on the console and returns its lines on standard error.
  std::string LogOf(const std::string& text) {
    cPresetParser::mpLogger = Logger::GetInstance();
    cPresetParser::mpLogger->mConsoleAttached = true;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Parse(text), 0) << text;
    return testing::internal::GetCapturedStderr();
  }
};

}  // namespace

TEST_F(PresetRefusalTest, NullTextIsRefused) {
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_EQ(Parse(nullptr, true, false, 0, nullptr), 0);
  ExpectResetState();
}

TEST_F(PresetRefusalTest, TextThatIsNotAJsonObjectIsRefused) {
  const std::string cut = Accepted();
  const std::string cases[] = {"",        " ",
                               "{",       "[]",
                               "null",    "1",
                               "\"x\"",   "{} {}",
                               "{,}",     "NaN",
                               "{\"a\"}", cut.substr(0, cut.size() - 1),
                               "\xFF",    "{\"Count\":1e999}"};
  for (const std::string& text : cases) {
    EXPECT_EQ(Parse(Accepted()), 1);
    EXPECT_EQ(Parse(text), 0) << text;
    ExpectResetState();
  }
}

TEST_F(PresetRefusalTest, EachRequiredSectionMustBeThere) {
  EXPECT_EQ(Parse(Document({kMeterSet, kClock})), 0);
  ExpectResetState();
  EXPECT_EQ(Parse(Document({kClusters, kClock})), 0);
  ExpectResetState();
  EXPECT_EQ(Parse(Document({kClusters, kMeterSet, kName, R"("Repub":true)", kVideo, kDecoder})), 0)
      << "without a clock";
  ExpectResetState();
}

TEST_F(PresetRefusalTest, SectionOfAnotherTypeFailsTheDocument) {
  const std::vector<std::string> cases[] = {
      {R"("Clusters":{})", kMeterSet, kClock},
      {R"("Clusters":null)", kMeterSet, kClock},
      {R"("Clusters":[[]])", kMeterSet, kClock},
      {kClusters, R"("MeterSet":[])", kClock},
      {kClusters, R"("MeterSet":"1")", kClock},
      {kClusters, R"("MeterSet":{"1":[]})", kClock},
      {kClusters, R"("MeterSet":{"33":{}})", kClock},
      {kClusters, R"("MeterSet":{"0":{}})", kClock},
      {kClusters, R"("MeterSet":{"1":{"Source":[]}})", kClock},
      {kClusters, kMeterSet, R"("SystemClockSource":[])"},
      {kClusters, kMeterSet, kClock, R"("DolbyInputSource":[])"},
      {kClusters, kMeterSet, kClock, R"("VideoSource":null)"},
  };
  for (const std::vector<std::string>& members : cases) {
    EXPECT_EQ(Parse(Document(members)), 0) << Document(members);
    ExpectResetState();
  }
}

// Values that a reset does not change show that their section was read.
TEST_F(PresetRefusalTest, SectionsBehindOneThatFailsAreRead) {
  int slot = 0;
  for (const std::vector<std::string>& members : kIncomplete) {
    const std::string number = std::to_string(++slot);
    const std::string text =
        DocumentWith(members, R"("DolbyInputSource":{"Slot":)" + number +
                                  R"(},"VideoSource":{"Type":")" + number + "\"}");
    EXPECT_EQ(Parse(text), 0) << text;
    EXPECT_EQ(mPreset.miDolbySlot, slot) << text;
    EXPECT_EQ(mPreset.msVideoInputType, number) << text;
  }
}

TEST_F(PresetRefusalTest, VideoSourceBehindABadDolbyInputIsRead) {
  EXPECT_EQ(Parse(Document({kClusters, kMeterSet, kClock, R"("DolbyInputSource":[])", kVideo})), 0);
  EXPECT_EQ(mPreset.msVideoInputType, "SDI");
}

TEST_F(PresetRefusalTest, RoutingOfARefusedDocumentIsRead) {
  for (const std::vector<std::string>& members : kIncomplete) {
    mPreset.mAcorMap.clear();
    const std::string text = DocumentWith(members, kRouting);
    EXPECT_EQ(Parse(text), 0) << text;
    EXPECT_EQ(mPreset.mAcorMap.size(), 1U) << text;
  }
}

TEST_F(PresetRefusalTest, RefusedDocumentReadWithoutRoutingEmptiesTheMap) {
  for (const std::vector<std::string>& members : kIncomplete) {
    EXPECT_EQ(Parse(Accepted(kRouting)), 1);
    const std::string text = DocumentWith(members, kRouting);
    EXPECT_EQ(Parse(text.c_str(), false, false, 0, nullptr), 0) << text;
    EXPECT_THAT(mPreset.mAcorMap, IsEmpty()) << text;
  }
}

TEST_F(PresetRefusalTest, FatalFaultClearsTheRouting) {
  for (const std::vector<std::string>& members : kFatal) {
    EXPECT_EQ(Parse(Accepted(kRouting)), 1);
    const std::string text = DocumentWith(members, kRouting);
    EXPECT_EQ(Parse(text), 0) << text;
    ASSERT_EQ(mPreset.mAcorMap.size(), 1U) << text;
    const cAudChannelOutputRouting& record = *mPreset.mAcorMap.begin()->second;
    EXPECT_EQ(record.miPair, -1) << text;
    EXPECT_EQ(record.miOutputTrimDb, 0) << text;
    EXPECT_THAT(record.mMeterSources, IsEmpty()) << text;
  }
}

TEST_F(PresetRefusalTest, FatalFaultEmptiesTheMapOfADocumentReadWithoutRouting) {
  for (const std::vector<std::string>& members : kFatal) {
    EXPECT_EQ(Parse(Accepted(kRouting)), 1);
    EXPECT_EQ(Parse(DocumentWith(members, kRouting).c_str(), false, false, 0, nullptr), 0);
    EXPECT_THAT(mPreset.mAcorMap, IsEmpty()) << members.back();
  }
}

TEST_F(PresetRefusalTest, EmsetConfigurationOfARefusedDocumentIsRead) {
  for (const std::vector<std::string>& members : kIncomplete) {
    cEmsetConfParser emset;
    const std::string text = DocumentWith(members, kEmset);
    EXPECT_EQ(Parse(text.c_str(), false, false, 0, &emset), 0) << text;
    EXPECT_NE(emset.GetEmsetInfoForSFP(1, 2), nullptr) << text;
  }
}

TEST_F(PresetRefusalTest, PresetNameWithoutGroupRejectsTheDocument) {
  for (const char* name : {R"({"Preset":"News"})", R"({"Preset":"News","Group":1})",
                           R"({"Preset":"","Group":null})"}) {
    const std::string logged = LogOf(Accepted(std::string(R"("Repub":true,"Name":)") + name));
    EXPECT_THAT(logged, ContainsRegex("ERROR.JsonParseMetersInfo.[0-9]+..Preset rejected: .*Group"))
        << name;
    ExpectResetState();
  }
}

TEST_F(PresetRefusalTest, MeterNameThatIsNotANumberRejectsTheDocument) {
  const std::string logged =
      LogOf(Document({kClusters, R"("MeterSet":{"1":{"VolumeDb":5},"rear":{}})", kClock}));
  EXPECT_THAT(logged, HasSubstr("Preset rejected: meter name \"rear\" is not a number"));
  ExpectResetState();
}

TEST_F(PresetRefusalTest, MeterNameBeyondIntRejectsTheDocument) {
  const std::string logged =
      LogOf(Document({kClusters, R"("MeterSet":{"1":{},"2147483648":{}})", kClock}));
  EXPECT_THAT(logged, HasSubstr("Preset rejected: meter name \"2147483648\" is out of range"));
  ExpectResetState();
}

TEST_F(PresetRefusalTest, RejectionWritesOneLine) {
  const std::string logged = LogOf(Document({kClusters, R"("MeterSet":{"x":{},"y":{}})", kClock}));
  EXPECT_THAT(logged, Not(HasSubstr("\"y\"")));
  EXPECT_EQ(std::count(logged.begin(), logged.end(), '\n'), 1);
}

TEST_F(PresetRefusalTest, WithoutALoggerRejectionIsSilent) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Parse(R"({"Clusters":[],"MeterSet":{"x":{}}})"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(mPrinted, "");
}

TEST_F(PresetRefusalTest, ThresholdSilencesTheRejection) {
  cPresetParser::mLogLevel = MsgLevel_Critical;
  EXPECT_EQ(LogOf(R"({"Clusters":[],"MeterSet":{"x":{}}})"), "");
  cPresetParser::mLogLevel = MsgLevel_Warn;
}

TEST_F(PresetRefusalTest, ThresholdIsWarnAtFirst) {
  EXPECT_EQ(cPresetParser::mLogLevel, MsgLevel_Warn);
}

TEST_F(PresetRefusalTest, AfterARejectionTheNextDocumentIsRead) {
  EXPECT_EQ(Parse(R"({"Clusters":[],"MeterSet":{"x":{}}})"), 0);
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_EQ(mPreset.GetVolumeDb(0, 0), -6);
}

TEST_F(PresetRefusalTest, DeepNestingIsRefusedWithoutExhaustingTheStack) {
  const std::string cases[] = {
      UnclosedArrays(),
      UnclosedObjects(),
      NestedArrays(),
      NestedObjects(),
      Document({"\"Clusters\":" + NestedArrays(), kMeterSet, kClock}),
      Document({kClusters, "\"MeterSet\":{\"1\":" + NestedArrays() + "}", kClock}),
      Document({kClusters, "\"MeterSet\":{\"1\":{\"Source\":" + NestedArrays() + "}}", kClock}),
      Document({kClusters, kMeterSet, "\"SystemClockSource\":" + NestedArrays()})};
  for (const std::string& text : cases) {
    EXPECT_EQ(Parse(text), 0) << text.substr(0, 60);
    ExpectResetState();
  }
}

TEST_F(PresetRefusalTest, DeepNestingInUnknownMembersIsNoMatter) {
  EXPECT_EQ(Parse(Accepted("\"Unknown\":" + NestedArrays(json::kMaxNesting - 1))), 1);
  EXPECT_EQ(Parse(Accepted("\"Unknown\":" + NestedObjects(json::kMaxNesting - 1))), 1);
}

TEST_F(PresetRefusalTest, ThousandsOfClustersAreCutToTheSet) {
  std::string clusters = R"("Clusters":[{})";
  for (int cluster = 1; cluster < 4000; ++cluster)
    clusters += R"(,{"FirstMeter":-2147483648,"NumberOfMeters":2147483647})";
  EXPECT_EQ(Parse(Document({clusters + "]", kMeterSet, kClock})), 1);
  EXPECT_EQ(mPreset.mClusters.size(), 32U);
  EXPECT_EQ(mPreset.miValidClustersCount, 31);
}

TEST_F(PresetRefusalTest, TensOfThousandsOfMetersFailTheDocument) {
  std::string meters = R"("MeterSet":{"1":{})";
  for (int meter = 2; meter <= 15000; ++meter)
    meters += ",\"" + std::to_string(meter) + "\":{}";
  EXPECT_EQ(Parse(Document({kClusters, meters + "}", kClock})), 0);
  EXPECT_EQ(mPreset.mMeters.size(), 32U);
}

TEST_F(PresetRefusalTest, HugeNumbersCountAsMissing) {
  EXPECT_EQ(Parse(Document({R"("Clusters":[{"FirstMeter":99999999999,"NumberOfMeters":1e300}])",
                            R"("MeterSet":{"1":{"VolumeDb":9223372036854775807,"DelayMs":-1e300}})",
                            kClock, R"("Count":2147483648,"PubTS":18446744073709551616)"})),
            1);
  EXPECT_EQ(mPreset.GetFirstMeter(0, 99), -1);
  EXPECT_EQ(mPreset.GetNumberOfMeters(0, 99), 0);
  EXPECT_EQ(mPreset.GetVolumeDb(0, 99), 0);
  EXPECT_EQ(mPreset.GetDelayMs(0, 99), 0);
  EXPECT_EQ(mPreset.miCount, 0);
  EXPECT_EQ(mPreset.mllPubTS, 0U);
}

TEST_F(PresetRefusalTest, FirstOfDuplicateSectionsCounts) {
  EXPECT_EQ(
      Parse(Document({kClusters, kMeterSet, kClock, R"("Clusters":null)", R"("MeterSet":{"x":{}})",
                      R"("SystemClockSource":[])", R"("Count":1)", R"("Count":2)"})),
      1);
  EXPECT_EQ(mPreset.GetClusterId(0), 0);
  EXPECT_EQ(mPreset.miCount, 1);
}

TEST_F(PresetRefusalTest, KeysAreMatchedExactly) {
  EXPECT_EQ(Parse(R"({"clusters":[],"MeterSet":{},"SystemClockSource":{}})"), 0);
  EXPECT_EQ(Parse(R"({"Clusters ":[],"MeterSet":{},"SystemClockSource":{}})"), 0);
}
