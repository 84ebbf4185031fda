// A board of eight clusters with ten readers.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>

#include "Endpoints.h"
#include "GateProcess.h"
#include "ServiceMessages.h"

namespace {

using nlohmann::json;

constexpr unsigned kClusters = 8;
constexpr std::size_t kReaders = 10;
#ifdef __SANITIZE_ADDRESS__
constexpr long kMostPrivateKib = 512 * 1024;  // freed memory is retained
#else
constexpr long kMostPrivateKib = 24 * 1024;
#endif

class GateLoadTest : public GateTest {
 protected:
  // The services of clusters 2 to 8, beside that of the fixture.
  void StartOthers() {
    for (unsigned cluster = 2; cluster <= kClusters; ++cluster)
      mOthers.push_back(std::make_unique<ServiceProcess>(
          LOUDCALC_BINARY, std::vector<std::string>{"-m", "1", "-c", std::to_string(cluster)}));
  }

  // A meter for each cluster.
  static std::string PresetOfAll() {
    louddesk::Preset preset;
    for (int number = 1; number <= static_cast<int>(kClusters); ++number) {
      preset.meters.push_back({number, "Left", number});
      preset.clusters.push_back({number, 1});
    }
    return preset.Json();
  }

  static bool AreAllRunning(const json& document) {
    const json& clusters = document.at("Clusters");
    return clusters.size() == kClusters &&
           std::all_of(clusters.begin(), clusters.end(),
                       [](const json& cluster) { return cluster.at("State") == "RUNNING"; });
  }

  // Memory of the gate that no other process shares.
  long PrivateKib() const {
    std::ifstream file("/proc/" + mGate->StatusOf("Pid") + "/smaps_rollup");
    long sum = 0;
    for (std::string line; std::getline(file, line);)
      if (line.rfind("Private_", 0) == 0)
        sum += std::strtol(line.c_str() + line.find(':') + 1, nullptr, 10);
    return sum;
  }

  std::vector<std::unique_ptr<ServiceProcess>> mOthers;
};

TEST_F(GateLoadTest, TenReadersSeeEightClustersAndCostLittleMemory) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartOthers();
  ASSERT_NO_FATAL_FAILURE(StartGate());
  Await("/api/clusters",
        [](const json& document) { return document.at("Clusters").size() == kClusters; });
  // Services that have published are found; whether they have subscribed, only they know. Each
  // preset starts the measurement anew, so they get time to say that it runs.
  auto next = std::chrono::steady_clock::now();
  Await("/api/clusters", [&](const json& document) {
    if (AreAllRunning(document))
      return true;
    if (std::chrono::steady_clock::now() >= next) {
      mUnit.SendText(louddesk::Peer::kOpticalAppServer, kEnableReportingTopic,
                     louddesk::EnableReportingJson(true));
      SendPreset(PresetOfAll());
      next += std::chrono::seconds(1);
    }
    return false;
  });

  std::vector<std::unique_ptr<ServiceProcess>> readers;
  for (std::size_t i = 0; i < kReaders; ++i)
    readers.push_back(Follow("/api/stream"));
  Feed(10, -23.0);
  for (const auto& reader : readers)
    for (unsigned cluster = 1; cluster <= kClusters; ++cluster)
      EXPECT_TRUE(reader->WaitForLine("\"Name\":\"1-" + std::to_string(cluster) + "\"", kPatience));
  Pass(std::chrono::milliseconds(2000));
  const long privateKib = PrivateKib();
  EXPECT_LT(0, privateKib);
  EXPECT_GT(kMostPrivateKib, privateKib);
}

}  // namespace
