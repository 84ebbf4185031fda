// Console streams that never wait. Tested in child processes, because the streams cannot be
// restored.

#include "Console.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "Emulation.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Can replace the result of a poll for room.
std::function<int(int)> gAnswer;

}  // namespace

// Replaces the function of the C library.
extern "C" int poll(pollfd* items, nfds_t count, int timeoutMs) {
  const timespec timeout = {timeoutMs / 1000, timeoutMs % 1000 * 1000000L};
  const int ready = ppoll(items, count, timeoutMs < 0 ? nullptr : &timeout, nullptr);
  return gAnswer ? std::exchange(gAnswer, nullptr)(ready) : ready;
}

namespace {

constexpr int kUnreadLines = 100000;  // far more than a pipe or a socket holds

void PrintLines(FILE* stream, int count) {
  for (int line = 0; line < count; ++line)
    std::fprintf(stream, "line %d\n", line);
}

// The two ends of a pipe, a socket or a terminal; the test reads from `in`.
struct Channel {
  int in = -1;
  int out = -1;
};

Channel Pipe() {
  int ends[2] = {};
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  return {ends[0], ends[1]};
}

// A named pipe in a directory that no other process knows.
Channel NamedPipe() {
  char directory[] = "/tmp/ConsoleTestXXXXXX";
  EXPECT_NE(mkdtemp(directory), nullptr);
  const std::string path = std::string(directory) + "/pipe";
  EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  Channel channel;
  channel.in = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  channel.out = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  EXPECT_EQ(fcntl(channel.in, F_SETFL, 0), 0);
  unlink(path.c_str());
  rmdir(directory);
  return channel;
}

// A pseudo-terminal. It adds a carriage return before each line feed.
Channel Terminal() {
  Channel channel;
  channel.in = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_EQ(grantpt(channel.in), 0);
  EXPECT_EQ(unlockpt(channel.in), 0);
  channel.out = open(ptsname(channel.in), O_RDWR | O_NOCTTY | O_CLOEXEC);
  EXPECT_NE(channel.out, -1);
  return channel;
}

Channel SocketPair() {
  int ends[2] = {};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  return {ends[0], ends[1]};
}

int OpenAgain(int fd, int flags) {
  char path[64] = {};
  std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
  return open(path, flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

// Makes the channel look like another user's: it can be written to, but not opened. For that, the
// process gives up root's privileges; unlike another user, root exists in every namespace.
void MakeUnopenable(int fd) {
  EXPECT_EQ(fchmod(fd, 0), 0);
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct none[2] = {};
  EXPECT_EQ(syscall(SYS_capset, &header, none), 0);
  EXPECT_EQ(OpenAgain(fd, O_WRONLY), -1);
  EXPECT_EQ(errno, EACCES);
}

// Runs `work` in a child process whose descriptor `standardFd` is `out`, or closed if that is
// negative.
pid_t Start(int standardFd, int out, const std::function<void()>& work) {
  const pid_t child = fork();
  if (child != 0)
    return child;
  std::signal(SIGPIPE, SIG_IGN);
  alarm(30 * kSlowness);  // ends a child that waits after all
  if (out >= 0)
    dup2(out, standardFd);
  else
    close(standardFd);
  work();
  std::fflush(nullptr);
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

void ExpectSuccess(pid_t child) {
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

// The text without the carriage returns that a terminal adds.
std::string WithoutReturns(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  return text;
}

// Reads everything until the end.
std::string ReadAll(int fd) {
  std::string text;
  char piece[4096];
  for (ssize_t size = 0; (size = read(fd, piece, sizeof piece)) > 0;)
    text.append(piece, static_cast<std::size_t>(size));
  return text;
}

// Reads everything that has been written so far.
std::string ReadWhatIsThere(int fd) {
  std::string text;
  char piece[4096];
  pollfd ready = {fd, POLLIN, 0};
  while (poll(&ready, 1, 0) > 0) {
    const ssize_t size = read(fd, piece, sizeof piece);
    if (size <= 0)
      break;
    text.append(piece, static_cast<std::size_t>(size));
  }
  return text;
}

// Reads until `text` has arrived.
std::string ReadUntil(int fd, const std::string& text) {
  std::string all;
  char piece[4096];
  while (all.find(text) == std::string::npos) {
    const ssize_t size = read(fd, piece, sizeof piece);
    if (size <= 0) {
      ADD_FAILURE() << "ends without " << text;
      break;
    }
    all = WithoutReturns(all.append(piece, static_cast<std::size_t>(size)));
  }
  return all;
}

// Signals the process that waits at the other end.
void Pass(const Channel& channel) {
  EXPECT_EQ(write(channel.out, "x", 1), 1);
}

void Await(const Channel& channel) {
  char byte = 0;
  EXPECT_EQ(read(channel.in, &byte, 1), 1);
}

// The text that `work` prints on standard output in a child process, read only after its end.
std::string PrintedTo(const Channel& channel, const std::function<void()>& work) {
  ExpectSuccess(Start(STDOUT_FILENO, channel.out, work));
  close(channel.out);
  const std::string text = WithoutReturns(ReadAll(channel.in));
  close(channel.in);
  return text;
}

TEST(ConsoleTest, LinesReachAReader) {
  EXPECT_EQ("one 1\ntwo\n", PrintedTo(Pipe(), [] {
              MakeConsoleNonBlocking();
              std::printf("one %d\n", 1);
              std::fputs("two\n", stdout);
            }));
}

TEST(ConsoleTest, LineIsThereBeforeTheNextOne) {
  Channel pipe = Pipe();
  Channel go = Pipe();
  const pid_t child = Start(STDOUT_FILENO, pipe.out, [&] {
    MakeConsoleNonBlocking();
    std::printf("first\n");
    Await(go);
  });
  char text[6] = {};
  EXPECT_EQ(read(pipe.in, text, sizeof text), 6);
  EXPECT_EQ(std::string(text, 6), "first\n");
  Pass(go);
  ExpectSuccess(child);
}

struct ChannelCase {
  const char* name;
  Channel (*make)();
  bool isEstranged;  // the writing process may not open it
};

void PrintTo(const ChannelCase& channel, std::ostream* stream) {
  *stream << channel.name;
}

class ChannelTest : public testing::TestWithParam<ChannelCase> {
 protected:
  ~ChannelTest() override {
    for (const int fd : {mChannel.in, mChannel.out})
      if (fd >= 0)
        close(fd);
  }

  // Runs `work` in a child process that prints to the channel. This process keeps the other end.
  void StartWriter(const std::function<void()>& work) {
    mChild = Start(STDERR_FILENO, mChannel.out, [&] {
      if (GetParam().isEstranged)
        MakeUnopenable(STDERR_FILENO);
      MakeConsoleNonBlocking();
      work();
      EXPECT_EQ(std::ferror(stderr), 0);
    });
  }

  void CloseOut() { close(std::exchange(mChannel.out, -1)); }
  void CloseIn() { close(std::exchange(mChannel.in, -1)); }

  Channel mChannel = GetParam().make();
  pid_t mChild = -1;
};

const auto kNameOfCase = [](const auto& test) { return std::string(test.param.name); };

class UnreadTest : public ChannelTest {};

// The child ends before anything is read, so it never waited.
TEST_P(UnreadTest, FullChannelLosesLinesInsteadOfWaiting) {
  StartWriter([] { PrintLines(stderr, kUnreadLines); });
  ExpectSuccess(mChild);
  CloseOut();
  const std::string text = WithoutReturns(ReadAll(mChannel.in));
  EXPECT_THAT(text, StartsWith("line 0\nline 1\n"));
  EXPECT_LT(text.size(), std::size_t{kUnreadLines} * 8);
}

TEST_P(UnreadTest, LongLinesAreLostInsteadOfWaitingToo) {
  const std::string line = std::string(5000, 'x') + "\n";
  StartWriter([&] {
    for (int i = 0; i < 1000; ++i)
      std::fputs(line.c_str(), stderr);
  });
  ExpectSuccess(mChild);
  CloseOut();
  EXPECT_THAT(WithoutReturns(ReadAll(mChannel.in)), StartsWith(line));
}

TEST_P(UnreadTest, LossIsReportedOnceTheReaderTakesLinesAgain) {
  Channel full = Pipe();
  Channel seen = Pipe();
  StartWriter([&] {
    PrintLines(stderr, kUnreadLines);
    Pass(full);
    while (ReadWhatIsThere(seen.in).empty())
      std::fprintf(stderr, "later\n");
  });
  CloseOut();
  close(full.out);
  Await(full);
  const std::string note = " bytes of console output lost]\n";
  EXPECT_THAT(ReadUntil(mChannel.in, note + "later\n"), HasSubstr("\n["));
  Pass(seen);
  ReadAll(mChannel.in);
  ExpectSuccess(mChild);
}

INSTANTIATE_TEST_SUITE_P(Channels, UnreadTest,
                         testing::Values(ChannelCase{"Pipe", Pipe, false},
                                         ChannelCase{"Socket", SocketPair, false},
                                         ChannelCase{"Terminal", Terminal, false},
                                         ChannelCase{"EstrangedPipe", Pipe, true},
                                         ChannelCase{"EstrangedNamedPipe", NamedPipe, true},
                                         ChannelCase{"EstrangedTerminal", Terminal, true}),
                         kNameOfCase);

class PipeTest : public ChannelTest {};

TEST_P(PipeTest, OtherWritersStillWait) {
  StartWriter([] { std::fprintf(stderr, "line\n"); });
  ExpectSuccess(mChild);
  EXPECT_EQ(fcntl(mChannel.out, F_GETFL) & O_NONBLOCK, 0);
}

TEST_P(PipeTest, ReaderThatIsGoneIsNotAnError) {
  StartWriter([&] {
    CloseIn();
    PrintLines(stderr, 1000);
  });
  CloseIn();
  ExpectSuccess(mChild);
}

TEST_P(PipeTest, LineThatFindsRoomForItsBeginningLosesItsEnd) {
  ASSERT_EQ(fcntl(mChannel.out, F_SETPIPE_SZ, 2 * PIPE_BUF), 2 * PIPE_BUF);
  const std::string before(PIPE_BUF, 'b');
  ASSERT_EQ(write(mChannel.out, before.data(), before.size()), PIPE_BUF);
  Channel printed = Pipe();
  Channel go = Pipe();
  StartWriter([&] {
    std::fprintf(stderr, "%s\n", std::string(PIPE_BUF + 1904, 'x').c_str());
    Pass(printed);
    Await(go);
    std::fprintf(stderr, "next\n");
  });
  CloseOut();
  close(printed.out);
  Await(printed);
  EXPECT_EQ(ReadWhatIsThere(mChannel.in), before + std::string(PIPE_BUF, 'x'));
  Pass(go);
  EXPECT_EQ(ReadAll(mChannel.in), "\n[1905 bytes of console output lost]\nnext\n");
  ExpectSuccess(mChild);
}

INSTANTIATE_TEST_SUITE_P(Pipes, PipeTest,
                         testing::Values(ChannelCase{"Own", Pipe, false},
                                         ChannelCase{"Estranged", Pipe, true},
                                         ChannelCase{"EstrangedNamed", NamedPipe, true}),
                         kNameOfCase);

TEST(ConsoleTest, NamedPipeWhoseReaderComesLaterIsNotWaitedFor) {
  Channel pipe = NamedPipe();
  close(pipe.in);
  ASSERT_EQ(OpenAgain(pipe.out, O_WRONLY), -1);
  ASSERT_EQ(errno, ENXIO);
  Channel ready = Pipe();
  Channel go = Pipe();
  const pid_t child = Start(STDOUT_FILENO, pipe.out, [&] {
    MakeConsoleNonBlocking();
    std::printf("nobody hears this\n");
    Pass(ready);
    Await(go);
    PrintLines(stdout, kUnreadLines);
  });
  Await(ready);
  pipe.in = OpenAgain(pipe.out, O_RDONLY);
  Pass(go);
  ExpectSuccess(child);
  close(pipe.out);
  EXPECT_THAT(ReadAll(pipe.in),
              StartsWith("\n[18 bytes of console output lost]\nline 0\nline 1\n"));
  close(pipe.in);
}

// Control-S stops the output of a terminal, Control-Q continues it.
TEST(ConsoleTest, HeldTerminalOfAnotherUserIsNotWaitedFor) {
  const Channel terminal = Terminal();
  ASSERT_EQ(tcflow(terminal.out, TCOOFF), 0);
  const std::string text = PrintedTo(terminal, [&] {
    MakeUnopenable(STDOUT_FILENO);
    MakeConsoleNonBlocking();
    std::printf("held\n");
    EXPECT_EQ(tcflow(terminal.out, TCOON), 0);
    std::printf("not held\n");
  });
  EXPECT_EQ(text, "\n[5 bytes of console output lost]\nnot held\n");
}

bool KernelWritesToPipesWithoutWaiting() {
  Channel pipe = Pipe();
  char byte = 'x';
  const iovec piece = {&byte, 1};
  const bool result = pwritev2(pipe.out, &piece, 1, -1, RWF_NOWAIT) == 1;
  close(pipe.in);
  close(pipe.out);
  return result;
}

// Otherwise another process could take the room between the poll and the write.
TEST(ConsoleTest, RoomIsNotAskedForWhereTheKernelCanWriteWithoutWaiting) {
  if (!KernelWritesToPipesWithoutWaiting())
    GTEST_SKIP() << "NOT TESTED: this kernel always waits for room in a pipe";
  const std::string text = PrintedTo(Pipe(), [] {
    MakeUnopenable(STDOUT_FILENO);
    MakeConsoleNonBlocking();
    gAnswer = [](int ready) { return ready; };
    std::printf("line\n");
    EXPECT_TRUE(gAnswer) << "asked";
  });
  EXPECT_EQ(text, "line\n");
}

TEST(ConsoleTest, InterruptedQuestionForRoomIsAskedAgain) {
  const std::string text = PrintedTo(NamedPipe(), [] {
    MakeUnopenable(STDOUT_FILENO);
    MakeConsoleNonBlocking();
    gAnswer = [](int) {
      errno = EINTR;
      return -1;
    };
    std::printf("line\n");
    EXPECT_FALSE(gAnswer) << "not asked";
  });
  EXPECT_EQ(text, "line\n");
}

// Both streams write into the last room of the same pipe.
TEST(ConsoleTest, RoomThatTheOtherStreamTakesFirstIsNotWaitedFor) {
  const Channel pipe = NamedPipe();
  ASSERT_NE(fcntl(pipe.out, F_SETPIPE_SZ, PIPE_BUF), -1);
  const std::string line = std::string(3000, 'x') + "\n";
  const std::string text = PrintedTo(pipe, [&] {
    dup2(STDOUT_FILENO, STDERR_FILENO);
    MakeUnopenable(STDOUT_FILENO);
    MakeConsoleNonBlocking();
    const Channel done = Pipe();
    std::thread other;
    gAnswer = [&](int ready) {
      other = std::thread([&] {
        std::fputs(line.c_str(), stderr);
        Pass(done);
      });
      // Gives the other stream time to write first, which it must not do.
      pollfd item = {done.in, POLLIN, 0};
      EXPECT_EQ(poll(&item, 1, 200), 0);
      return ready;
    };
    std::fputs(line.c_str(), stdout);
    ASSERT_TRUE(other.joinable()) << "not asked";
    other.join();
  });
  EXPECT_EQ(text, line);
}

TEST(ConsoleTest, FullDiskIsNotAnError) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_NE(full, -1);
  ExpectSuccess(Start(STDOUT_FILENO, full, [] {
    MakeConsoleNonBlocking();
    PrintLines(stdout, 1000);
    EXPECT_EQ(std::ferror(stdout), 0);
  }));
  close(full);
}

TEST(ConsoleTest, FileKeepsWhatStoodInIt) {
  char path[] = "/tmp/ConsoleTestXXXXXX";
  const int file = mkstemp(path);
  ASSERT_NE(file, -1);
  ASSERT_EQ(write(file, "before\n", 7), 7);
  ExpectSuccess(Start(STDOUT_FILENO, file, [] {
    MakeConsoleNonBlocking();
    std::printf("after\n");
  }));
  ASSERT_EQ(lseek(file, 0, SEEK_SET), 0);
  EXPECT_EQ(ReadAll(file), "before\nafter\n");
  close(file);
  unlink(path);
}

TEST(ConsoleTest, PrintingLeavesErrnoAlone) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_NE(full, -1);
  ExpectSuccess(Start(STDOUT_FILENO, full, [] {
    MakeConsoleNonBlocking();
    errno = EINTR;
    std::fputs("line\n", stdout);
    EXPECT_EQ(errno, EINTR);
  }));
  close(full);
}

TEST(StandardStreamsTest, ClosedOnesBecomeTheNullDevice) {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    ExpectSuccess(Start(fd, -1, [fd] {
      OpenMissingStandardStreams();
      char path[64] = {};
      char name[64] = {};
      std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
      EXPECT_GT(readlink(path, name, sizeof name - 1), 0);
      EXPECT_STREQ(name, "/dev/null");
    }));
}

TEST(StandardStreamsTest, OpenOnesStayAsTheyAre) {
  EXPECT_EQ("still here\n", PrintedTo(Pipe(), [] {
              OpenMissingStandardStreams();
              std::printf("still here\n");
            }));
}

}  // namespace
