// The example presets as the unit sends them: each is accepted and read correctly.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "AudioRoutingRecord.h"
#include "GoldenFile.h"
#include "PresetFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ExpectedMeter {
  AudioSpeakerType_e speaker;
  SysInputType_e input;
  SysIOConnectorType_e connector;
  std::int32_t channel;
  std::int32_t cluster;
};

class SurroundPresetTest : public PresetTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(Parse(ReadGolden("preset-5.1.json").c_str(), true, true, 0, &mEmset), 1);
  }

  cEmsetConfParser mEmset;
};

class StereoPresetTest : public PresetTest {
 protected:
  void SetUp() override { ASSERT_EQ(Parse(ReadGolden("preset-stereo.json")), 1); }
};

void ExpectMeters(const cPresetParser& preset, const std::vector<ExpectedMeter>& meters) {
  for (std::size_t each = 0; each < meters.size(); ++each) {
    const auto index = static_cast<std::int32_t>(each);
    SCOPED_TRACE(index);
    EXPECT_EQ(preset.GetSpeakerType(index), meters[each].speaker);
    EXPECT_EQ(preset.GetInputType(index), meters[each].input);
    EXPECT_EQ(preset.GetConnectorType(index), meters[each].connector);
    EXPECT_EQ(preset.GetChannel(index, 0), meters[each].channel);
    EXPECT_EQ(preset.GetClusterId(index), meters[each].cluster);
  }
}

}  // namespace

TEST_F(StereoPresetTest, FeedsTwoMetersOfOneCluster) {
  ExpectMeters(mPreset, {{AST_SPEAKER_LEFT, SIT_AES, SIOCT_DB25, 1, 0},
                         {AST_SPEAKER_RIGHT, SIT_AES, SIOCT_DB25, 2, 0},
                         {AST_NONE, SIT_NONE, SIOCT_NONE, 0, -1}});
  EXPECT_EQ(mPreset.miValidClustersCount, 1);
  EXPECT_EQ(mPreset.GetCusterType(0), ACCT_STEREO);
  EXPECT_FALSE(mPreset.mbIsDolbySource);
}

TEST_F(StereoPresetTest, CarriesNoRouting) {
  EXPECT_THAT(mPreset.mAcorMap, IsEmpty());
  EXPECT_EQ(mPrinted, "");
}

TEST_F(SurroundPresetTest, IsAcceptedAsTheServiceReadsIt) {
  EXPECT_EQ(Parse(ReadGolden("preset-5.1.json")), 1);
  EXPECT_FALSE(mPreset.mbRepub);
}

TEST_F(SurroundPresetTest, FeedsTheMetersOfItsClusters) {
  ExpectMeters(mPreset, {{AST_SPEAKER_LEFT, SIT_SDI, SIOCT_BNC, 1, 0},
                         {AST_SPEAKER_RIGHT, SIT_SDI, SIOCT_BNC, 2, 0},
                         {AST_SPEAKER_CENTER, SIT_SDI, SIOCT_BNC, 3, 0},
                         {AST_SPEAKER_LFE, SIT_SDI, SIOCT_BNC, 4, 0},
                         {AST_SPEAKER_LS, SIT_SDI, SIOCT_BNC, 5, 0},
                         {AST_SPEAKER_RS, SIT_SDI, SIOCT_BNC, 6, 0},
                         {AST_SPEAKER_LEFT, SIT_DOLBY, SIOCT_DOLBY_DECODER, 1, 1},
                         {AST_SPEAKER_RIGHT, SIT_DOLBY, SIOCT_DOLBY_DECODER, 2, 1},
                         {AST_SPEAKER_CENTER, SIT_MADI, SIOCT_OPTICAL, 17, 2},
                         {AST_NONE, SIT_NONE, SIOCT_NONE, 0, -1},
                         {AST_NONE, SIT_NONE, SIOCT_NONE, 0, -1}});
  EXPECT_TRUE(mPreset.mbIsDolbySource);
  EXPECT_EQ(mPreset.GetVolumeDb(4, 0), -3);
  EXPECT_EQ(mPreset.GetDelayMs(5, 0), 10);
  EXPECT_EQ(mPreset.GetSlot(8, 0), 1);
  EXPECT_EQ(mPreset.GetOutputAssignments(4), OPA_LEFT);
}

TEST_F(SurroundPresetTest, DescribesItsClusters) {
  EXPECT_EQ(mPreset.miValidClustersCount, 3);
  EXPECT_EQ(mPreset.GetCusterType(0), ACCT_5_1);
  EXPECT_EQ(mPreset.GetCusterTypeStr(0), "5.1Surround");
  EXPECT_EQ(mPreset.GetFirstMeter(1, 0), 6);
  EXPECT_EQ(mPreset.GetNumberOfMeters(1, 0), 2);
  EXPECT_FALSE(mPreset.GetMuteOnPresetRecall(1, true));
  EXPECT_EQ(mPreset.GetCusterType(2), ACCT_MONO);
  EXPECT_EQ(mPreset.GetClusterName(2), "Commentary");
  EXPECT_EQ(mPreset.GetCusterType(3), ACCT_NONE);
}

