// The clusters (programmes) of the preset: which meters belong together and in which channel
// layout. Belongs to the preset object; reactor thread only.

#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "AudioEnumerations.h"

class cMeterSet;

/// One cluster. Made once with its index and never removed; documents overwrite its fields.
class cCluster {
 public:
  explicit cCluster(std::int32_t clusterId) : miClusterId(clusterId) {}

  /// Returns every field but `miClusterId` to its initial value.
  void ResetCluster() { *this = cCluster(miClusterId); }

  /// Reads a cluster object of the preset. Members that are missing or mistyped leave their fields.
  /// 0 when `value` is not an object, else 1.
  int ParseCluster(const rapidjson::Value& value);

  /// The layout that a "Type" text stands for, found by the name it contains; `ACCT_NONE` for a
  /// null or unknown text. 7.1 needs the full "7.1Surround".
  static AudioChannelsClusterType_e ConvertToClusterTypeFromString(const char* text);

  std::int32_t miClusterId;                             // zero-based index, fixed at creation
  std::int32_t miFirstMeter = -1;                       // zero-based first meter, -1: none
  std::int32_t miNumberOfMeters = 0;                    // meters from the first one on
  bool mbMuteOnPresetRecall = true;                     // outputs mute while the preset is recalled
  AudioChannelsClusterType_e mClusterType = ACCT_NONE;  // channel layout
  std::string msClusterType;                            // layout text as received
  std::string msClusterName;                            // name for the user
};

using ClusterMap_t = std::map<int, std::shared_ptr<cCluster>>;

/// The clusters of one meter set. Every getter takes a zero-based cluster index; for an index
/// outside the set it returns its fallback.
class cClusterSet {
 public:
  /// A set of `maxClusters` clusters in their initial state.
  explicit cClusterSet(std::int32_t maxClusters);

  /// Replaces all clusters by new ones, 0 to `miMaxClusters` - 1.
  void InitClusters();

  /// Returns every cluster and the count of valid ones to the initial state.
  void ResetClusters();

  /// Reads the "Clusters" array: element i is the cluster i; elements beyond the set are ignored.
  /// Each cluster with a first meter and a count that is not negative claims its meters in
  /// `meters`, where one is given, and counts as valid; a later claim overrides an earlier one. 1
  /// when every element parsed, 0 when one did not or `value` is not an array.
  int ParseClusterSet(const rapidjson::Value& value, cMeterSet* meters);

  /// The cluster itself, empty if there is none.
  std::shared_ptr<cCluster> GetCluster(std::int32_t cluster) const;

  std::int32_t GetFirstMeter(std::int32_t cluster, std::int32_t fallback) const;
  std::int32_t GetNumberOfMeters(std::int32_t cluster, std::int32_t fallback) const;
  bool GetMuteOnPresetRecall(std::int32_t cluster, bool fallback) const;
  AudioChannelsClusterType_e GetCusterType(std::int32_t cluster) const;  // fallback ACCT_NONE
  std::string GetCusterTypeStr(std::int32_t cluster) const;              // fallback empty
  std::string GetClusterName(std::int32_t cluster) const;                // fallback empty

  /// Copies the cluster's fields into `copy`. For an index outside the set, returns 0 and does not
  /// change `copy`.
  int GetClusterForId(std::int32_t cluster, cCluster& copy) const;

  ClusterMap_t mClusters;                 // the clusters by zero-based index
  std::int32_t miMaxClusters;             // number of clusters in the set
  std::int32_t miValidClustersCount = 0;  // clusters of the last document that could claim meters
};
