// The preset document as a whole: its sections, the result, and the fields that a reset keeps.

#include "JsonParseMetersInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PresetFixture.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;

}  // namespace

TEST_F(PresetTest, BasesStandInTheirOrder) {
  // Bases are laid out in the order of their declaration.
  const void* const bases[] = {static_cast<const cSystemClockSource*>(&mPreset),
                               static_cast<const cMeterSet*>(&mPreset),
                               static_cast<const cClusterSet*>(&mPreset),
                               static_cast<const cVideoSource*>(&mPreset),
                               static_cast<const cDolbyInputSource*>(&mPreset),
                               static_cast<const cDolbyDecoderSettingsParser*>(&mPreset),
                               static_cast<const cAudOutputRouting*>(&mPreset)};
  for (std::size_t base = 1; base < std::size(bases); ++base)
    EXPECT_LT(bases[base - 1], bases[base]) << base;
}

TEST_F(PresetTest, StartsInTheResetState) {
  EXPECT_EQ(mPreset.miMaxAudioMeters, kMeters);
  EXPECT_EQ(mPreset.miMaxClusters, kMeters);
  EXPECT_EQ(mPreset.mMeters.size(), 32U);
  EXPECT_EQ(mPreset.mClusters.size(), 32U);
  EXPECT_FALSE(mPreset.mbRepub);
  EXPECT_FALSE(mPreset.mbIsSourceSelected);
  EXPECT_TRUE(mPreset.mbApplyCommonDolbyConf);
  EXPECT_FALSE(mPreset.mbApplyDZMeterScreen);
  EXPECT_EQ(mPreset.msPresetName + mPreset.msProgramName + mPreset.msGroupName, "");
  EXPECT_EQ(mPreset.miCount, 0);
  EXPECT_EQ(mPreset.mllPubTS, 0U);
  EXPECT_EQ(mPreset.miSpeakerDelayMs, 0U);
  EXPECT_EQ(mPreset.cSystemClockSource::miCount, -1);
  EXPECT_EQ(mPreset.msSpeakerConfig, "2.0");
  EXPECT_EQ(mPreset.miSpeechThreshold, 20);
}

TEST_F(PresetTest, ReadsEverySection) {
  EXPECT_EQ(Parse(Document({kClusters, kMeterSet, kClock, kVideo, kDolbyInput, kDecoder, kName,
                            kCounters, R"("Repub":true)", kRouting})),
            1);
  EXPECT_EQ(mPreset.GetCusterType(0), ACCT_STEREO);
  EXPECT_EQ(mPreset.miValidClustersCount, 1);
  EXPECT_EQ(mPreset.GetClusterId(0), 0);
  EXPECT_EQ(mPreset.GetClusterId(1), 0);
  EXPECT_EQ(mPreset.GetClusterId(2), -1);
  EXPECT_EQ(mPreset.GetChannel(1, 0), 2);
  EXPECT_EQ(mPreset.GetSpeakerType(0), AST_SPEAKER_LEFT);
  EXPECT_EQ(mPreset.GetInputType(1), SIT_MADI);
  EXPECT_TRUE(mPreset.mbIsDolbySource);
  EXPECT_EQ(mPreset.mSysClockType, SCT_AES);
  EXPECT_EQ(mPreset.mVideoInputType, SIT_SDI);
  EXPECT_EQ(mPreset.msStreamBitRate, "48000");
  EXPECT_EQ(mPreset.miDolbySlot, 3);
  EXPECT_EQ(mPreset.msSpeakerConfig, "7.1.4");
  EXPECT_EQ(mPreset.msPresetName, "News");
  EXPECT_EQ(mPreset.msProgramName, "Main");
  EXPECT_EQ(mPreset.msGroupName, "Studio 1");
  EXPECT_EQ(mPreset.miCount, 7);
  EXPECT_EQ(mPreset.mllPubTS, 18446744073709551615U);
  EXPECT_EQ(mPreset.miSpeakerDelayMs, 40U);
  EXPECT_TRUE(mPreset.mbRepub);
  EXPECT_EQ(mPreset.mAcorMap.size(), 1U);
}

TEST_F(PresetTest, EmptySectionsAreAccepted) {
  EXPECT_EQ(Parse(R"({"Clusters":[],"MeterSet":{},"SystemClockSource":{},"DolbyInputSource":{},
                      "VideoSource":{},"Name":{},"DolbyDecoderConf":{}})"),
            1);
  EXPECT_EQ(mPreset.miValidClustersCount, 0);
}

