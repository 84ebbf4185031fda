// Every command in every state: the lines of the action machine, the acknowledgements and the
// published messages.

#include "WatchedService.h"

namespace {

using louddesk::LoudnessCommand;
using louddesk::LoudnessConfiguration;
using louddesk::Peer;

using Texts = std::vector<std::string>;

constexpr char kTopic[] = "AppIOQVLoudnessCmd-1";
constexpr char kConfigurationAnswer[] = "Configuration";
constexpr unsigned kUser = 21;

constexpr char kContinuous[] = "Continuous";
constexpr char kManual[] = "Manual";

LuCmd_e CodeOf(const std::string& command) {
  static const std::map<std::string, LuCmd_e> codes = {
      {"Stop", LU_CMD_STOP}, {"Pause", LU_CMD_PAUSE}, {"Start", LU_CMD_START},
      {"Play", LU_CMD_PLAY}, {"Reset", LU_CMD_RESET},
  };
  return codes.at(command);
}

/// The effect of commands.
struct Outcome {
  Texts changes;     // changes of state that the action machine prints, one per tick
  Texts answers;     // acknowledged commands, or the configuration
  const char* last;  // last command in the data messages that follow; null: no message follows
};

const Outcome kStopped = {{"0x4 --> 0x0"}, {"Stop"}, nullptr};
const Outcome kPaused = {{"0x108 --> 0x100"}, {"Pause"}, "Pause"};
const Outcome kPlayed = {{"0x110 --> 0x100"}, {"Play"}, "Play"};
const Outcome kStarted = {
    {"0x103 --> 0x101", "0x101 --> 0x100"}, {"Reset", kConfigurationAnswer, "Start"}, "Start"};
const Outcome kResetAndPaused = {
    {"0x10A --> 0x108", "0x108 --> 0x100"}, {"Reset", "Pause"}, "Pause"};
const Outcome kResetAndPlayed = {{"0x112 --> 0x110", "0x110 --> 0x100"}, {"Reset", "Play"}, "Play"};
const Outcome kResetAndStopped = {{"0x6 --> 0x4", "0x4 --> 0x0"}, {"Reset", "Stop"}, nullptr};

Outcome ResetAfter(const char* last) {
  return {{"0x102 --> 0x100"}, {"Reset"}, last};
}

Outcome NothingAfter(const char* last) {
  return {{}, {}, last};
}

/// A service that measures a steady level in one of the modes, for tests of commands.
class CommandTest : public WatchedService {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartWatched());
    StartMeasuring();
    ExpectTransitions(kStarted.changes);
  }

  /// Starts again in mode `mode` and measures the level.
  void MeasureInMode(const std::string& mode) {
    Configure(mode);
    ExpectTransitions(kStarted.changes);
    ExpectAcknowledgement("Start");
    mLast = "Start";
    ExpectMeasures(-20);
    mMeasured = SettledFigures();
  }

  /// Brings the service into the initial state of a row: sets the mode and carries out the commands
  /// while the level is measured. Skips steps if the previous row left the service in that state.
  void Prepare(const std::string& mode, const Texts& commands) {
    const std::string last = commands.empty() ? "Start" : commands.back();
    if (mIsKnown && mode == mConfiguration.mode && last == mLast && (!mIsReset || last != "Pause"))
      return MeasureOn();
    ForgetTransitions();
    MeasureInMode(mode);
    for (const std::string& command : commands)
      CarryOut(command);
  }

  /// Passes each row to `check`, all with the same service. A failure names its row; the next row
  /// begins with a start.
  template <typename Rows, typename Check>
  void ForEachRow(const Rows& rows, Check check) {
    for (const auto& row : rows) {
      SCOPED_TRACE(std::string("row ") + row.name);
      const int failures = Failures();
      mUnit.DropStates();
      check(row);
      TakeOver(row.outcome);
      mIsKnown &= Failures() == failures;
    }
  }

  void Configure(const std::string& mode) {
    mConfiguration.mode = mode;
    mConfiguration.userId = kUser;
    SendConfiguration(mConfiguration);
  }

  /// Sends a command with its own time stamp, without a user.
  void Give(const std::string& command) {
    LoudnessCommand message;
    message.command = command;
    message.timeStamp = ++mTimeStamp;
    mUnit.SendText(Peer::kMainAppServer, kTopic, message.Json());
  }

  /// Sends a command while the measurement runs and waits until it is carried out.
  void CarryOut(const std::string& command) {
    static const std::map<std::string, Texts> changes = {
        {"Stop", kStopped.changes}, {"Pause", kPaused.changes}, {"Play", kPlayed.changes}};
    Give(command);
    ExpectTransitions(changes.at(command));
    ExpectAcknowledged(command, mTimeStamp, kUser);
    mLast = command;
  }

  /// Expects exactly this outcome.
  void ExpectOutcome(const Outcome& outcome) {
    ExpectTransitions(outcome.changes);
    ExpectAnswers(outcome.answers);
    ExpectMessages(outcome);  // takes several periods
    ExpectNoTransition();
    ExpectNoAnswerSoFar();
  }

  LoudnessConfiguration mConfiguration;
  unsigned mTimeStamp = 100;    // time stamp of the last command
  std::string mLast = "Start";  // the last command that was carried out
  std::vector<int> mMeasured;   // the figures of the steady level

 private:
  static int Failures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
  }

  static bool HasReset(const Outcome& outcome) {
    return !outcome.answers.empty() && outcome.answers.front() == "Reset";
  }

  // Records the state of the service after a row that passed.
  void TakeOver(const Outcome& outcome) {
    mIsReset = HasReset(outcome);
    if (!outcome.answers.empty() && outcome.answers.back() != "Reset")
      mLast = outcome.answers.back();
    mIsKnown = (outcome.last == nullptr) == (mLast == "Stop");
  }

  // Measures the level again after a reset of the running measurement.
  void MeasureOn() {
    if (mIsReset && mLast != "Stop") {
      Feed(8, -20);
      ExpectData(
          [this](const auto& message) {
            return louddesk::PublishedCodes(message.data) == mMeasured;
          },
          "the figures of the level");
    }
    mUnit.DropLoudnessData();
  }

  bool mIsKnown = false;  // mode, last command and level are known from the previous row
  bool mIsReset = false;  // the figures have been reset

  void ExpectAnswers(const Texts& answers) {
    for (const std::string& answer : answers) {
      if (answer == kConfigurationAnswer)
        ExpectAnswer(ConfigurationTopic(), Envelope(mConfiguration.Json(), kUser));
      else
        ExpectAcknowledged(answer, mTimeStamp, kUser);
    }
  }

  // A reset publishes one message without figures that still has the earlier command. Later
  // messages have the last command.
  void ExpectMessages(const Outcome& outcome) {
    const bool withReset = HasReset(outcome);
    const std::vector<int> figures = withReset ? kNoFigures : mMeasured;
    std::vector<MessageRun> expected;
    if (withReset)
      expected.push_back(RunOf(mLast, kNoFigures));
    if (outcome.last != nullptr && (!withReset || outcome.last != mLast))
      expected.push_back(RunOf(outcome.last, figures));

    std::vector<MessageRun> runs =
        outcome.last != nullptr ? RunsUntil(RunOf(outcome.last, figures)) : RunsUntilSilence();
    if (outcome.last != nullptr && !runs.empty())
      runs.back().count = 1;  // these messages continue as long as the test reads
    DropFirst(runs, expected);
    EXPECT_EQ(expected, runs);
  }

  // Drops the messages from before the command was carried out, however many they are.
  void DropFirst(std::vector<MessageRun>& runs, const std::vector<MessageRun>& expected) const {
    const MessageRun before = RunOf(mLast, mMeasured);
    const bool isExpected = !expected.empty() && IsSameKind(before, expected.front());
    if (!isExpected && !runs.empty() && IsSameKind(before, runs.front()))
      runs.erase(runs.begin());
  }

  static MessageRun RunOf(const std::string& command, const std::vector<int>& figures) {
    MessageRun run;
    run.command = CodeOf(command);
    run.figures = figures;
    return run;
  }
};

