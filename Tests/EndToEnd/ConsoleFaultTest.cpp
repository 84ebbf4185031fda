// A console that accepts nothing: the service neither waits for it nor fails.

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>

#include "FaultyUnit.h"
#include "Isolation.h"

namespace {

using louddesk::Peer;

constexpr char kLossNote[] = " bytes of console output lost]\n";

// Lines of a kilobyte. On each stream they are four times as much as a pipe holds.
constexpr int kLines = 256;
constexpr std::size_t kLineSize = 1000;

// The limit for a log file; the service writes more.
constexpr std::uintmax_t kLargestFile = 16 * 1024;

constexpr uid_t kNobody = 65534;
constexpr char kSetPrivileges[] = "/usr/bin/setpriv";
constexpr char kLimitResources[] = "/usr/bin/prlimit";

/// Two connected descriptors. The service gets the second one.
struct Channel {
  int reader = -1;
  int writer = -1;
};

Channel Pipe() {
  int ends[2];
  EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
  return {ends[0], ends[1]};
}

Channel SocketPair() {
  int ends[2];
  EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
  return {ends[0], ends[1]};
}

/// A pipe that is full before the service starts.
Channel FullPipe() {
  const Channel pipe = Pipe();
  const std::string text(static_cast<std::size_t>(fcntl(pipe.writer, F_GETPIPE_SZ)), '.');
  EXPECT_EQ(static_cast<ssize_t>(text.size()), write(pipe.writer, text.data(), text.size()));
  return pipe;
}

Channel FullDevice() {
  return {-1, open("/dev/full", O_WRONLY | O_CLOEXEC)};
}

/// Whether another user may run the service and use the IPC directory.
bool OtherUserMayRunService() {
  const uid_t user = geteuid();
  const bool may = HasOwnNamespaces() && seteuid(kNobody) == 0 &&
                   faccessat(AT_FDCWD, LOUDCALC_BINARY, X_OK, AT_EACCESS) == 0;
  EXPECT_EQ(0, seteuid(user));
  return may;
}

/// A command that runs the service without root's right to open any file: as another user or, if
/// that is not possible, as root without privileges. Empty for an ordinary user, who does not have
/// that right.
std::vector<std::string> UnprivilegedRunner() {
  if (geteuid() != 0)
    return {};
  if (!OtherUserMayRunService())
    return {kSetPrivileges, "--bounding-set=-all", "--inh-caps=-all"};
  const std::string id = std::to_string(kNobody);
  return {kSetPrivileges, "--reuid=" + id, "--regid=" + id, "--clear-groups", "--pdeathsig=keep"};
}

struct ConsoleCase {
  const char* name;
  Channel (*make)();
  bool isForeign = false;  // the service may write to it but not open it
};

void PrintTo(const ConsoleCase& console, std::ostream* stream) {
  *stream << console.name;
}

const auto kNameOfCase = [](const auto& test) { return std::string(test.param.name); };

/// A service whose standard output and standard error go to one channel.
class ConsoleFaultTest : public FaultyUnit {
 protected:
  void TearDown() override {
    FaultyUnit::TearDown();
    CloseReader();
    if (mChannel.writer >= 0)
      close(mChannel.writer);
  }

  void StartWith(const ConsoleCase& console) {
    mChannel = console.make();
    ServiceStart start;
    start.options.output = start.options.errors = mChannel.writer;
    if (console.isForeign) {
      ASSERT_EQ(0, fchmod(mChannel.writer, 0));
      start.runner = UnprivilegedRunner();
    }
    const mode_t mask = umask(0);  // the peers' sockets are for every user
    StartInOrder(start);
    umask(mask);
    ASSERT_FALSE(HasFatalFailure());
    if (console.isForeign)
      ExpectOnlyInherited();
    if (mChannel.writer >= 0)
      close(mChannel.writer);
    mChannel.writer = ProcessOptions::kClosed;
  }

  /// Expects that the service uses the channel only through its two inherited standard streams and
  /// has not opened it again.
  void ExpectOnlyInherited() {
    namespace fs = std::filesystem;
    const fs::path channel = fs::read_symlink("/proc/self/fd/" + std::to_string(mChannel.writer));
    std::error_code gone;  // set if the file was closed in the meantime
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/" + mService->StatusOf("Pid") + "/fd"))
      count += fs::read_symlink(entry, gone) == channel ? 1 : 0;
    EXPECT_EQ(2, count);
  }

  void CloseReader() {
    if (mChannel.reader >= 0)
      close(std::exchange(mChannel.reader, -1));
  }