TEST_F(PresetTest, SectionsMayStandInAnyOrder) {
  EXPECT_EQ(Parse(Document({kClock, kMeterSet, kClusters})), 1);
  EXPECT_EQ(mPreset.GetClusterId(1), 0);
}

TEST_F(PresetTest, DecoderSettingsNeverDecideTheResult) {
  for (const char* decoder : {"{}", "[]", "null", "1", R"({"DecoderConfig":3})"})
    EXPECT_EQ(Parse(Accepted(std::string(R"("DolbyDecoderConf":)") + decoder)), 1) << decoder;
  EXPECT_EQ(Parse(Accepted(kDecoder)), 1);
  EXPECT_EQ(mPreset.miSpeechThreshold, 15);
  EXPECT_FALSE(mPreset.mbDialogueIntelli);
}

TEST_F(PresetTest, NamesAreOptional) {
  struct Case {
    const char* name;
    const char* preset;
    const char* program;
    const char* group;
  };
  const Case cases[] = {
      {"{}", "", "", ""},
      {R"({"Program":"Main"})", "", "Main", ""},
      {R"({"Program":3,"Preset":"News","Group":"A"})", "News", "", "A"},
      // The group counts only along with the preset.
      {R"({"Group":"A"})", "", "", ""},
      {R"({"Preset":1,"Group":"A"})", "", "", ""},
      {R"({"Preset":null})", "", "", ""},
      {"[]", "", "", ""},
      {"\"News\"", "", "", ""},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(Parse(Accepted(std::string(R"("Name":)") + row.name)), 1) << row.name;
    EXPECT_EQ(mPreset.msPresetName, row.preset) << row.name;
    EXPECT_EQ(mPreset.msProgramName, row.program) << row.name;
    EXPECT_EQ(mPreset.msGroupName, row.group) << row.name;
  }
}

TEST_F(PresetTest, MistypedCountersLeaveTheirFields) {
  EXPECT_EQ(Parse(Accepted(kCounters)), 1);
  EXPECT_EQ(Parse(Accepted(R"("Count":7.0,"PubTS":-1,"SpeakerDelayMs":-1,"Repub":1)")), 1);
  EXPECT_EQ(mPreset.miCount, 7);
  EXPECT_EQ(mPreset.mllPubTS, 18446744073709551615U);
  EXPECT_EQ(mPreset.miSpeakerDelayMs, 40U);
  EXPECT_FALSE(mPreset.mbRepub);
}

TEST_F(PresetTest, CounterMayBeNegative) {
  EXPECT_EQ(Parse(Accepted(R"("Count":-3)")), 1);
  EXPECT_EQ(mPreset.miCount, -3);
}

TEST_F(PresetTest, CountersOfTheLastDocumentStay) {
  EXPECT_EQ(Parse(Accepted(kCounters)), 1);
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_EQ(Parse("{"), 0);
  mPreset.ResetPreset();
  EXPECT_EQ(mPreset.miCount, 7);
  EXPECT_EQ(mPreset.mllPubTS, 18446744073709551615U);
  EXPECT_EQ(mPreset.miSpeakerDelayMs, 40U);
}

TEST_F(PresetTest, CountersOfAFailedDocumentStay) {
  EXPECT_EQ(Parse(Document({kClusters, kMeterSet, kCounters})), 0);
  EXPECT_EQ(mPreset.miCount, 7);
}

TEST_F(PresetTest, RepublicationIsForgottenByTheNextDocument) {
  EXPECT_EQ(Parse(Accepted(R"("Repub":true)")), 1);
  EXPECT_TRUE(mPreset.mbRepub);
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_FALSE(mPreset.mbRepub);
  EXPECT_EQ(Parse(Accepted(R"("Repub":false)")), 1);
  EXPECT_FALSE(mPreset.mbRepub);
}

TEST_F(PresetTest, NothingOfAnEarlierPresetSurvivesANewOne) {
  EXPECT_EQ(Parse(Accepted(kName)), 1);
  EXPECT_EQ(Parse(R"({"Clusters":[],"MeterSet":{"5":{}},"SystemClockSource":{"Type":"None"}})"), 1);
  EXPECT_EQ(mPreset.msSysClockType, "None");
  mPreset.msSysClockType.clear();
  ExpectResetState();
}

TEST_F(PresetTest, ResetRestoresEveryFieldItOwns) {
  EXPECT_EQ(Parse(Document({kClusters, kMeterSet, kClock, kVideo, kDolbyInput, kDecoder, kName,
                            R"("Repub":true)"})),
            1);
  mPreset.mbIsSourceSelected = true;
  mPreset.mbApplyCommonDolbyConf = false;
  mPreset.mbApplyDZMeterScreen = true;
  mPreset.mbOriginFromFp = true;
  mPreset.cSystemClockSource::miCount = 5;
  mPreset.ResetPreset();
  ExpectResetState();
}