// ---- Every command in every state ----

struct Row {
  const char* name;
  Texts before;  // commands that are carried out first
  const char* command;
  Outcome outcome;
};

class CommandRowTest : public CommandTest {
 protected:
  template <typename Rows>
  void ExpectOutcomes(const std::string& mode, const Rows& rows) {
    ForEachRow(rows, [&](const Row& row) {
      Prepare(mode, row.before);
      mUnit.DropLoudnessData();
      Give(row.command);
      Hear();
      ExpectOutcome(row.outcome);
    });
  }
};

// Ordered so that most rows begin in the state that the previous row left.
const Row kContinuousRows[] = {
    {"StopWhileRunning", {}, "Stop", NothingAfter("Start")},
    {"PrintWhileRunning", {}, "Print", NothingAfter("Start")},
    {"UnknownCommand", {}, "Wait", NothingAfter("Start")},
    {"PauseWhileRunning", {}, "Pause", kPaused},
    {"StopWhilePaused", {"Pause"}, "Stop", NothingAfter("Pause")},
    {"PauseTwice", {"Pause"}, "Pause", kPaused},
    {"PlayWhilePaused", {"Pause"}, "Play", kPlayed},
    {"PlayTwice", {"Play"}, "Play", kPlayed},
    {"PauseAfterPlay", {"Pause", "Play"}, "Pause", kPaused},
    {"StartWhilePaused", {"Pause"}, "Start", kStarted},
    {"PlayWhileRunning", {}, "Play", kPlayed},
    {"ResetAfterPlay", {"Play"}, "Reset", ResetAfter("Play")},
    {"StartWhileRunning", {}, "Start", kStarted},
    {"ResetWhileRunning", {}, "Reset", ResetAfter("Start")},
    {"ResetWhilePaused", {"Pause"}, "Reset", kResetAndPaused},
};

