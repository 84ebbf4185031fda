// Orders of the user, line by line, while the desk tool's subcommand `unit` plays to the shipped
// service.

#include <csignal>

#include "PlayedUnit.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class UnitOrdersTest : public PlayedUnit {
 protected:
  /// Starts a tone that lasts until the test ends it.
  void StartTone() { ASSERT_NO_FATAL_FAILURE(StartBoth({"--tone", "997,-23"})); }

  /// Expects a line on the service's console.
  void ExpectAtService(const std::string& line) {
    EXPECT_TRUE(mService->WaitForLine(line, kPatience)) << line;
  }

  void Quit() {
    Write("quit\n");
    ExpectEnd(0);
    EXPECT_EQ("", mDesk->StandardError());
  }
};

struct CommandCase {
  const char* word;
  const char* command;  // name of the command in the protocol and in the acknowledgement
  int number;           // number of the command in the protocol
};

class UnitCommandWordTest : public UnitOrdersTest,
                            public testing::WithParamInterface<CommandCase> {};

TEST_P(UnitCommandWordTest, ReachesTheServiceAndIsAcknowledged) {
  const CommandCase& order = GetParam();
  const std::string command = order.command;
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ExpectAnswer(order.word, "> " + std::string(order.word));
  ExpectAtService("LuCmd: " + command + " : " + std::to_string(order.number));
  ASSERT_TRUE(mDesk->WaitForLine(command + " acknowledged, user ", kPatience));
  ExpectAcknowledgement(command);
  Quit();
}

INSTANTIATE_TEST_SUITE_P(Words, UnitCommandWordTest,
                         testing::Values(CommandCase{"start", "Start", 3},
                                         CommandCase{"pause", "Pause", 2},
                                         CommandCase{"play", "Play", 4},
                                         CommandCase{"stop", "Stop", 1},
                                         CommandCase{"reset", "Reset", 5}),
                         [](const auto& order) { return order.param.word; });

TEST_F(UnitOrdersTest, PrintIsSeenAtTheServiceAlone) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ExpectAnswer("print", "> print");
  ExpectAtService("LuCmd: Print : 6");
  // The print order does not delay the next order.
  ExpectAnswer("pause", "Pause acknowledged");
  EXPECT_THAT(mDesk->StandardOutput(), Not(HasSubstr("Print acknowledged")));
  Quit();
}

// Orders in the same tick replace each other: of a pause and a play only the play is carried out.
TEST_F(UnitOrdersTest, EachOrderWaitsForTheAcknowledgementOfTheLast) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Write("pause\nplay\nstop\nstart\nreset\nquit\n");
  ExpectEnd(0);
  std::vector<std::string> told;
  for (const OutputLine& line : mDesk->Lines())
    if (line.text.rfind("> ", 0) == 0 || line.text.find(" acknowledged") != std::string::npos)
      told.push_back(line.text.substr(0, line.text.find(',')));
  EXPECT_THAT(told,
              testing::ElementsAre("> pause", "Pause acknowledged", "> play", "Play acknowledged",
                                   "> stop", "Stop acknowledged", "> start", "Reset acknowledged",
                                   "Start acknowledged", "> reset", "Reset acknowledged"));
}

TEST_F(UnitOrdersTest, PauseFreezesWhatIsShown) {
  // The short-term figure comes after three seconds; at least that much time is left afterwards.
  ASSERT_NO_FATAL_FAILURE(StartBoth({Tone("loud.wav", 7, -20, 2), Tone("soft.wav", 60, -40, 2)}));
  ASSERT_TRUE(mDesk->WaitForLine("M -20.0  S -20.0", kPatience));
  ExpectAnswer("pause", "Pause acknowledged");
  ASSERT_TRUE(mDesk->WaitForLine("soft.wav", kPatience));
  const std::size_t before = mDesk->LineCount();
  ASSERT_TRUE(mDesk->WaitForLine("M -20.0  S -20.0", kPatience, before));
  ASSERT_TRUE(mDesk->WaitForLine("M -20.0  S -20.0", kPatience, before + 1));
  EXPECT_THAT(mDesk->StandardOutput(), Not(HasSubstr("M -40.0")));
  Quit();
  EXPECT_THAT(mDesk->StandardOutput(),
              HasSubstr("Paused: these are the figures of the pause\nIntegrated loudness "));
}

