// Preset documents, read as the service reads them: without an Emset reader and with the routing of
// slot 0. Uses a reader with an earlier preset and a new one.

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <tuple>

#include "JsonOracle.h"
#include "JsonParseMetersInfo.h"
#include "RoutingProperties.h"

namespace {

constexpr int kMeters = 32;

// An earlier preset that sets the fields that the next one must not keep.
constexpr char kEarlier[] = R"({"Repub":true,"Count":3,"PubTS":4,"SpeakerDelayMs":5,
    "Name":{"Preset":"Earlier","Program":"Earlier","Group":"Earlier"},
    "Clusters":[{"FirstMeter":1,"NumberOfMeters":32,"MuteOnPresetRecall":false,"Type":"Stereo",
                 "Name":"Earlier"}],
    "MeterSet":{"1":{"VolumeDb":-3,"DelayMs":7,"Speaker":"LeftSurround","Source":{"Type":"Dolby",
        "ConnectorType":"BNC","Slot":1,"Cage":2,"InputNo":3,"Channel":4}},
      "32":{"Speaker":"Right","Source":{"Type":"AES","Channel":2}}},
    "SystemClockSource":{"Type":"AES"},"VideoSource":{"StreamBitRate":48000},
    "DolbyDecoderConf":{"DecoderConfig":{"SpeakerConfig":"5.1","AtmosDecode":true}}})";

auto FieldsOf(const cMeter& meter) {
  return std::tie(meter.miMeterNo, meter.miVolumeDb, meter.miDelayMs, meter.mInputType,
                  meter.mConnectorType, meter.mSpeakerType, meter.mOutputAssignments, meter.miSlot,
                  meter.miCage, meter.miInputNo, meter.miChannel, meter.miClusterId,
                  meter.mbIsDolbySource, meter.msInputType, meter.msSpeakerType,
                  meter.msConnectorType);
}

auto FieldsOf(const cCluster& cluster) {
  return std::tie(cluster.miClusterId, cluster.miFirstMeter, cluster.miNumberOfMeters,
                  cluster.mbMuteOnPresetRecall, cluster.mClusterType, cluster.msClusterType,
                  cluster.msClusterName);
}

// All fields that a preset does not inherit from the previous one.
auto FieldsOf(const cPresetParser& preset) {
  return std::tie(preset.mbRepub, preset.mbIsSourceSelected, preset.mbApplyCommonDolbyConf,
                  preset.mbApplyDZMeterScreen, preset.msPresetName, preset.msProgramName,
                  preset.msGroupName, preset.cMeterSet::mbIsDolbySource,
                  preset.miValidClustersCount, preset.mSysClockType, preset.mSysClockConnectorType,
                  preset.miSysClockSlot, preset.msSysClockType, preset.mVideoInputType,
                  preset.mVideoConnectorType, preset.msStreamBitRate, preset.msStreamResolution,
                  preset.msSpeakerConfig, preset.mbAtmosDecode, preset.mbDialogueIntelli,
                  preset.miSpeechThreshold, preset.msDDModStatus);
}

bool IsSame(const cPresetParser& left, const cPresetParser& right) {
  for (int i = 0; i < kMeters; ++i)
    if (FieldsOf(*left.GetMeter(i)) != FieldsOf(*right.GetMeter(i)) ||
        FieldsOf(*left.GetCluster(i)) != FieldsOf(*right.GetCluster(i)))
      return false;
  return FieldsOf(left) == FieldsOf(right);
}

// Whether a name begins with the number of a meter.
bool IsMeterName(const rapidjson::Value& name) {
  char* end = nullptr;
  errno = 0;
  const long number = std::strtol(name.GetString(), &end, 10);
  return end != name.GetString() && errno == 0 && number >= 1 && number <= kMeters;
}

bool AreMetersGood(const rapidjson::Value& meters) {
  if (!meters.IsObject())
    return false;
  for (const auto& member : meters.GetObject()) {
    const rapidjson::Value* source = fuzz::Member(member.value, "Source");
    if (!IsMeterName(member.name) || !member.value.IsObject() ||
        (source != nullptr && !source->IsObject()))
      return false;
  }
  return true;
}

bool AreClustersGood(const rapidjson::Value& clusters) {
  if (!clusters.IsArray())
    return false;
  const auto count = std::min<rapidjson::SizeType>(clusters.Size(), kMeters);
  return std::all_of(clusters.Begin(), clusters.Begin() + count,
                     [](const rapidjson::Value& cluster) { return cluster.IsObject(); });
}

bool IsNameGood(const rapidjson::Value& document) {
  const rapidjson::Value* name = fuzz::Member(document, "Name");
  return name == nullptr || !fuzz::HasText(*name, "Preset") || fuzz::HasText(*name, "Group");
}

bool IsAbsentOrObject(const rapidjson::Value& document, const char* section) {
  return fuzz::Member(document, section) == nullptr || fuzz::HasObject(document, section);
}