TEST_F(CommandRowTest, IsCarriedOutAcknowledgedAndToldInContinuousMode) {
  ExpectOutcomes(kContinuous, kContinuousRows);
}

const Row kManualRows[] = {
    {"PauseWhileRunning", {}, "Pause", kPaused},
    {"PlayWhilePaused", {"Pause"}, "Play", kPlayed},
    {"StopAfterPlay", {"Play"}, "Stop", kStopped},
    {"StopTwice", {"Stop"}, "Stop", kStopped},
    {"PauseAfterStop", {"Stop"}, "Pause", kStopped},
    {"PrintAfterStop", {"Stop"}, "Print", NothingAfter(nullptr)},
    {"UnknownCommandAfterStop", {"Stop"}, "Wait", NothingAfter(nullptr)},
    {"ResetAfterStop", {"Stop"}, "Reset", kResetAndStopped},
    {"PlayAfterStop", {"Stop"}, "Play", kStarted},
    {"ResetWhileRunning", {}, "Reset", ResetAfter("Start")},
    {"StopWhileRunning", {}, "Stop", kStopped},
    {"StartAfterStop", {"Stop"}, "Start", kStarted},
    {"StartWhileRunning", {}, "Start", kStarted},
    {"ResetAfterPlay", {"Play"}, "Reset", ResetAfter("Play")},
    {"StopWhilePaused", {"Pause"}, "Stop", kStopped},
    {"RestartCountsAsStart", {"Stop"}, "Restart", kStarted},
    {"ResetWhilePaused", {"Pause"}, "Reset", kResetAndStopped},
};

TEST_F(CommandRowTest, IsCarriedOutAcknowledgedAndToldInManualMode) {
  ExpectOutcomes(kManual, kManualRows);
}

// ---- Commands that wait while reporting is off ----

struct WaitingRow {
  const char* name;
  const char* mode;
  Texts waiting;  // commands sent while reporting is off
  Outcome outcome;
};

class WaitingCommandTest : public CommandTest {
 protected:
  /// Switches reporting off while commands arrive, and on again.
  void GiveWhileReportingIsOff(const Texts& commands, const char* newMode = nullptr) {
    EnableReporting(false);
    if (newMode != nullptr)
      Configure(newMode);
    for (const std::string& command : commands)
      Give(command);
    Hear();
    RunsUntilSilence();
    ExpectNoTransition();
    ExpectNoAnswerSoFar();
    EnableReporting();
  }
};

// A stop ends the run. A pause or a play that follows before the stop is carried out does not
// resume it.
const WaitingRow kWaitingRows[] = {
    {"NothingWaits", kContinuous, {}, NothingAfter("Start")},
    {"StartReplacesEverything", kContinuous, {"Pause", "Reset", "Play", "Start"}, kStarted},
    {"PlayReplacesPause", kContinuous, {"Pause", "Play"}, kPlayed},
    {"PauseReplacesPlay", kContinuous, {"Play", "Pause"}, kPaused},
    {"ResetComesBeforePause", kContinuous, {"Pause", "Reset"}, kResetAndPaused},
    {"PauseReplacesStartButNotItsReset", kContinuous, {"Start", "Pause"}, kResetAndPaused},
    {"PlayReplacesStartButNotItsReset", kContinuous, {"Start", "Play"}, kResetAndPlayed},
    {"StartReplacesStop", kManual, {"Stop", "Start"}, kStarted},
    {"StopReplacesStartButNotItsReset", kManual, {"Start", "Stop"}, kResetAndStopped},
    {"StopReplacesPause", kManual, {"Pause", "Stop"}, kStopped},
    {"StopReplacesPlay", kManual, {"Play", "Stop"}, kStopped},
    {"ResetComesBeforeStop", kManual, {"Stop", "Reset"}, kResetAndStopped},
    {"PauseReplacesStop", kManual, {"Stop", "Pause"}, {{"0x8 --> 0x0"}, {"Pause"}, nullptr}},
    {"PlayReplacesStop", kManual, {"Stop", "Play"}, {{"0x10 --> 0x0"}, {"Play"}, nullptr}},
};