// The service is silent for longer than 3 s. If it were expected to publish data, it would then
// count as dead.
TEST_F(UnitOrdersTest, StoppedServiceIsNotTakenForADeadOne) {
  StartProcess();
  ASSERT_NO_FATAL_FAILURE(StartDeskWithPipe({"--tone", "997,-23", "--duration", "6"}));
  ASSERT_TRUE(mDesk->WaitForLine("M -23.0", kPatience));
  ExpectAnswer("stop", "Stop acknowledged");
  ExpectEnd(0);
  EXPECT_EQ("", mDesk->StandardError());
  EXPECT_THAT(mDesk->StandardOutput(),
              HasSubstr("Stopped: these are the last figures that were published\nIntegrated "));
  EXPECT_EQ("-23.0", Final("Momentary", "LKFS"));
  EXPECT_EQ("6.0", Final("Duration", "s"));
}

TEST_F(UnitOrdersTest, EndOfAStoppedServiceIsOneLine) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ExpectAnswer("stop", "Stop acknowledged");
  mService->Signal(SIGKILL);
  ExpectEnd(1);
  EXPECT_EQ("LoudDesk: the service has stopped publishing\n", mDesk->StandardError());
}

TEST_F(UnitOrdersTest, ReportingIsSwitchedOffAndOn) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ExpectAnswer("reporting off", "The loudness data has ended");
  ExpectAtService("enable false");
  ExpectDataEnded();
  ExpectAnswer("reporting on", "Loudness data is published");
  EXPECT_TRUE(mUnit.NextLoudnessData(kPatience));
  Quit();
}

TEST_F(UnitOrdersTest, OrdersWaitWhileReportingIsOff) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ExpectAnswer("reporting off", "The loudness data has ended");
  ExpectAnswer("pause", "> pause (waits until reporting is on)");
  EXPECT_THAT(mDesk->StandardOutput(), Not(HasSubstr("Pause acknowledged")));
  ExpectAnswer("reporting on", "Pause acknowledged");
  Quit();
}

TEST_F(UnitOrdersTest, PlayWithoutReportingEndsWithTheLastFigures) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ASSERT_TRUE(mDesk->WaitForLine("M -23.0", kPatience));
  ExpectAnswer("reporting off", "The loudness data has ended");
  Quit();
  EXPECT_THAT(mDesk->StandardOutput(),
              HasSubstr("Reporting is off: these are the last figures that were published\n"));
  EXPECT_EQ("-23.0", Final("Momentary", "LKFS"));
}

// The next programme is sent at once, and measured as soon as the user asks for it.
TEST_F(UnitOrdersTest, OtherSpeakersDoNotNeedTheReporting) {
  StartProcess();
  ASSERT_NO_FATAL_FAILURE(
      StartDeskWithPipe({Tone("two.wav", 3, -20, 2), Tone("one.wav", 60, -30, 1)}));
  Write("reporting off\n");
  ASSERT_TRUE(mDesk->WaitForLine("The loudness data has ended", kPatience));
  ASSERT_TRUE(mDesk->WaitForLine("one.wav", kPatience));
  ExpectAnswer("reporting on", "Start acknowledged");
  // One channel reads 3.01 below two.
  EXPECT_TRUE(mDesk->WaitForLine("M -33.0", kPatience));
  Quit();
}

TEST_F(UnitOrdersTest, OtherSpeakersStartAStoppedService) {
  StartProcess();
  ASSERT_NO_FATAL_FAILURE(
      StartDeskWithPipe({Tone("two.wav", 3, -20, 2), Tone("one.wav", 60, -30, 1)}));
  Write("stop\n");
  ASSERT_TRUE(mDesk->WaitForLine("Stop acknowledged", kPatience));
  EXPECT_TRUE(mDesk->WaitForLine("M -33.0", kPatience));
  Quit();
}

