// The live meter in a real terminal: tmux plays it, its keyboard and its windows' sizes.

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include "RunningService.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// What a program writes, to its end.
std::string OutputOf(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe) != nullptr)
    output += buffer;
  if (pipe != nullptr)
    pclose(pipe);
  return output;
}

class WatchTerminalTest : public RunningService {
 protected:
  /// A terminal of that size in which a shell waits for commands.
  void OpenTerminal(unsigned columns, unsigned rows) {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    mSocket = testing::TempDir() + "tmux-" + name + "-" + std::to_string(getpid());
    Tmux("new-session -d -x " + std::to_string(columns) + " -y " + std::to_string(rows) +
         " \"env PS1='ready> ' LC_ALL=C.UTF-8 sh\"");
    ASSERT_TRUE(WaitForText("ready>"));
  }

  void TearDown() override {
    if (!mSocket.empty())
      Tmux("kill-server");
    RunningService::TearDown();
  }

  std::string Tmux(const std::string& command) {
    return OutputOf("tmux -f /dev/null -S " + mSocket + " " + command + " 2>&1");
  }

  void Type(const std::string& line) { Tmux("send-keys '" + line + "' Enter"); }

  void Watch(const std::string& options = "") {
    Type(std::string(LOUDDESK_BINARY) + " watch " + options);
  }

  std::string Screen() { return Tmux("capture-pane -p"); }

  bool WaitForText(const std::string& text) { return WaitFor("capture-pane -p", text); }

  /// Waits until the answer of tmux to `command` contains `text`.
  bool WaitFor(const std::string& command, const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    do {
      if (Tmux(command).find(text) != std::string::npos)
        return true;
      // A terminal tells nobody that it has changed.
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    } while (std::chrono::steady_clock::now() < end);
    ADD_FAILURE() << "no \"" << text << "\" in\n" << Screen();
    return false;
  }

  /// The shell has the terminal again: its own screen, cursor, echo, line editing and signals.
  void ExpectSaneTerminal(const std::string& status) {
    ASSERT_TRUE(WaitFor("display-message -p 'alternate #{alternate_on}'", "alternate 0"));
    Type("echo ended with $?; stty -a");
    ASSERT_TRUE(WaitForText("ended with " + status));
    ASSERT_TRUE(WaitForText("-extproc"));
    const std::string screen = Screen();
    EXPECT_THAT(screen, AllOf(HasSubstr(" icanon"), HasSubstr(" echo "), HasSubstr("isig "),
                              HasSubstr(" onlcr"), HasSubstr("icrnl")));
    EXPECT_THAT(screen, Not(HasSubstr("-icanon")));
    EXPECT_THAT(screen, Not(HasSubstr("-echo ")));
    EXPECT_EQ("0 1\n", Tmux("display-message -p '#{alternate_on} #{cursor_flag}'"));
  }

  /// Until the watch has drawn itself, on a screen of its own.
  void ExpectMeter() {
    ASSERT_TRUE(WaitForText("q quits"));
    EXPECT_EQ("1 0\n", Tmux("display-message -p '#{alternate_on} #{cursor_flag}'"));
  }

  void StartMeasured() {
    ASSERT_NO_FATAL_FAILURE(Start());
    StartMeasuring();
    ExpectMeasures(-30);
  }

  std::string mSocket;
};

TEST_F(WatchTerminalTest, ShowsTheRunningService) {
  StartMeasured();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  ASSERT_TRUE(WaitForText("RUNNING"));
  ASSERT_TRUE(WaitForText("█"));
  SendCommand("Pause");
  EXPECT_TRUE(WaitForText("PAUSED"));
  EXPECT_TRUE(WaitForText("Pause acknowledged"));
}

TEST_F(WatchTerminalTest, DeadServiceIsNotShownFrozen) {
  StartMeasured();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  ASSERT_TRUE(WaitForText("RUNNING"));
  mService->Signal(SIGKILL);
  ASSERT_TRUE(WaitForText("DEAD"));
  EXPECT_TRUE(WaitForText("Momentary  ·"));
}

TEST_F(WatchTerminalTest, InterruptLeavesTheTerminalSane) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  ExpectMeter();
  Tmux("send-keys C-c");
  ExpectSaneTerminal("0");
}

TEST_F(WatchTerminalTest, KeyLeavesTheTerminalSane) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  ExpectMeter();
  Tmux("send-keys q");
  ExpectSaneTerminal("0");
}

TEST_F(WatchTerminalTest, TerminationLeavesTheTerminalSane) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  const std::string file = mSocket + ".pid";
  Type("sh -c \"echo \\$\\$ > " + file + "; exec " + std::string(LOUDDESK_BINARY) + " watch\"");
  ExpectMeter();
  pid_t pid = 0;
  ASSERT_TRUE(std::ifstream(file) >> pid);
  ASSERT_EQ(0, kill(pid, SIGTERM));
  ExpectSaneTerminal("0");
}

TEST_F(WatchTerminalTest, EndOfTheTimeLeavesTheTerminalSane) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch("--seconds 1");
  ExpectMeter();
  ExpectSaneTerminal("1");
}

TEST_F(WatchTerminalTest, FollowsTheSizeOfTheWindow) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(120, 40));
  Watch();
  ASSERT_TRUE(WaitForText("last 3 min 46 s"));
  Tmux("resize-window -x 60 -y 30");
  EXPECT_TRUE(WaitForText("last 1 min 46 s"));
  Tmux("resize-window -x 30 -y 10");
  EXPECT_TRUE(WaitForText("needs 40x3"));
  Tmux("resize-window -x 80 -y 24");
  EXPECT_TRUE(WaitForText("last 2 min 26 s"));
}

TEST_F(WatchTerminalTest, UnknownTerminalIsOneLine) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(120, 24));
  Type("TERM=abacus " + std::string(LOUDDESK_BINARY) + " watch; echo status $?");
  ASSERT_TRUE(WaitForText("status 1"));
  EXPECT_THAT(Screen(), HasSubstr("the terminal \"abacus\" is not known"));
}

TEST_F(WatchTerminalTest, WorksWithoutColoursAndBlocks) {
  StartMeasured();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Type("TERM=vt100 LC_ALL=C " + std::string(LOUDDESK_BINARY) + " watch");
  ASSERT_TRUE(WaitForText("RUNNING"));
  EXPECT_TRUE(WaitForText("Momentary  #"));
}

}  // namespace
