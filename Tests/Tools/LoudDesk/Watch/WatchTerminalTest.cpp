// The live meter in a real terminal.

#include <csignal>
#include <fstream>

#include "Endpoints.h"
#include "TerminalService.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class WatchTerminalTest : public TerminalService {
 protected:
  void Watch(const std::string& options = "") {
    Type(std::string(LOUDDESK_BINARY) + " watch " + options);
  }

  /// Expects that the watch has drawn itself, on the alternate screen.
  void ExpectMeter() {
    ASSERT_TRUE(WaitForText("q quits"));
    EXPECT_EQ("1 0\n", Tmux("display-message -p '#{alternate_on} #{cursor_flag}'"));
  }

  /// Sends pauses until the watch shows one. There is no other sign that it is connected to the
  /// states.
  void ExpectPauseSeen() {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    do {
      SendCommand("Pause");
      Pass(5 * kPeriod);
    } while (!testing::Matches(HasSubstr("Pause acknowledged"))(Screen()) &&
             std::chrono::steady_clock::now() < end);
    EXPECT_TRUE(WaitForText("Pause acknowledged"));
    EXPECT_TRUE(WaitForText("PAUSED"));
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
  ExpectPauseSeen();
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

TEST_F(WatchTerminalTest, KeysChangeTheMeter) {
  StartMeasured();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  ASSERT_TRUE(WaitForText("target -23.0 LKFS"));
  Press("Up");
  ASSERT_TRUE(WaitForText("target -22.0 LKFS"));
  Press("s");
  ASSERT_TRUE(WaitForText("EBU +18 scale"));
  Press("h");
  EXPECT_TRUE(WaitForText("reset the maxima seen here"));
}

TEST_F(WatchTerminalTest, FollowsTheConfigurationOfTheService) {
  StartMeasured();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  louddesk::LoudnessConfiguration configuration;
  configuration.referenceLevel = -20;
  configuration.alarmTolerance = 3;
  configuration.loudnessStandard = "EBU R128 (+18)";
  SendConfiguration(configuration);
  EXPECT_TRUE(WaitForText("range 9 s; target -20.0 LKFS, +/-3 LU"));
  EXPECT_TRUE(WaitForText("EBU +18 scale"));
}

TEST_F(WatchTerminalTest, ControlCommandsTheService) {
  ASSERT_NO_FATAL_FAILURE(Start({louddesk::Peer::kMainAppServer}));
  EnableReporting();
  mUnit.SendText(louddesk::Peer::kOpticalAppServer, louddesk::TopicFor(kPresetTopicPrefix, 1),
                 louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
  ExpectAcknowledgement("Start");
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch("--control");
  ASSERT_TRUE(WaitForText("in the application server"));
  ASSERT_TRUE(WaitForText("RUNNING"));
  // Nothing is sent until the service has subscribed.
  const auto end = std::chrono::steady_clock::now() + kPatience;
  do {
    Press("2");
    Pass(5 * kPeriod);
  } while (!testing::Matches(HasSubstr("Pause acknowledged"))(Screen()) &&
           std::chrono::steady_clock::now() < end);
  EXPECT_TRUE(WaitForText("Pause sent"));
  EXPECT_TRUE(WaitForText("PAUSED"));
  Press("3");
  EXPECT_TRUE(WaitForText("Play acknowledged"));
  Press("5");
  EXPECT_TRUE(WaitForText("Reset acknowledged"));
  Press("1");
  EXPECT_TRUE(WaitForText("Start acknowledged"));
  // The mode is Continuous, in which a stop has no effect.
  Press("4");
  EXPECT_TRUE(WaitForText("Stop not acknowledged: the mode is Continuous"));
}

TEST_F(WatchTerminalTest, ControlOfATakenPlaceIsOneLine) {
  mUnit.Open(louddesk::Peer::kMainAppServer);
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(160, 24));
  Watch("--control; echo ended with $?");
  EXPECT_TRUE(WaitForText("--control needs the endpoint of the application server: cannot bind"));
  EXPECT_TRUE(WaitForText("ended with 1"));
}

TEST_F(WatchTerminalTest, AllClustersHaveARowAndEnterOpensOne) {
  StartMeasured();
  ServiceProcess second(LOUDCALC_BINARY, {"-m", "2", "-c", "3"});
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch("--all");
  ASSERT_TRUE(WaitForText("2 clusters on this machine"));
  ASSERT_TRUE(WaitForText("  1  1  RUNNING"));
  ASSERT_TRUE(WaitForText("  2  3  NOT STARTED"));
  Press("Down");
  Press("Enter");
  ASSERT_TRUE(WaitForText("meter set 2, cluster 3"));
  Press("b");
  ASSERT_TRUE(WaitForText("2 clusters on this machine"));
  Press("q");
  ExpectSaneTerminal("0");
  second.Signal(SIGTERM);
  EXPECT_TRUE(second.WaitForExit(kPatience));
}

// The state alone would not show the fault.
TEST_F(WatchTerminalTest, AFrozenSourceIsReportedAmongAllClusters) {
  StartMeasured();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch("--all");
  EXPECT_TRUE(WaitForText("  1  1  NO CHANGE"));
  ExpectMeasures(-20);
  EXPECT_TRUE(WaitForText("  1  1  RUNNING"));
}

// A killed service leaves its files behind.
TEST_F(WatchTerminalTest, FileWithoutAServiceIsNotACluster) {
  StartMeasured();
  ServiceProcess second(LOUDCALC_BINARY, {"-m", "2", "-c", "3"});
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch("--all");
  ASSERT_TRUE(WaitForText("  2  3  NOT STARTED"));
  second.Signal(SIGKILL);
  EXPECT_TRUE(WaitForText("  2  3  DEAD"));
  Press("q");
  ExpectSaneTerminal("0");
  Watch("--all");
  EXPECT_TRUE(WaitForText("1 cluster on this machine"));
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

struct SignalCase {
  const char* name;
  int signal;
  const char* status;  // exit status reported by the shell
};

class WatchTerminalSignalTest : public WatchTerminalTest,
                                public testing::WithParamInterface<SignalCase> {};

TEST_P(WatchTerminalSignalTest, LeavesTheTerminalSane) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  const std::string file = FileOfItsOwn(".pid");
  Type("sh -c \"echo \\$\\$ > " + file + "; exec " + std::string(LOUDDESK_BINARY) + " watch\"");
  ExpectMeter();
  pid_t pid = 0;
  ASSERT_TRUE(std::ifstream(file) >> pid);
  ASSERT_EQ(0, kill(pid, GetParam().signal));
  ExpectSaneTerminal(GetParam().status);
}

// Termination is an orderly end; the other signals end the process as usual.
INSTANTIATE_TEST_SUITE_P(Signals, WatchTerminalSignalTest,
                         testing::Values(SignalCase{"Termination", SIGTERM, "0"},
                                         SignalCase{"HangUp", SIGHUP, "129"},
                                         SignalCase{"Quit", SIGQUIT, "131"},
                                         SignalCase{"BrokenPipe", SIGPIPE, "141"},
                                         SignalCase{"Abortion", SIGABRT, "134"}),
                         [](const auto& signal) { return signal.param.name; });

// nohup makes programs ignore the signal.
TEST_F(WatchTerminalTest, IgnoredHangUpStaysIgnored) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  const std::string file = FileOfItsOwn(".pid");
  Type("sh -c \"trap \\\"\\\" HUP; echo \\$\\$ > " + file + "; exec " +
       std::string(LOUDDESK_BINARY) + " watch\"");
  ExpectMeter();
  pid_t pid = 0;
  ASSERT_TRUE(std::ifstream(file) >> pid);
  ASSERT_EQ(0, kill(pid, SIGHUP));
  Press("q");
  ExpectSaneTerminal("0");
}

