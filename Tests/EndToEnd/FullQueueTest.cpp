// Clients of the loudness data that connect and leave, stop or are silent, and queues that fill up.

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>

#include "FaultyUnit.h"

namespace {

using louddesk::Peer;

constexpr std::size_t kQueue = 1000;     // lines queued for the log sink
constexpr unsigned kLines = 4 * kQueue;  // enough for the kernel's buffers too
constexpr std::chrono::milliseconds kAbsence{2500};

/// A service with a client of its data in its own process.
class DataClientFaultTest : public FaultyUnit {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartInOrder());
    StartRemoteClient();
    AwaitServed();
    ASSERT_NO_FATAL_FAILURE(BeginWatch());
  }
};

TEST_F(DataClientFaultTest, KilledClientDisturbsNobodyAndIsServedAgain) {
  KillRemote();
  Pass(kAbsence);
  StartRemoteClient();
  ExpectServedSoon();
  ExpectCadenceAndMemory();
}

TEST_F(DataClientFaultTest, StoppedClientDisturbsNobodyAndGetsWhatWaited) {
  StopRemote();
  const std::size_t before = RemoteProcess().LineCount();
  const auto stop = std::chrono::steady_clock::now();
  Pass(kAbsence);
  ContinueRemote();
  ExpectServedSoon();
  // Expects all data since the stop, except for ticks that a busy machine skips. Without the queued
  // data there would be far fewer messages.
  const auto missing = [&] {
    const auto ticks = (std::chrono::steady_clock::now() - stop) / kPeriod;
    return ticks - static_cast<long>(RemoteProcess().LineCount() - before);
  };
  EXPECT_TRUE(mUnit.WaitFor([&] { return missing() <= kAbsence / kPeriod / 2; }, kPatience))
      << missing() << " messages";
  ExpectCadenceAndMemory();
}

TEST_F(DataClientFaultTest, ClientsThatConnectAndSayNothingDisturbNobody) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = "/run/shm/mq/" + louddesk::DataPublisherFile(1, 1);
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  // More than the usual limit of open files.
  constexpr rlim_t kClients = 1200;
  rlimit files = {};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &files));
  files.rlim_cur = std::max(files.rlim_cur, std::min(files.rlim_max, 2 * kClients));
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &files));
  std::vector<int> clients;
  for (rlim_t i = 0; i < kClients; ++i) {
    clients.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(0,
              connect(clients.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
  }
  Pass(kAbsence);
  for (const int client : clients)
    close(client);
  ExpectMeasures(-20);
  ExpectCadenceAndMemory();
}

/// A service whose log sink reads nothing while thousands of lines are written.
class FullSinkTest : public FaultyUnit {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartInOrder());
    StartRemote({Peer::kLogSink});
    AwaitServed();
    ASSERT_NO_FATAL_FAILURE(BeginWatch());
  }

  void WriteLines() {
    for (unsigned i = 0; i < kLines; ++i)
      SayUnknown(kRemark + std::string(1000, 'x'));
    SendCommand("Reset");
    ExpectAcknowledgement("Reset");
  }

  /// Expects about as many of the lines as the queue holds. The kernel and the sink's own queue
  /// hold some more, and the library notices room in the queue only when half of it is free.
  void ExpectOneQueueAtTheReturn() {
    ExpectServedSoon();
    std::size_t lines = 0;
    for (const OutputLine& line : RemoteProcess().Lines())
      lines += line.text.find(kRemark) != std::string::npos ? 1 : 0;
    RecordFigure("lines_at_the_return", static_cast<double>(lines));
    EXPECT_GE(lines, kQueue / 2);
    EXPECT_LE(lines, 2 * kQueue);
    ExpectCadenceAndMemory();
  }

  static constexpr char kRemark[] = " remark ";
};

TEST_F(FullSinkTest, StoppedSinkCostsNoCadenceAndGetsOneQueueOfLines) {
  StopRemote();
  WriteLines();
  ContinueRemote();
  ExpectOneQueueAtTheReturn();
}

TEST_F(FullSinkTest, SilentSinkCostsNoCadenceAndItsSuccessorGetsOneQueueOfLines) {
  KillRemote();
  ListenSilently();
  WriteLines();
  EndSilence();
  StartRemote({Peer::kLogSink});
  ExpectOneQueueAtTheReturn();
}

}  // namespace
