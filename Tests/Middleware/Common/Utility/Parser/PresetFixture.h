// Shared by the tests of the preset document: sections of documents, and a preset that reads them.

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "JsonParseMetersInfo.h"

inline constexpr int kMeters = 32;

// The three required sections of a preset.
inline constexpr char kClusters[] =
    R"("Clusters":[{"FirstMeter":1,"NumberOfMeters":2,"Type":"Stereo"}])";
inline constexpr char kMeterSet[] =
    R"("MeterSet":{"1":{"VolumeDb":-6,"Speaker":"Left","Source":{"Channel":1,"Type":"Dolby"}},
                   "2":{"Speaker":"Right","Source":{"Channel":2,"Type":"MADI"}}})";
inline constexpr char kClock[] =
    R"("SystemClockSource":{"Type":"AES","ConnectorType":"BNC","Slot":1})";

// Its optional sections.
inline constexpr char kVideo[] =
    R"("VideoSource":{"Type":"SDI","ConnectorType":"BNC","Slot":2,"StreamBitRate":48000})";
inline constexpr char kDolbyInput[] = R"("DolbyInputSource":{"Type":"AES","Slot":3})";
inline constexpr char kDecoder[] = R"("DolbyDecoderConf":{"DecoderConfig":{"SpeakerConfig":"7.1.4"},
    "LoudnessConfig":{"SpeechThreshold":15,"DialogueIntelligence":false}})";
inline constexpr char kName[] = R"("Name":{"Preset":"News","Program":"Main","Group":"Studio 1"})";
inline constexpr char kCounters[] = R"("Count":7,"PubTS":18446744073709551615,"SpeakerDelayMs":40)";
inline constexpr char kRouting[] = R"("AudioOutputRouting":{"0":{"BNC":{"SDI":{"Pairs":[{"Pair":1,
    "OutputChannels":[{"OutputTrimDb":-3,"MeterSources":[1]}]}]}}}})";

// The document with these members.
inline std::string Document(const std::vector<std::string>& members) {
  std::string text = "{";
  for (const std::string& member : members)
    text += (text.size() > 1 ? "," : "") + member;
  return text + "}";
}

// A preset that is accepted, with further members after the required ones.
inline std::string Accepted(const std::string& more = R"("Unknown":{})") {
  return Document({kClusters, kMeterSet, kClock, more});
}

inline auto Fields(const cMeter& meter) {
  return std::tie(meter.miMeterNo, meter.miVolumeDb, meter.miDelayMs, meter.mInputType,
                  meter.mConnectorType, meter.mSpeakerType, meter.mOutputAssignments, meter.miSlot,
                  meter.miCage, meter.miInputNo, meter.miChannel, meter.miClusterId,
                  meter.mbIsDolbySource, meter.msInputType, meter.msSpeakerType,
                  meter.msConnectorType);
}

inline auto Fields(const cCluster& cluster) {
  return std::tie(cluster.miClusterId, cluster.miFirstMeter, cluster.miNumberOfMeters,
                  cluster.mbMuteOnPresetRecall, cluster.mClusterType, cluster.msClusterType,
                  cluster.msClusterName);
}

inline auto ClockFields(const cSystemClockSource& clock) {
  return std::tie(clock.mSysClockType, clock.mSysClockConnectorType, clock.miSysClockSlot,
                  clock.miSysClockCage, clock.miSysClockInputNo, clock.miSysClockPair,
                  clock.miCount, clock.msSysClockType);
}

inline auto VideoFields(const cVideoSource& video) {
  return std::tie(video.mVideoInputType, video.mVideoConnectorType, video.miVideoSlot,
                  video.miVideoCage, video.miVideoInputNo, video.miVideoPair, video.msStreamBitRate,
                  video.msStreamResolution);
}

inline auto DecoderFields(const cDolbyDecoderSettingsParser& decoder) {
  return std::tie(decoder.msSpeakerConfig, decoder.msDownMixMode, decoder.msVisualiserMode,
                  decoder.mbAtmosDecode, decoder.mbSurroundUpMix, decoder.msCompressionMode,
                  decoder.mfCompressionCut, decoder.mfCompressionBoost, decoder.miAudioPresentation,
                  decoder.msRegulation, decoder.miSpeechThreshold, decoder.mbDialogueIntelli,
                  decoder.mbIsDDModulePresent, decoder.msDDModStatus, decoder.mbOriginFromFp);
}

inline auto OwnFields(const cPresetParser& preset) {
  return std::tie(preset.mbRepub, preset.mbIsSourceSelected, preset.mbApplyCommonDolbyConf,
                  preset.mbApplyDZMeterScreen, preset.msPresetName, preset.msProgramName,
                  preset.msGroupName, preset.mbIsDolbySource, preset.miValidClustersCount);
}

class PresetTest : public testing::Test {
 protected:
  // Parses in the same way as the service: with the routing of slot 0 only.
  int Parse(const std::string& text) { return Parse(text.c_str(), true, false, 0, nullptr); }

  int Parse(const char* text, bool parseRouting, bool routingFlag, int routingArg,
            cEmsetConfParser* emset) {
    testing::internal::CaptureStdout();
    const int result = mPreset.ParsePreset(text, parseRouting, routingFlag, routingArg, emset);
    mPrinted = testing::internal::GetCapturedStdout();
    return result;
  }

  // Checks every field that a reset returns to its initial value.
  void ExpectResetState() {
    const cPresetParser fresh(kMeters);
    ASSERT_EQ(mPreset.mMeters.size(), fresh.mMeters.size());
    for (int index = 0; index < kMeters; ++index) {
      EXPECT_EQ(Fields(*mPreset.GetMeter(index)), Fields(*fresh.GetMeter(index))) << index;
      EXPECT_EQ(Fields(*mPreset.GetCluster(index)), Fields(*fresh.GetCluster(index))) << index;
    }
    EXPECT_EQ(ClockFields(mPreset), ClockFields(fresh));
    EXPECT_EQ(VideoFields(mPreset), VideoFields(fresh));
    EXPECT_EQ(DecoderFields(mPreset), DecoderFields(fresh));
    EXPECT_EQ(OwnFields(mPreset), OwnFields(fresh));
  }

  cPresetParser mPreset{kMeters};
  std::string mPrinted;
};