TEST_F(WatchTerminalTest, QuitKeyLeavesAPlainTerminalWithoutThePicture) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Type("TERM=vt100 " + std::string(LOUDDESK_BINARY) + " watch");
  ASSERT_TRUE(WaitForText("q quits"));
  Press("C-\\\\");
  ASSERT_TRUE(WaitForShell());
  ASSERT_TRUE(WaitForText("ready>"));
  EXPECT_THAT(Screen(), Not(HasSubstr("Momentary")));
  ExpectSaneTerminal("131");
}

// A line typed ahead must reach the shell complete.
TEST_F(WatchTerminalTest, ReturnKeyStaysTheEndOfALine) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  ExpectMeter();
  const std::string modes = ModesOfTheTerminal();
  EXPECT_THAT(modes,
              testing::AllOf(HasSubstr("-icanon"), HasSubstr("-echo "), HasSubstr(" icrnl")));
}

TEST_F(WatchTerminalTest, StoppedJobLeavesTheTerminalSaneAndTakesItAgain) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch();
  ExpectMeter();
  Press("C-z");
  ASSERT_TRUE(WaitForText("Stopped"));
  ExpectSaneTerminal("148");
  Type("clear; fg");
  ExpectMeter();
  Press("q");
  ExpectSaneTerminal("0");
}

TEST_F(WatchTerminalTest, EndOfTheTimeLeavesTheTerminalSane) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Watch("--seconds 4");
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

TEST_F(WatchTerminalTest, TerminalWithoutAPlaceableCursorIsOneLine) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(120, 24));
  Type("TERM=dumb " + std::string(LOUDDESK_BINARY) + " watch; echo status $?");
  ASSERT_TRUE(WaitForText("status 1"));
  EXPECT_THAT(Screen(), HasSubstr("\nLoudDesk: the terminal \"dumb\" cannot place its cursor; set "
                                  "TERM, or use --format csv or json\nstatus 1\n"));
}

struct ColourCase {
  const char* name;
  const char* environment;
  bool hasColours;
};

class WatchColourTest : public WatchTerminalTest, public testing::WithParamInterface<ColourCase> {};

TEST_P(WatchColourTest, FollowsTheWishOfTheUser) {
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Type(std::string("TERM=screen-256color ") + GetParam().environment + " " + LOUDDESK_BINARY +
       " watch");
  ASSERT_TRUE(WaitForText("NO SERVICE"));
  // 31 is red, the colour of an alert.
  EXPECT_EQ(GetParam().hasColours, Tmux("capture-pane -ep").find("31m") != std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Wishes, WatchColourTest,
                         testing::Values(ColourCase{"None", "", true},
                                         ColourCase{"NoColour", "NO_COLOR=1", false},
                                         ColourCase{"EmptyIsNone", "NO_COLOR=", true}),
                         [](const auto& wish) { return wish.param.name; });

TEST_F(WatchTerminalTest, WorksWithoutColoursAndBlocks) {
  StartMeasured();
  ASSERT_NO_FATAL_FAILURE(OpenTerminal(80, 24));
  Type("TERM=vt100 LC_ALL=C " + std::string(LOUDDESK_BINARY) + " watch");
  ASSERT_TRUE(WaitForText("RUNNING"));
  EXPECT_TRUE(WaitForText("Momentary  #"));
}

}  // namespace
