// The live meter in a real terminal.

#include <csignal>
#include <fstream>

#include "TerminalService.h"

namespace {

using testing::HasSubstr;

class WatchTerminalTest : public TerminalService {
 protected:
  void Watch(const std::string& options = "") {
    Type(std::string(LOUDDESK_BINARY) + " watch " + options);
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
  const std::string file = FileOfItsOwn(".pid");
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