TEST_F(PresetTest, ResetKeepsTheDolbyInput) {
  EXPECT_EQ(Parse(Accepted(kDolbyInput)), 1);
  mPreset.ResetPreset();
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_EQ(mPreset.mDolbyInputType, SIT_AES);
  EXPECT_EQ(mPreset.miDolbySlot, 3);
  EXPECT_EQ(mPreset.msInputDolbyType, "AES");
}

TEST_F(PresetTest, ResetKeepsTheTextsOfVideoAndTheClocksConnector) {
  EXPECT_EQ(Parse(Accepted(kVideo)), 1);
  mPreset.ResetPreset();
  EXPECT_EQ(mPreset.msVideoInputType, "SDI");
  EXPECT_EQ(mPreset.msVideoConnectorType, "BNC");
  EXPECT_EQ(mPreset.msStreamBitRate, "");
  EXPECT_EQ(mPreset.msSysClockConnectorType, "BNC");
  EXPECT_EQ(mPreset.msSysClockType, "");
}

TEST_F(PresetTest, ResetRestoresTheDecoderDefaults) {
  EXPECT_EQ(Parse(Accepted(kDecoder)), 1);
  mPreset.ResetPreset();
  EXPECT_EQ(mPreset.msSpeakerConfig, "2.0");
  EXPECT_EQ(mPreset.miSpeechThreshold, 20);
  EXPECT_TRUE(mPreset.mbDialogueIntelli);
}

TEST_F(PresetTest, MetersAndClustersAreTheSameObjectsForLife) {
  const std::shared_ptr<cMeter> meter = mPreset.GetMeter(0);
  const std::shared_ptr<cCluster> cluster = mPreset.GetCluster(0);
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_EQ(Parse("{}"), 0);
  EXPECT_EQ(mPreset.GetMeter(0), meter);
  EXPECT_EQ(mPreset.GetCluster(0), cluster);
}

TEST_F(PresetTest, DolbyInputKeepsWhatALaterPresetDoesNotName) {
  EXPECT_EQ(Parse(Accepted(
                R"("DolbyInputSource":{"Type":"AES","Slot":3,"Cage":1,"InputNo":2,"Pair":4})")),
            1);
  EXPECT_EQ(Parse(Accepted(R"("DolbyInputSource":{"InputNo":7})")), 1);
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_EQ(mPreset.mDolbyInputType, SIT_AES);
  EXPECT_EQ(mPreset.miDolbySlot, 3);
  EXPECT_EQ(mPreset.miDolbyCage, 1);
  EXPECT_EQ(mPreset.miDolbyInputNo, 7);
  EXPECT_EQ(mPreset.miDolbyPair, 4);
}

TEST_F(PresetTest, ClockWithoutTypeIsTheInternalOne) {
  EXPECT_EQ(Parse(Accepted()), 1);
  EXPECT_EQ(mPreset.mSysClockType, SCT_AES);
  EXPECT_EQ(Parse(Document({kClusters, kMeterSet, R"("SystemClockSource":{"Slot":1})"})), 1);
  EXPECT_EQ(mPreset.mSysClockType, SCT_INTERNAL);
}

TEST_F(PresetTest, RoutingIsReadOfTheSlotAskedFor) {
  EXPECT_EQ(Parse(Accepted(kRouting).c_str(), true, false, 1, nullptr), 1);
  EXPECT_THAT(mPreset.mAcorMap, IsEmpty());
  EXPECT_EQ(Parse(Accepted(kRouting).c_str(), true, false, 0, nullptr), 1);
  EXPECT_EQ(mPreset.mAcorMap.size(), 1U);
}

TEST_F(PresetTest, RoutingIsReadOfEverySlotOnDemand) {
  const std::string text = Accepted(R"("AudioOutputRouting":{"4":{"BNC":{"SDI":{"Pairs":[{"Pair":1,
                  "OutputChannels":[{"OutputTrimDb":0,"MeterSources":[]}]}]}}}})");
  EXPECT_EQ(Parse(text.c_str(), true, true, 0, nullptr), 1);
  ASSERT_EQ(mPreset.mAcorMap.size(), 1U);
  EXPECT_EQ(mPreset.mAcorMap.begin()->first.miSlot, 4);
}

