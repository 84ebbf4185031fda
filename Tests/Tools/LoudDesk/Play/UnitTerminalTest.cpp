// The desk tool's subcommand `unit` in a real terminal.

#include <csignal>
#include <fstream>
#include <sstream>

#include "TerminalService.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr char kTone[] = " unit --tone 997,-23";

class UnitTerminalTest : public TerminalService {
 protected:
  /// A terminal whose modes are noted.
  void Open() {
    ASSERT_NO_FATAL_FAILURE(OpenTerminal(90, 24));
    Type("stty -a > " + FileOfItsOwn(".before") + "; echo noted: $?");
    ASSERT_TRUE(WaitForText("noted: 0"));
  }

  void StartTone() {
    StartProcess();
    ASSERT_NO_FATAL_FAILURE(Open());
    Type(LOUDDESK_BINARY + std::string(kTone));
    ASSERT_TRUE(WaitForText("M -23.0"));
    ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  }

  /// How many of the lines that can be seen contain `text`.
  std::size_t LinesWith(const std::string& text) {
    std::istringstream screen(Screen());
    std::size_t count = 0;
    for (std::string line; std::getline(screen, line);)
      count += line.find(text) == std::string::npos ? 0 : 1;
    return count;
  }

  /// The shell has the terminal again, with all modes as they were.
  void ExpectTerminalAsBefore() {
    Type("stty -a | cmp - " + FileOfItsOwn(".before") + "; echo compared: $?");
    EXPECT_TRUE(WaitForText("compared: 0"));
  }
};

TEST_F(UnitTerminalTest, KeysAreNamedAtTheStart) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  EXPECT_THAT(Screen(),
              AllOf(HasSubstr("Keys:  s start  p pause  y play  t stop  r reset  i print\n"),
                    HasSubstr("       + reporting on  - reporting off  h help  q quit\n")));
}

TEST_F(UnitTerminalTest, KeysToldAgainLeaveNothingOfTheLiveLine) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("h");
  ASSERT_TRUE(WaitForText("Playing tone 997,-23 (2 channels, 48000 Hz)\nKeys:"));
  EXPECT_THAT(Screen(), HasSubstr("48000 Hz)\nKeys:  s start  p pause  y play  t stop  r reset  "
                                  "i print\n"));
}

TEST_F(UnitTerminalTest, NarrowerTerminalStillHasOneLiveLine) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Tmux("resize-window -x 50 -y 24");
  Pass(15 * kPeriod);
  // The terminal itself may have broken the line that stood there.
  EXPECT_LE(LinesWith(" M -23.0 "), 2u) << Screen();
  Tmux("resize-window -x 90 -y 24");
  EXPECT_TRUE(WaitForText("dBTP\n"));
}

TEST_F(UnitTerminalTest, KeysNeedNoEnterAndAreNotEchoed) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("p");
  ASSERT_TRUE(WaitForText("Pause acknowledged, user "));
  ExpectAcknowledgement("Pause");
  Press("y");
  ASSERT_TRUE(WaitForText("Play acknowledged, user "));
  const std::string screen = Screen();
  EXPECT_THAT(screen, AllOf(HasSubstr("\n> pause"), HasSubstr("\n> play")));
  // The live line is one line.
  EXPECT_EQ(screen.find("LRA"), screen.rfind("LRA")) << screen;
}

TEST_F(UnitTerminalTest, KeysSwitchTheReporting) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("-");
  ASSERT_TRUE(WaitForText("No more loudness data comes"));
  Press("+");
  ASSERT_TRUE(WaitForText("\nLoudness data comes"));
}

TEST_F(UnitTerminalTest, UnknownKeyIsAnsweredByTheKnownOnes) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("Up");  // no character, no answer
  Press("Enter");
  Press("x");
  ASSERT_TRUE(WaitForText("\"x\" is no key; there are s p y t r i + - h q"));
  const std::string screen = Screen();
  EXPECT_EQ(screen.find("is no key"), screen.rfind("is no key")) << screen;
}

TEST_F(UnitTerminalTest, KeyEndsThePlayAndLeavesTheTerminalAsItWas) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("q");
  ASSERT_TRUE(WaitForText("Duration "));
  ExpectTerminalAsBefore();
}

TEST_F(UnitTerminalTest, InterruptLeavesTheTerminalAsItWas) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("C-c");
  ASSERT_TRUE(WaitForText("Duration "));
  ExpectTerminalAsBefore();
}

TEST_F(UnitTerminalTest, ErrorLeavesTheTerminalAsItWas) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  mService->Signal(SIGKILL);
  ASSERT_TRUE(WaitForText("the service has fallen silent"));
  ExpectTerminalAsBefore();
}

struct SignalCase {
  const char* name;
  int signal;
  int status;  // as the shell tells it
};

class UnitTerminalSignalTest : public UnitTerminalTest,
                               public testing::WithParamInterface<SignalCase> {};

TEST_P(UnitTerminalSignalTest, LeavesTheTerminalAsItWas) {
  StartProcess();
  ASSERT_NO_FATAL_FAILURE(Open());
  const std::string file = FileOfItsOwn(".pid");
  Type("sh -c \"echo \\$\\$ > " + file + "; exec " + LOUDDESK_BINARY + kTone +
       "\"; echo ended with $?");
  ASSERT_TRUE(WaitForText("M -23.0"));
  pid_t pid = 0;
  ASSERT_TRUE(std::ifstream(file) >> pid);
  ASSERT_EQ(0, kill(pid, GetParam().signal));
  ASSERT_TRUE(WaitForText("ended with " + std::to_string(GetParam().status)));
  ExpectTerminalAsBefore();
}

INSTANTIATE_TEST_SUITE_P(Signals, UnitTerminalSignalTest,
                         testing::Values(SignalCase{"Termination", SIGTERM, 0},
                                         SignalCase{"HangUp", SIGHUP, 128 + SIGHUP},
                                         SignalCase{"Quit", SIGQUIT, 128 + SIGQUIT},
                                         SignalCase{"BrokenPipe", SIGPIPE, 128 + SIGPIPE}),
                         [](const auto& signal) { return signal.param.name; });

TEST_F(UnitTerminalTest, StoppedJobLeavesTheTerminalAndTakesItAgain) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("C-z");
  ASSERT_TRUE(WaitForText("Stopped"));
  ExpectTerminalAsBefore();
  Type("clear; fg");
  ASSERT_TRUE(WaitForText("M -23.0"));
  Press("p");
  ASSERT_TRUE(WaitForText("Pause acknowledged"));
  Press("C-c");
  ASSERT_TRUE(WaitForText("Duration "));
  Type("clear");
  ExpectTerminalAsBefore();
}

// The terminal is the shell's: what is typed is, too.
TEST_F(UnitTerminalTest, BackgroundJobPlaysAndLeavesTheKeysToTheShell) {
  StartProcess();
  ASSERT_NO_FATAL_FAILURE(Open());
  Type(LOUDDESK_BINARY + std::string(kTone) + " > /dev/null &");
  ASSERT_TRUE(mService->WaitForLine("Mode 1", kPatience));
  Type("echo p$((40 + 2))q; jobs");
  ASSERT_TRUE(WaitForText("p42q"));
  ASSERT_TRUE(WaitForText("Running"));
  ExpectTerminalAsBefore();
  EXPECT_THAT(mService->StandardOutput(), Not(HasSubstr("LuCmd: ")));
  Type("kill %1; wait %1; echo ended with $?");
  EXPECT_TRUE(WaitForText("ended with 0"));
}

}  // namespace