TEST_F(WaitingCommandTest, AreCarriedOutWhenReportingIsOn) {
  ForEachRow(kWaitingRows, [this](const WaitingRow& row) {
    Prepare(row.mode, {});
    GiveWhileReportingIsOff(row.waiting);
    ExpectOutcome(row.outcome);
  });
}

const WaitingRow kStoppedRows[] = {
    {"Pause", kContinuous, {"Pause"}, kResetAndPaused}, {"Reset", kContinuous, {"Reset"}, kStarted},
    {"Play", kContinuous, {"Play"}, kStarted},          {"Stop", kContinuous, {"Stop"}, kStarted},
    {"Start", kContinuous, {"Start"}, kStarted},
};

// Continuous mode, with a stop as the last command that was carried out. That is possible only
// before the start that every configuration causes.
TEST_F(WaitingCommandTest, AreCarriedOutAfterTheResetWhereTheLastOneWasAStop) {
  ForEachRow(kStoppedRows, [this](const WaitingRow& row) {
    Prepare(kManual, {"Stop"});
    GiveWhileReportingIsOff(row.waiting, row.mode);
    ExpectOutcome(row.outcome);
  });
}

// ---- Whose time stamp and user are published ----

/// Commands with different time stamps. The user has the same number as the time stamp.
class CommandUserTest : public WatchedService {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartWatched());
    StartMeasuring();
    ExpectTransitions(kStarted.changes);
  }

  void Give(const std::string& command, unsigned stampAndUser) {
    LoudnessCommand message;
    message.command = command;
    message.timeStamp = stampAndUser;
    message.userId = stampAndUser;
    SayTo(kTopic, message.Json());
  }

  /// Sends a command that changes nothing after a start, and expects the start's republication.
  void ExpectStartRepublishedAfter(const std::string& command) {
    Give("Start", 11);
    ExpectTransitions(kStarted.changes);
    Give(command, 12);
    mUnit.DropStates();
    const std::string expected = Acknowledgement("Start", 12, 12);
    auto state = NextRepublication(kPatience);
    if (state && state->json != expected)
      state = NextRepublication(kPatience);  // the first one was already on its way
    ASSERT_TRUE(state);
    EXPECT_EQ(expected, state->json);
  }
};

TEST_F(CommandUserTest, WaitingCommandsAreAcknowledgedWithStampAndUserOfTheLast) {
  EnableReporting(false);
  Give("Reset", 11);
  Give("Pause", 12);
  EnableReporting();
  ExpectAcknowledged("Reset", 12, 12);
  ExpectAcknowledged("Pause", 12, 12);
}

TEST_F(CommandUserTest, PrintGivesTheRepublishedStartItsStampAndUser) {
  ExpectStartRepublishedAfter("Print");
}

TEST_F(CommandUserTest, UnknownCommandGivesTheRepublishedStartItsStampAndUser) {
  ExpectStartRepublishedAfter("Wait");
}

// ---- What is frozen ----

TEST_F(CommandTest, FiguresOfTheLastBlockGoOnAsValidWhenBlocksStop) {
  MeasureInMode(kContinuous);
  constexpr int kMessages = 20;
  for (int i = 0; i < kMessages; ++i) {
    const auto message = mUnit.NextLoudnessData(kPatience);
    ASSERT_TRUE(message);
    EXPECT_EQ(mMeasured, louddesk::PublishedCodes(message->data));
    EXPECT_EQ(1, message->validSource);
  }
}

TEST_F(CommandTest, PausedFiguresStayWhileTheMeasurementGoesOn) {
  MeasureInMode(kContinuous);
  CarryOut("Pause");
  Feed(8, -10);
  EXPECT_EQ(mMeasured, SettledFigures());
  // A second pause freezes the figures of the time since the first one.
  Give("Pause");
  ExpectTransitions(kPaused.changes);
  // -10 LKFS a channel, weights 3 x 1 + 2 x 1.41: 10 log10 5.82 = 7.65 above it.
  EXPECT_NEAR(-24, SettledFigures()[1], 1);
}

TEST_F(CommandTest, PlayShowsWhatWasMeasuredDuringThePause) {
  MeasureInMode(kManual);
  CarryOut("Pause");
  Feed(8, -10);
  CarryOut("Play");
  EXPECT_NEAR(-24, SettledFigures()[1], 1);
}

TEST_F(CommandTest, StartAfterAStopForgetsWhatWasMeasured) {
  MeasureInMode(kManual);
  CarryOut("Stop");
  Feed(8, -10);
  Give("Start");
  ExpectTransitions(kStarted.changes);
  EXPECT_EQ(kNoFigures, SettledFigures());
}

}  // namespace