TEST_F(PresetTest, RoutingIsPrintedOnInsertionAndAsAMap) {
  EXPECT_EQ(Parse(Accepted(kRouting)), 1);
  EXPECT_THAT(mPrinted, ContainsRegex("Slot No:0(.|\n)*Audio routing itr map\n\n\t\tSlot No:0"));
}

TEST_F(PresetTest, RoutingEntriesOutliveTheirDocumentWithoutContents) {
  EXPECT_EQ(Parse(Accepted(kRouting)), 1);
  EXPECT_EQ(Parse(Accepted()), 1);
  ASSERT_EQ(mPreset.mAcorMap.size(), 1U);
  const cAudChannelOutputRouting& record = *mPreset.mAcorMap.begin()->second;
  EXPECT_EQ(record.miChannel, 1);
  EXPECT_EQ(record.miOutputTrimDb, 0);
  EXPECT_EQ(record.miPair, -1);
  EXPECT_THAT(record.mMeterSources, IsEmpty());
}

TEST_F(PresetTest, WithoutRoutingTheMapIsEmptied) {
  EXPECT_EQ(Parse(Accepted(kRouting)), 1);
  EXPECT_EQ(Parse(Accepted(kRouting).c_str(), false, true, 0, nullptr), 1);
  EXPECT_THAT(mPreset.mAcorMap, IsEmpty());
  EXPECT_EQ(mPrinted, "");
}

TEST_F(PresetTest, ResetLeavesTheRouting) {
  EXPECT_EQ(Parse(Accepted(kRouting)), 1);
  mPreset.ResetPreset();
  ASSERT_EQ(mPreset.mAcorMap.size(), 1U);
  EXPECT_EQ(mPreset.mAcorMap.begin()->second->miOutputTrimDb, -3);
}

TEST_F(PresetTest, RoutingNeverDecidesTheResult) {
  for (const char* routing : {"[]", "null", R"({"0":[]})", R"({"x":{}})", R"({"0":{"BNC":1}})"}) {
    const std::string text = Accepted(std::string(R"("AudioOutputRouting":)") + routing);
    EXPECT_EQ(Parse(text.c_str(), true, false, 0, nullptr), 1) << routing;
    EXPECT_EQ(Parse(text.c_str(), true, true, 0, nullptr), 1) << routing;
  }
}

TEST_F(PresetTest, EmsetParserReceivesItsSection) {
  cEmsetConfParser emset;
  const std::string text = Accepted(
      R"("EmsetConfig":[{"Slot":1,"Cage":2,"Signals":{"Flows":{"Primary":[{"Flow":"Video"}]}}}])");
  EXPECT_EQ(Parse(text.c_str(), false, false, 0, &emset), 1);
  EXPECT_THAT(mPrinted, ContainsRegex("JsonParseMetersInfo\\|[0-9]+\\| \"EmsetConfig Parser\"\n"));
  EXPECT_NE(emset.GetEmsetInfoForSFP(1, 2), nullptr);
}

TEST_F(PresetTest, DocumentWithoutEmsetSectionLeavesTheParserReset) {
  cEmsetConfParser emset;
  emset.mbIsValidConf = true;
  emset.mEmsets[0].mFlows[0].mEmsetFlow = EmsetFlow_VIDEO;
  EXPECT_EQ(Parse(Accepted().c_str(), false, false, 0, &emset), 1);
  EXPECT_THAT(mPrinted,
              ContainsRegex("JsonParseMetersInfo\\|[0-9]+\\| \"No EmsetConfig found\"\n"));
  EXPECT_FALSE(emset.mbIsValidConf);
  EXPECT_EQ(emset.mEmsets[0].mFlows[0].mEmsetFlow, EmsetFlow_UNKNOWN);
}

TEST_F(PresetTest, EmsetParserIsResetBeforeTheDocumentIsJudged) {
  cEmsetConfParser emset;
  emset.mbIsValidConf = true;
  EXPECT_EQ(Parse(nullptr, false, false, 0, &emset), 0);
  EXPECT_FALSE(emset.mbIsValidConf);
}

TEST_F(PresetTest, EmsetSectionNeverDecidesTheResult) {
  cEmsetConfParser emset;
  EXPECT_EQ(Parse(Accepted(R"("EmsetConfig":{})").c_str(), false, false, 0, &emset), 1);
  EXPECT_THAT(mPrinted, HasSubstr("\"EmsetConfig Parser\""));
  EXPECT_FALSE(emset.mbIsValidConf);
}

TEST_F(PresetTest, WithoutEmsetParserTheSectionIsIgnored) {
  EXPECT_EQ(Parse(Accepted(R"("EmsetConfig":[{}])")), 1);
  EXPECT_EQ(mPrinted, "");
}