  /// Makes the service write to both streams, far more than a pipe holds.
  void ProduceOutput() {
    for (int i = 0; i < kLines; ++i) {
      SayUnknown(std::string(kLineSize, 'e'));
      // A refused command is reported on standard output.
      mUnit.SendText(Peer::kMainAppServer, "AppIOQVLoudnessCmd-1", std::string(kLineSize, 'o'));
    }
    SayUnknown(" the end.");
    ExpectLogLine("AppLoudnessCmd the end.");
  }

  /// Expects that the service, while it writes, still measures and handles commands, and that it
  /// ends with status 0.
  void ExpectUndisturbed() {
    ASSERT_NO_FATAL_FAILURE(BeginWatch());
    ProduceOutput();
    SendCommand("Reset");
    ExpectAcknowledgement("Reset");
    ExpectMeasures(-23);
    ExpectCadenceAndMemory();
  }

  void ExpectEnd() {
    mService->Signal(SIGTERM);
    const auto report = mService->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(0, report->status);
  }

  /// Reads while the service writes, until it reports a loss.
  void ExpectLossTold() {
    std::string seen;
    for (int i = 0; i < 100 && !HasFailure() && seen.find(kLossNote) == std::string::npos; ++i) {
      seen += ReadPending();
      const std::string text = " back " + std::to_string(i) + ".";
      SayUnknown(text);
      ExpectLogLine(text);
    }
    EXPECT_NE(std::string::npos, seen.find(kLossNote));
  }

  std::string ReadPending() const {
    std::string text;
    std::array<char, 65536> buffer;
    pollfd item{mChannel.reader, POLLIN, 0};
    while (poll(&item, 1, 0) > 0)
      text.append(buffer.data(),
                  static_cast<std::size_t>(read(mChannel.reader, buffer.data(), buffer.size())));
    return text;
  }

  Channel mChannel;
};

class DeadConsoleTest : public ConsoleFaultTest, public testing::WithParamInterface<ConsoleCase> {};

TEST_P(DeadConsoleTest, DisturbsNothing) {
  ASSERT_NO_FATAL_FAILURE(StartWith(GetParam()));
  ExpectUndisturbed();
  ExpectEnd();
}

INSTANTIATE_TEST_SUITE_P(Consoles, DeadConsoleTest,
                         testing::Values(ConsoleCase{"UnreadPipe", Pipe},
                                         ConsoleCase{"UnreadSocket", SocketPair},
                                         ConsoleCase{"FullPipeOfAnotherUser", FullPipe, true},
                                         ConsoleCase{"FullDevice", FullDevice},
                                         ConsoleCase{"Closed", [] { return Channel{}; }}),
                         kNameOfCase);

class ReadConsoleTest : public ConsoleFaultTest, public testing::WithParamInterface<ConsoleCase> {};

TEST_P(ReadConsoleTest, IsToldWhatItMissedWhenItReadsAgain) {
  ASSERT_NO_FATAL_FAILURE(StartWith(GetParam()));
  ExpectUndisturbed();
  ExpectLossTold();
  ExpectEnd();
}

TEST_P(ReadConsoleTest, MayGoAway) {
  ASSERT_NO_FATAL_FAILURE(StartWith(GetParam()));
  CloseReader();
  ExpectUndisturbed();
  ExpectEnd();
}

INSTANTIATE_TEST_SUITE_P(Consoles, ReadConsoleTest,
                         testing::Values(ConsoleCase{"Pipe", Pipe},
                                         ConsoleCase{"PipeOfAnotherUser", Pipe, true},
                                         ConsoleCase{"Socket", SocketPair}),
                         kNameOfCase);

TEST_F(ConsoleFaultTest, LogFileMayReachTheLargestSizeAllowed) {
  const std::string path = testing::TempDir() + "log-" + std::to_string(getpid());
  mChannel.writer = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
  ServiceStart start;
  start.options.output = start.options.errors = mChannel.writer;
  start.runner = {kLimitResources, "--fsize=" + std::to_string(kLargestFile)};
  ASSERT_NO_FATAL_FAILURE(StartInOrder(start));
  ExpectUndisturbed();
  EXPECT_EQ(kLargestFile, std::filesystem::file_size(path));
  ExpectEnd();
  std::filesystem::remove(path);
}

TEST_F(ConsoleFaultTest, AllStandardStreamsMayBeClosed) {
  ServiceStart start;
  start.options.input = start.options.output = start.options.errors = ProcessOptions::kClosed;
  ASSERT_NO_FATAL_FAILURE(StartInOrder(start));
  ExpectUndisturbed();
  ExpectEnd();
}

}  // namespace