bool IsGood(const rapidjson::Value& document) {
  const rapidjson::Value* clusters = fuzz::Member(document, "Clusters");
  const rapidjson::Value* meters = fuzz::Member(document, "MeterSet");
  return clusters != nullptr && AreClustersGood(*clusters) && meters != nullptr &&
         AreMetersGood(*meters) && fuzz::HasObject(document, "SystemClockSource") &&
         IsAbsentOrObject(document, "DolbyInputSource") &&
         IsAbsentOrObject(document, "VideoSource") && IsNameGood(document);
}

void CheckMeter(const cPresetParser& preset, int index) {
  const cMeter& meter = *preset.GetMeter(index);
  FUZZ_PROPERTY(meter.miMeterNo == index, "a meter keeps its number");
  FUZZ_PROPERTY(meter.mInputType >= SIT_NONE && meter.mInputType < SIT_NUM_TYPES,
                "the input is one that has a text");
  FUZZ_PROPERTY(meter.mConnectorType >= SIOCT_NONE && meter.mConnectorType < SIOCT_MAX,
                "the connector is one that has a text");
  FUZZ_PROPERTY(
      meter.mSpeakerType >= AST_NONE && meter.mSpeakerType <= AST_SPEAKER_MS &&
          meter.mSpeakerType == cMeter::ConvertToSpeakerTypeFromString(meter.msSpeakerType.c_str()),
      "the speaker is one that has a text, and what its text means");
  FUZZ_PROPERTY(meter.mOutputAssignments ==
                    cMeter::ConvertToOutputAssignmentsFromSpeakerType(meter.mSpeakerType),
                "the output side is that of the speaker");
  FUZZ_PROPERTY(meter.mbIsDolbySource == (meter.mInputType == SIT_DOLBY),
                "a Dolby source is a Dolby input");
  FUZZ_PROPERTY(!meter.mbIsDolbySource || preset.cMeterSet::mbIsDolbySource,
                "a Dolby source is one of the set");
}

bool Claims(const cCluster& cluster, int meter) {
  return cluster.miFirstMeter != -1 && cluster.miNumberOfMeters >= 0 &&
         meter >= cluster.miFirstMeter &&
         meter < std::int64_t{cluster.miFirstMeter} + cluster.miNumberOfMeters;
}

// The last cluster that claims the meter; -1 for none.
int ClusterOf(const cPresetParser& preset, int meter) {
  int claimedBy = -1;
  for (int i = 0; i < kMeters; ++i)
    if (Claims(*preset.GetCluster(i), meter))
      claimedBy = i;
  return claimedBy;
}

void CheckAccepted(const cPresetParser& preset) {
  int validClusters = 0;
  for (int i = 0; i < kMeters; ++i) {
    CheckMeter(preset, i);
    FUZZ_PROPERTY(preset.GetClusterId(i) == ClusterOf(preset, i),
                  "a meter belongs to the last cluster that claims it");
    const cCluster& cluster = *preset.GetCluster(i);
    FUZZ_PROPERTY(cluster.mClusterType >= ACCT_NONE && cluster.mClusterType < ACCT_MAX,
                  "the layout is one that has a text");
    if (cluster.miFirstMeter != -1 && cluster.miNumberOfMeters >= 0)
      ++validClusters;
  }
  // A cluster that the document does not contain has no first meter.
  FUZZ_PROPERTY(preset.miValidClustersCount == validClusters, "valid clusters are counted");
}

std::unique_ptr<cPresetParser> UsedReader() {
  auto reader = std::make_unique<cPresetParser>(kMeters);
  FUZZ_PROPERTY(reader->ParsePreset(kEarlier, true, false, 0, nullptr) == 1,
                "the used reader has been used");
  return reader;
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  const Text text = input.TakeRest();
  cPresetParser fresh(kMeters);
  const int result = fresh.ParsePreset(text.c_str(), true, false, 0, nullptr);

  const Document document(text);
  FUZZ_PROPERTY(result == (document.IsObject() && IsGood(document.Root()) ? 1 : 0),
                "a preset is accepted when its sections are good and only then");
  if (result == 1) {
    CheckAccepted(fresh);
    FUZZ_PROPERTY(fresh.mbRepub == BoolOf(document.Root(), "Repub", false), "it says what it is");
  } else {
    FUZZ_PROPERTY(IsSame(fresh, cPresetParser(kMeters)), "a refused preset leaves the reset state");
  }
  CheckRouting(fresh.mAcorMap);
  for (const auto& each : fresh.mAcorMap)
    FUZZ_PROPERTY(each.first.miSlot == 0, "one slot was asked for");

  const auto used = UsedReader();
  FUZZ_PROPERTY(used->ParsePreset(text.c_str(), true, false, 0, nullptr) == result,
                "the preset before it does not decide whether a preset is accepted");
  FUZZ_PROPERTY(IsSame(*used, fresh), "nothing survives from the preset before it");
}
