// The desk tool's subcommand `unit` in a real terminal.

#include <sstream>

#include "TerminalService.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr char kTone[] = " unit --tone 997,-23";

class UnitTerminalTest : public TerminalService {
 protected:
  void StartTone() {
    StartProcess();
    ASSERT_NO_FATAL_FAILURE(OpenTerminal(90, 24));
    Type(LOUDDESK_BINARY + std::string(kTone));
    ASSERT_TRUE(WaitForText("M -23.0"));
    ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  }

  /// Number of visible lines that contain `text`.
  std::size_t LinesWith(const std::string& text) {
    std::istringstream screen(Screen());
    std::size_t count = 0;
    for (std::string line; std::getline(screen, line);)
      count += line.find(text) == std::string::npos ? 0 : 1;
    return count;
  }
};

TEST_F(UnitTerminalTest, OrdersAreNamedAtTheStart) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  EXPECT_THAT(Screen(), HasSubstr("Orders: start (s), pause (p), play (y), stop (t), reset (r)"));
}

TEST_F(UnitTerminalTest, NarrowerTerminalStillHasOneLiveLine) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Tmux("resize-window -x 50 -y 24");
  Pass(15 * kPeriod);
  // The terminal may have wrapped the previous line.
  EXPECT_LE(LinesWith(" M -23.0 "), 2u) << Screen();
  Tmux("resize-window -x 90 -y 24");
  EXPECT_TRUE(WaitForText("dBTP\n"));
}

TEST_F(UnitTerminalTest, LettersAndWordsAreOrders) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Type("p");
  ASSERT_TRUE(WaitForText("Pause acknowledged, user "));
  ExpectAcknowledgement("Pause");
  Type("play");
  ASSERT_TRUE(WaitForText("Play acknowledged, user "));
  EXPECT_THAT(Screen(), AllOf(HasSubstr("\n> pause"), HasSubstr("\n> play")));
  Type("q");
  ASSERT_TRUE(WaitForText("Duration "));
}

TEST_F(UnitTerminalTest, InterruptEndsWithTheFiguresSoFar) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Press("C-c");
  ASSERT_TRUE(WaitForText("Duration "));
}

// The shell owns the terminal and receives the typed text.
TEST_F(UnitTerminalTest, BackgroundJobPlaysAndLeavesWhatIsTypedToTheShell) {
  StartProcess();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(90, 24));
  Type(LOUDDESK_BINARY + std::string(kTone) + " > /dev/null &");
  ASSERT_TRUE(mService->WaitForLine("Mode 1", kPatience));
  Type("echo p$((40 + 2))q; jobs");
  ASSERT_TRUE(WaitForText("p42q"));
  ASSERT_TRUE(WaitForText("Running"));
  EXPECT_THAT(mService->StandardOutput(), Not(HasSubstr("LuCmd: ")));
  Type("kill %1; wait %1; echo ended with $?");
  EXPECT_TRUE(WaitForText("ended with 0"));
}

}  // namespace
