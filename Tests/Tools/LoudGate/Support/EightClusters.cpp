// Eight services, and the preset that starts them all.

#include "EightClusters.h"

#include <algorithm>

#include "Endpoints.h"
#include "ServiceMessages.h"

namespace {

using nlohmann::json;

std::string PresetOfAll(unsigned clusters) {
  louddesk::Preset preset;
  for (int number = 1; number <= static_cast<int>(clusters); ++number) {
    preset.meters.push_back({number, "Left", number});
    preset.clusters.push_back({number, 1});
  }
  return preset.Json();
}

bool AreAllRunning(const json& document, unsigned count) {
  const json& clusters = document.at("Clusters");
  return clusters.size() == count &&
         std::all_of(clusters.begin(), clusters.end(),
                     [](const json& cluster) { return cluster.at("State") == "RUNNING"; });
}

}  // namespace

// The gate finds services that have published, but only a service knows whether it has subscribed.
// So the preset is repeated until all services run, at intervals that leave time to report this,
// because each preset restarts the measurement.
void EightClusters::StartBoard() {
  ASSERT_NO_FATAL_FAILURE(Start());
  for (unsigned cluster = 2; cluster <= kClusters; ++cluster)
    mOthers.push_back(std::make_unique<ServiceProcess>(
        LOUDCALC_BINARY, std::vector<std::string>{"-m", "1", "-c", std::to_string(cluster)}));
  ASSERT_NO_FATAL_FAILURE(StartGate());
  Await("/api/clusters",
        [](const json& document) { return document.at("Clusters").size() == kClusters; });
  auto next = std::chrono::steady_clock::now();
  Await("/api/clusters", [&](const json& document) {
    if (AreAllRunning(document, kClusters))
      return true;
    if (std::chrono::steady_clock::now() >= next) {
      mUnit.SendText(louddesk::Peer::kOpticalAppServer, kEnableReportingTopic,
                     louddesk::EnableReportingJson(true));
      SendPreset(PresetOfAll(kClusters));
      next += std::chrono::seconds(1);
    }
    return false;
  });
}
