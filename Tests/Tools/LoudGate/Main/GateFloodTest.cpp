// A crowd of hostile clients, and its effect on the service beside the gate and on the record.

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <filesystem>

#include "Emulation.h"
#include "GateProcess.h"
#include "ListenAddress.h"

namespace {

constexpr std::size_t kClients = 5000;
constexpr std::chrono::seconds kDuration{10};

// The gate needs a few MiB, and a buffer of 16 KiB for each connection.
#ifdef __SANITIZE_ADDRESS__
constexpr long kMostKib = 512 * 1024;  // freed memory is retained
#else
constexpr long kMostKib = 32 * 1024;
#endif

// Clients that all connect at once, and again whenever they are dropped. They never read. Some send
// nothing, some begin a request, some ask for a stream.
class Crowd {
 public:
  explicit Crowd(unsigned port)
      : mAddress(loudgate::ReadListenAddress("127.0.0.1:" + std::to_string(port)).value()) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    EXPECT_LT(kClients + 100, files.rlim_cur);
    mSockets.assign(kClients, -1);
  }
  ~Crowd() {
    for (const int descriptor : mSockets)
      if (descriptor >= 0)
        close(descriptor);
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  // Makes every client take its next step.
  void Push() {
    for (std::size_t i = 0; i < mSockets.size(); ++i)
      PushOne(i);
  }

  std::size_t Connections() const { return mConnections; }

 private:
  void PushOne(std::size_t index) {
    static constexpr std::array<const char*, 3> kTexts = {
        "", "GET /api/clu", "GET /api/stream HTTP/1.1\r\nHost: localhost\r\n\r\n"};
    int& descriptor = mSockets[index];
    if (descriptor < 0)
      Connect(descriptor);
    else if (IsEnded(descriptor))
      close(std::exchange(descriptor, -1));
    else if (const std::string text = kTexts[index % kTexts.size()]; !text.empty())
      static_cast<void>(send(descriptor, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
  }

  void Connect(int& descriptor) {
    descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    connect(descriptor, reinterpret_cast<const sockaddr*>(&mAddress.address), sizeof(sockaddr_in));
    ++mConnections;
  }

  static bool IsEnded(int descriptor) {
    char byte = 0;
    const ssize_t size = recv(descriptor, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return size == 0 || (size < 0 && errno != EAGAIN && errno != ENOTCONN);
  }

  loudgate::ListenAddress mAddress;
  std::vector<int> mSockets;
  std::size_t mConnections = 0;
};

class GateFloodTest : public GateTest {
 protected:
  GateFloodTest() { std::filesystem::create_directory(mFolder); }
  ~GateFloodTest() override { std::filesystem::remove_all(mFolder); }

  std::string Record() const { return mFolder / "station.db"; }

 private:
  const std::filesystem::path mFolder =
      std::filesystem::temp_directory_path() / ("loudgate-test-flood-" + std::to_string(getpid()));
};

TEST_F(GateFloodTest, ACrowdOfHostileClientsDisturbsNeitherTheServiceNorTheRecord) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", Record(), "--write-every", "1"}));
  StartMeasuring();
  Await("/api/clusters/1-1",
        [](const nlohmann::json& cluster) { return cluster.at("State") == "RUNNING"; });
  const std::int64_t from = time(nullptr) + 1;
  {
    Crowd crowd(Port());
    MarkCadence();
    const auto end = std::chrono::steady_clock::now() + kDuration;
    while (std::chrono::steady_clock::now() < end) {
      crowd.Push();
      usleep(20000);
    }
    ExpectCadenceKept();
    EXPECT_LT(kClients, crowd.Connections());
    if (!kIsEmulated) {  // the emulator's memory would count as the gate's
      EXPECT_GT(kMostKib, mGate->ResidentKib());
    }
  }
  ExpectRecorded(from, time(nullptr) - 1);
  // The next client is served.
  const nlohmann::json cluster = Await("/api/clusters/1-1", [](const nlohmann::json& document) {
    return document.at("State") == "RUNNING";
  });
  EXPECT_EQ(0, cluster.at("Restarts"));
}

}  // namespace
