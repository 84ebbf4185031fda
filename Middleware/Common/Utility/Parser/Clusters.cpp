// The clusters of the preset. Owned by the preset object; reactor thread only.

#include "Clusters.h"

#include <algorithm>

#include "JsonTextMember.h"
#include "Meters.h"
#include "PresetKeys.h"
#include "SharedField.h"
#include "TextTable.h"

namespace {

constexpr TextEntry<AudioChannelsClusterType_e> kClusterTexts[] = {
    {"None", ACCT_NONE}, {"Mono", ACCT_MONO},       {"Stereo", ACCT_STEREO},
    {"5.1", ACCT_5_1},   {"7.1Surround", ACCT_7_1}, {"Custom", ACCT_CUSTOM},
};

// Whether the cluster has a first meter and a number of meters that is not negative.
bool HasMeters(const cCluster& cluster) {
  return cluster.miNumberOfMeters >= 0 && cluster.miFirstMeter != -1;
}

// Both numbers come from outside, so the end is computed in 64 bits, and meters below 0 are skipped
// without a loop over them.
void ClaimMeters(const cCluster& cluster, cMeterSet& meters) {
  const std::int64_t end = std::int64_t{cluster.miFirstMeter} + cluster.miNumberOfMeters;
  const std::int64_t last = std::min<std::int64_t>(end, meters.miMaxAudioMeters);
  for (std::int32_t meter = std::max(cluster.miFirstMeter, 0); meter < last; ++meter)
    meters.SetClusterId(meter, cluster.miClusterId);
}

}  // namespace

int cCluster::ParseCluster(const rapidjson::Value& value) {
  if (!value.IsObject())
    return 0;
  if (json::Read(value, preset_key::kFirstMeter, miFirstMeter))
    miFirstMeter = ZeroBased(miFirstMeter);
  json::Read(value, preset_key::kNumberOfMeters, miNumberOfMeters);
  json::Read(value, preset_key::kMuteOnPresetRecall, mbMuteOnPresetRecall);
  json::ReadText(value, preset_key::kType, msClusterType, mClusterType,
                 ConvertToClusterTypeFromString);
  json::Read(value, preset_key::kName, msClusterName);
  return 1;
}

AudioChannelsClusterType_e cCluster::ConvertToClusterTypeFromString(const char* text) {
  return FindBySubstring(kClusterTexts, text, ACCT_NONE);
}

cClusterSet::cClusterSet(std::int32_t maxClusters) : miMaxClusters(maxClusters) {
  InitClusters();
}

void cClusterSet::InitClusters() {
  mClusters.clear();
  for (std::int32_t cluster = 0; cluster < miMaxClusters; ++cluster)
    mClusters.emplace(cluster, std::make_shared<cCluster>(cluster));
}

void cClusterSet::ResetClusters() {
  miValidClustersCount = 0;
  for (auto& entry : mClusters)
    entry.second->ResetCluster();
}

int cClusterSet::ParseClusterSet(const rapidjson::Value& value, cMeterSet* meters) {
  if (!value.IsArray())
    return 0;
  int result = 1;
  std::int32_t validClusters = 0;
  std::int32_t index = 0;
  for (const rapidjson::Value& element : value.GetArray()) {
    const std::shared_ptr<cCluster> cluster = GetCluster(index++);
    if (cluster == nullptr)
      continue;
    if (cluster->ParseCluster(element) == 0) {
      result = 0;
    } else if (meters != nullptr && HasMeters(*cluster)) {
      ++validClusters;
      ClaimMeters(*cluster, *meters);
    }
  }
  miValidClustersCount = validClusters;
  return result;
}

std::shared_ptr<cCluster> cClusterSet::GetCluster(std::int32_t cluster) const {
  if (cluster < 0 || cluster >= miMaxClusters)
    return nullptr;
  const auto entry = mClusters.find(cluster);
  return entry != mClusters.end() ? entry->second : nullptr;
}

std::int32_t cClusterSet::GetFirstMeter(std::int32_t cluster, std::int32_t fallback) const {
  return FieldOf(GetCluster(cluster), &cCluster::miFirstMeter, fallback);
}

std::int32_t cClusterSet::GetNumberOfMeters(std::int32_t cluster, std::int32_t fallback) const {
  return FieldOf(GetCluster(cluster), &cCluster::miNumberOfMeters, fallback);
}

bool cClusterSet::GetMuteOnPresetRecall(std::int32_t cluster, bool fallback) const {
  return FieldOf(GetCluster(cluster), &cCluster::mbMuteOnPresetRecall, fallback);
}

AudioChannelsClusterType_e cClusterSet::GetCusterType(std::int32_t cluster) const {
  return FieldOf(GetCluster(cluster), &cCluster::mClusterType, ACCT_NONE);
}

std::string cClusterSet::GetCusterTypeStr(std::int32_t cluster) const {
  return FieldOf(GetCluster(cluster), &cCluster::msClusterType, std::string());
}

std::string cClusterSet::GetClusterName(std::int32_t cluster) const {
  return FieldOf(GetCluster(cluster), &cCluster::msClusterName, std::string());
}

int cClusterSet::GetClusterForId(std::int32_t cluster, cCluster& copy) const {
  const std::shared_ptr<cCluster> found = GetCluster(cluster);
  if (found == nullptr)
    return 0;
  copy = *found;
  return 1;
}