TEST_F(UnitOrdersTest, ResetStartsTheFiguresAndTheirDurationAnew) {
  ASSERT_NO_FATAL_FAILURE(StartBoth({"--tone", "997,-23", "--duration", "100", "--speed", "20"}));
  ASSERT_TRUE(mDesk->WaitForLine("M -23.0", kPatience));
  ExpectAnswer("reset", "Reset acknowledged");
  ExpectEnd(0);
  EXPECT_LT(std::stod(Final("Duration", "s")), 100);
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
}

TEST_F(UnitOrdersTest, ResetInAPauseStops) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Write("pause\nreset\n");
  ASSERT_TRUE(mDesk->WaitForLine("Reset acknowledged", kPatience));
  EXPECT_TRUE(mDesk->WaitForLine("Stop acknowledged", kPatience));
  Quit();
}

TEST_F(UnitOrdersTest, UnknownWordIsAnsweredByTheKnownOnes) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  const std::string known =
      "start (s), pause (p), play (y), stop (t), reset (r), print (i), reporting on (+), "
      "reporting off (-), help (h) and quit (q)";
  ExpectAnswer("restart", "\"restart\" is not an order; the orders are " + known);
  ExpectAnswer("reporting", "\"reporting\" is not an order; the orders are " + known);
  ExpectAnswer("help", "Orders: " + known);
  Quit();
}

TEST_F(UnitOrdersTest, CaseAndBlanksOfAWordDoNotMatter) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Write("\n \n");
  ExpectAnswer("  PAUSE \r", "Pause acknowledged");
  Quit();
  EXPECT_THAT(mDesk->StandardOutput(), Not(HasSubstr("not an order")));
}

TEST_F(UnitOrdersTest, EndOfTheInputEndsNothing) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  Write("pause");  // the last line may lack its line feed
  CloseInput();
  ASSERT_TRUE(mDesk->WaitForLine("Pause acknowledged", kPatience));
  const std::size_t before = mDesk->LineCount();
  ASSERT_TRUE(mDesk->WaitForLine("LKFS  LRA", kPatience, before));
  ASSERT_TRUE(mDesk->WaitForLine("LKFS  LRA", kPatience, before + 1));
  mDesk->Signal(SIGINT);
  ExpectEnd(0);
}

TEST_F(UnitOrdersTest, FileIsAnInputToo) {
  StartProcess();
  const int file =
      open(mAudio.WriteBytes("orders.txt", "pause\nplay\nquit\n").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(file, 0);
  ProcessOptions start;
  start.input = file;
  StartDesk({"--tone", "997,-23"}, start);
  ExpectEnd(0);
  close(file);
  EXPECT_THAT(mDesk->StandardOutput(),
              AllOf(HasSubstr("Pause acknowledged"), HasSubstr("Play acknowledged")));
}

TEST_F(UnitOrdersTest, QuitEndsWithTheFiguresSoFar) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ASSERT_TRUE(mDesk->WaitForLine("M -23.0", kPatience));
  Quit();
  EXPECT_EQ("-23.0", Final("Momentary", "LKFS"));
}

TEST_F(UnitOrdersTest, ClosedInputIsHarmless) {
  StartProcess();
  ProcessOptions start;
  start.input = ProcessOptions::kClosed;
  StartDesk({Tone("tone.wav", 5, -23, 2), "--speed", kQuick}, start);
  ExpectEnd(0);
  EXPECT_EQ("", mDesk->StandardError());
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
}

TEST_F(UnitOrdersTest, EmptyInputIsHarmless) {
  StartProcess();
  StartDesk({"--tone", "997,-23", "--duration", "5", "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("", mDesk->StandardError());
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
}

TEST_F(UnitOrdersTest, TerminationEndsWithTheFiguresSoFar) {
  ASSERT_NO_FATAL_FAILURE(StartTone());
  ASSERT_TRUE(mDesk->WaitForLine("M -23.0", kPatience));
  mDesk->Signal(SIGTERM);
  ExpectEnd(0);
  EXPECT_EQ("-23.0", Final("Momentary", "LKFS"));
}

}  // namespace
