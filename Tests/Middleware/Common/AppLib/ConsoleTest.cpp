// Console streams that never wait, in processes of their own: the streams are replaced for good.

#include "Console.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kUnreadLines = 100000;  // far more than a pipe or a socket holds

void PrintLines(FILE* stream, int count) {
  for (int line = 0; line < count; ++line)
    std::fprintf(stream, "line %d\n", line);
}

// Both ends of something that carries bytes; `in` is read by the test.
struct Channel {
  int in = -1;
  int out = -1;
};

Channel Pipe() {
  int ends[2] = {};
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  return {ends[0], ends[1]};
}

Channel SocketPair() {
  int ends[2] = {};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  return {ends[0], ends[1]};
}

// Runs `work` in a child whose descriptor `standardFd` is `out`; a negative one is closed.
pid_t Start(int standardFd, int out, const std::function<void()>& work) {
  const pid_t child = fork();
  if (child != 0)
    return child;
  std::signal(SIGPIPE, SIG_IGN);
  alarm(30);  // a child that waits after all
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

// Everything until the end.
std::string ReadAll(int fd) {
  std::string text;
  char piece[4096];
  for (ssize_t size = 0; (size = read(fd, piece, sizeof piece)) > 0;)
    text.append(piece, static_cast<std::size_t>(size));
  return text;
}

// Everything that has been written so far.
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

// One process waits for the other.
void Pass(const Channel& channel) {
  EXPECT_EQ(write(channel.out, "x", 1), 1);
}

void Await(const Channel& channel) {
  char byte = 0;
  EXPECT_EQ(read(channel.in, &byte, 1), 1);
}

TEST(ConsoleTest, LinesReachAReader) {
  Channel pipe = Pipe();
  const pid_t child = Start(STDOUT_FILENO, pipe.out, [] {
    MakeConsoleNeverWait();
    std::printf("one %d\n", 1);
    std::fputs("two\n", stdout);
  });
  close(pipe.out);
  EXPECT_EQ(ReadAll(pipe.in), "one 1\ntwo\n");
  ExpectSuccess(child);
  close(pipe.in);
}

TEST(ConsoleTest, LineIsThereBeforeTheNextOne) {
  Channel pipe = Pipe();
  Channel go = Pipe();
  const pid_t child = Start(STDOUT_FILENO, pipe.out, [&] {
    MakeConsoleNeverWait();
    std::printf("first\n");
    Await(go);
  });
  char text[6] = {};
  EXPECT_EQ(read(pipe.in, text, sizeof text), 6);
  EXPECT_EQ(std::string(text, 6), "first\n");
  Pass(go);
  ExpectSuccess(child);
}

class UnreadTest : public testing::TestWithParam<Channel (*)()> {};

// The child ends while nobody has read anything: it never waited.
TEST_P(UnreadTest, FullChannelLosesLinesInsteadOfWaiting) {
  Channel channel = GetParam()();
  const pid_t child = Start(STDERR_FILENO, channel.out, [] {
    MakeConsoleNeverWait();
    PrintLines(stderr, kUnreadLines);
    EXPECT_EQ(std::ferror(stderr), 0);
  });
  ExpectSuccess(child);
  close(channel.out);
  const std::string text = ReadAll(channel.in);
  EXPECT_THAT(text, StartsWith("line 0\nline 1\n"));
  EXPECT_LT(text.size(), std::size_t{kUnreadLines} * 8);
  close(channel.in);
}

TEST_P(UnreadTest, LossIsToldOnceTheReaderTakesLinesAgain) {
  Channel channel = GetParam()();
  Channel full = Pipe();
  Channel go = Pipe();
  const pid_t child = Start(STDERR_FILENO, channel.out, [&] {
    MakeConsoleNeverWait();
    PrintLines(stderr, kUnreadLines);
    Pass(full);
    Await(go);
    std::fprintf(stderr, "last\n");
  });
  close(channel.out);
  Await(full);
  std::string text = ReadWhatIsThere(channel.in);
  Pass(go);
  text += ReadAll(channel.in);
  ExpectSuccess(child);
  EXPECT_THAT(text, HasSubstr(" bytes of console output lost]\n"));
  EXPECT_THAT(text, EndsWith("last\n"));
}

INSTANTIATE_TEST_SUITE_P(Channels, UnreadTest, testing::Values(Pipe, SocketPair),
                         [](const auto& channel) {
                           return channel.index == 0 ? "Pipe" : "Socket";
                         });

TEST(ConsoleTest, OtherWritersOfThePipeStillWait) {
  Channel pipe = Pipe();
  const pid_t child = Start(STDOUT_FILENO, pipe.out, [] {
    MakeConsoleNeverWait();
    std::printf("line\n");
  });
  ExpectSuccess(child);
  EXPECT_EQ(fcntl(pipe.out, F_GETFL) & O_NONBLOCK, 0);
}

TEST(ConsoleTest, ReaderThatIsGoneIsNoError) {
  Channel pipe = Pipe();
  const pid_t child = Start(STDOUT_FILENO, pipe.out, [&] {
    close(pipe.in);
    MakeConsoleNeverWait();
    PrintLines(stdout, 1000);
    EXPECT_EQ(std::ferror(stdout), 0);
  });
  close(pipe.in);
  ExpectSuccess(child);
}

TEST(ConsoleTest, FullDiskIsNoError) {
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_NE(full, -1);
  ExpectSuccess(Start(STDOUT_FILENO, full, [] {
    MakeConsoleNeverWait();
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
    MakeConsoleNeverWait();
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
    MakeConsoleNeverWait();
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
  Channel pipe = Pipe();
  const pid_t child = Start(STDOUT_FILENO, pipe.out, [] {
    OpenMissingStandardStreams();
    std::printf("still here\n");
  });
  close(pipe.out);
  EXPECT_EQ(ReadAll(pipe.in), "still here\n");
  ExpectSuccess(child);
}

}  // namespace