TEST_F(SurroundPresetTest, NamesItselfAndItsPublication) {
  EXPECT_EQ(mPreset.msPresetName, "Surround news");
  EXPECT_EQ(mPreset.msProgramName, "Main");
  EXPECT_EQ(mPreset.msGroupName, "Studio 1");
  EXPECT_EQ(mPreset.miCount, 12);
  EXPECT_EQ(mPreset.mllPubTS, 1700000000000U);
  EXPECT_EQ(mPreset.miSpeakerDelayMs, 40U);
}

TEST_F(SurroundPresetTest, NamesClockVideoAndDolbyInput) {
  EXPECT_EQ(mPreset.mSysClockType, SCT_SDI);
  EXPECT_EQ(mPreset.mSysClockConnectorType, SIOCT_SFP);
  EXPECT_EQ(mPreset.miSysClockCage, 2);
  EXPECT_EQ(mPreset.mVideoInputType, SIT_SDI);
  EXPECT_EQ(mPreset.msStreamBitRate, "48000");
  EXPECT_EQ(mPreset.msStreamResolution, "1080i50");
  EXPECT_EQ(mPreset.mDolbyInputType, SIT_SDI);
  EXPECT_EQ(mPreset.miDolbyPair, 4);
}

TEST_F(SurroundPresetTest, SetsTheDolbyDecoder) {
  EXPECT_EQ(mPreset.msSpeakerConfig, "5.1");
  EXPECT_EQ(mPreset.msDownMixMode, "LtRt");
  EXPECT_TRUE(mPreset.mbAtmosDecode);
  EXPECT_FALSE(mPreset.mbSurroundUpMix);
  EXPECT_EQ(mPreset.msCompressionMode, "RF");
  EXPECT_EQ(mPreset.mfCompressionCut, 0.5F);
  EXPECT_EQ(mPreset.mfCompressionBoost, 1.0F);
  EXPECT_EQ(mPreset.miAudioPresentation, 2);
  EXPECT_EQ(mPreset.msRegulation, "EBU");
  EXPECT_EQ(mPreset.miSpeechThreshold, 15);
  EXPECT_FALSE(mPreset.mbDialogueIntelli);
  EXPECT_TRUE(mPreset.mbIsDDModulePresent);
  EXPECT_EQ(mPreset.msDDModStatus, "Ready");
}

TEST_F(SurroundPresetTest, RoutesMetersToOutputs) {
  ASSERT_EQ(mPreset.mAcorMap.size(), 5U);
  const auto left = mPreset.mAcorMap.find(Record(0, SIOCT_DB25, SOT_AES, 1));
  ASSERT_NE(left, mPreset.mAcorMap.end());
  EXPECT_EQ(left->second->mSpeakerType, AST_SPEAKER_LEFT);
  EXPECT_EQ(left->second->miOutputTrimDb, -3);
  EXPECT_TRUE(left->second->mbSpeakerMix);
  EXPECT_THAT(left->second->mMeterSources, ElementsAre(1, 7));
  const auto lfe = mPreset.mAcorMap.find(Record(0, SIOCT_DB25, SOT_AES, 4));
  ASSERT_NE(lfe, mPreset.mAcorMap.end());
  EXPECT_THAT(lfe->second->mMeterSources, IsEmpty());
  // The first channel of pair 9 is 2 x 9 - 1.
  EXPECT_EQ(mPreset.mAcorMap.count(Record(1, SIOCT_SFP, SOT_MADI, 17)), 1U);
}

TEST_F(SurroundPresetTest, ConfiguresTheMediaInterface) {
  const cEmsetInfo* receiver = mEmset.GetEmsetInfoForSFP(1, 2);
  ASSERT_NE(receiver, nullptr);
  EXPECT_EQ(receiver->msDisplayName, "Receiver");
  const cEmsetPrimaryFlow* audio = receiver->GetPrimaryFlow(EmsetFlow_AUDIO_1);
  ASSERT_NE(audio, nullptr);
  EXPECT_TRUE(audio->mbEnableFlow);
  EXPECT_EQ(audio->mlAudioPacketTime, 125U);
  EXPECT_EQ(audio->msDestinationIP, "239.10.0.2");
  EXPECT_TRUE(audio->mbDSTPort);
  EXPECT_FALSE(audio->mbSrcPort);
  EXPECT_EQ(receiver->mluSecondUnits, 100U);
  EXPECT_EQ(receiver->miDomainNumber, 127);
}
