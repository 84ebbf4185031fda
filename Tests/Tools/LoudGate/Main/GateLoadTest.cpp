// A board of eight clusters with ten readers.

#include <chrono>
#include <cstdlib>
#include <fstream>

#include "EightClusters.h"

namespace {

constexpr std::size_t kReaders = 10;
#ifdef __SANITIZE_ADDRESS__
constexpr long kMostPrivateKib = 512 * 1024;  // freed memory is retained
#else
constexpr long kMostPrivateKib = 24 * 1024;
#endif

class GateLoadTest : public EightClusters {
 protected:
  // Memory of the gate that no other process shares.
  long PrivateKib() const {
    std::ifstream file("/proc/" + mGate->StatusOf("Pid") + "/smaps_rollup");
    long sum = 0;
    for (std::string line; std::getline(file, line);)
      if (line.rfind("Private_", 0) == 0)
        sum += std::strtol(line.c_str() + line.find(':') + 1, nullptr, 10);
    return sum;
  }
};

TEST_F(GateLoadTest, TenReadersSeeEightClustersAndCostLittleMemory) {
  ASSERT_NO_FATAL_FAILURE(StartBoard());
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
