// Every command in every state: what the action machine tells, what is acknowledged and published.

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

/// What commands lead to.
struct Outcome {
  Texts changes;     // that the action machine tells, one a tick
  Texts answers;     // acknowledged commands, or the configuration
  const char* last;  // the last command as later messages tell it; null: there are none
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

/// A service of which commands are watched, measuring a steady level in one of the modes.
class CommandTest : public WatchedService {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(StartWatched()); }

  void MeasureInMode(const std::string& mode) {
    StartMeasuring();
    ExpectTransitions(kStarted.changes);
    Configure(mode);
    ExpectTransitions(kStarted.changes);
    ExpectAcknowledgement("Start");
    ExpectMeasures(-20);
    mMeasured = SettledFigures();
  }

  void Configure(const std::string& mode) {
    mConfiguration.mode = mode;
    mConfiguration.userId = kUser;
    SendConfiguration(mConfiguration);
  }

  /// Gives a command with a time stamp of its own, without a user.
  void Give(const std::string& command) {
    LoudnessCommand message;
    message.command = command;
    message.timeStamp = ++mTimeStamp;
    mUnit.SendText(Peer::kMainAppServer, kTopic, message.Json());
  }

  /// Gives a command while the measurement runs and waits until it is carried out.
  void CarryOut(const std::string& command) {
    static const std::map<std::string, Texts> changes = {
        {"Stop", kStopped.changes}, {"Pause", kPaused.changes}, {"Play", kPlayed.changes}};
    Give(command);
    ExpectTransitions(changes.at(command));
    ExpectAcknowledged(command, mTimeStamp, kUser);
    mLast = command;
  }

  /// Expects everything that the outcome says, and no more.
  void ExpectOutcome(const Outcome& outcome) {
    ExpectTransitions(outcome.changes);
    ExpectAnswers(outcome.answers);
    ExpectMessages(outcome);
    ExpectNoTransition();
    ExpectNoAnswer();
  }

  LoudnessConfiguration mConfiguration;
  unsigned mTimeStamp = 100;    // of the last command
  std::string mLast = "Start";  // the last command that was carried out
  std::vector<int> mMeasured;   // the figures of the steady level

 private:
  void ExpectAnswers(const Texts& answers) {
    for (const std::string& answer : answers) {
      if (answer == kConfigurationAnswer)
        ExpectAnswer(ConfigurationTopic(), Envelope(mConfiguration.Json(), kUser));
      else
        ExpectAcknowledged(answer, mTimeStamp, kUser);
    }
  }

  // A reset tells no figures in one message of the command before it; what is told from then on has
  // the last command.
  void ExpectMessages(const Outcome& outcome) {
    const bool withReset = !outcome.answers.empty() && outcome.answers.front() == "Reset";
    const std::vector<int> figures = withReset ? kNoFigures : mMeasured;
    std::vector<MessageRun> expected;
    if (withReset)
      expected.push_back(RunOf(mLast, kNoFigures));
    if (outcome.last != nullptr && (!withReset || outcome.last != mLast))
      expected.push_back(RunOf(outcome.last, figures));

    std::vector<MessageRun> runs =
        outcome.last != nullptr ? RunsUntil(RunOf(outcome.last, figures)) : RunsUntilSilence();
    if (outcome.last != nullptr && !runs.empty())
      runs.back().count = 1;  // it lasts for as long as anybody looks
    DropFirst(runs, expected);
    EXPECT_EQ(expected, runs);
  }

  // Drops what was told until the command was carried out, however long that took.
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

template <typename Case>
std::string NameOf(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

// ---- Every command in every state ----

struct Row {
  const char* name;
  const char* mode;
  Texts before;  // commands that are carried out first
  const char* command;
  Outcome outcome;
};

void PrintTo(const Row& row, std::ostream* stream) {
  *stream << row.name;
}

class CommandRowTest : public CommandTest, public testing::WithParamInterface<Row> {};

TEST_P(CommandRowTest, IsCarriedOutAcknowledgedAndTold) {
  const Row& row = GetParam();
  MeasureInMode(row.mode);
  for (const std::string& command : row.before)
    CarryOut(command);
  mUnit.DropLoudnessData();
  Give(row.command);
  Hear();
  ExpectOutcome(row.outcome);
}

const Row kContinuousRows[] = {
    {"StopWhileRunning", kContinuous, {}, "Stop", NothingAfter("Start")},
    {"StopWhilePaused", kContinuous, {"Pause"}, "Stop", NothingAfter("Pause")},
    {"PauseWhileRunning", kContinuous, {}, "Pause", kPaused},
    {"PauseTwice", kContinuous, {"Pause"}, "Pause", kPaused},
    {"PauseAfterPlay", kContinuous, {"Pause", "Play"}, "Pause", kPaused},
    {"StartWhileRunning", kContinuous, {}, "Start", kStarted},
    {"StartWhilePaused", kContinuous, {"Pause"}, "Start", kStarted},
    {"PlayWhileRunning", kContinuous, {}, "Play", kPlayed},
    {"PlayWhilePaused", kContinuous, {"Pause"}, "Play", kPlayed},
    {"PlayTwice", kContinuous, {"Play"}, "Play", kPlayed},
    {"ResetWhileRunning", kContinuous, {}, "Reset", ResetAfter("Start")},
    {"ResetAfterPlay", kContinuous, {"Play"}, "Reset", ResetAfter("Play")},
    {"ResetWhilePaused", kContinuous, {"Pause"}, "Reset", kResetAndPaused},
    {"PrintWhileRunning", kContinuous, {}, "Print", NothingAfter("Start")},
    {"UnknownCommand", kContinuous, {}, "Wait", NothingAfter("Start")},
};

INSTANTIATE_TEST_SUITE_P(Continuous, CommandRowTest, testing::ValuesIn(kContinuousRows),
                         NameOf<Row>);

const Row kManualRows[] = {
    {"StopWhileRunning", kManual, {}, "Stop", kStopped},
    {"StopWhilePaused", kManual, {"Pause"}, "Stop", kStopped},
    {"StopAfterPlay", kManual, {"Play"}, "Stop", kStopped},
    {"StopTwice", kManual, {"Stop"}, "Stop", kStopped},
    {"PauseWhileRunning", kManual, {}, "Pause", kPaused},
    {"PauseAfterStop", kManual, {"Stop"}, "Pause", kStopped},
    {"StartWhileRunning", kManual, {}, "Start", kStarted},
    {"StartAfterStop", kManual, {"Stop"}, "Start", kStarted},
    {"RestartCountsAsStart", kManual, {"Stop"}, "Restart", kStarted},
    {"PlayWhilePaused", kManual, {"Pause"}, "Play", kPlayed},
    {"PlayAfterStop", kManual, {"Stop"}, "Play", kStarted},
    {"ResetWhileRunning", kManual, {}, "Reset", ResetAfter("Start")},
    {"ResetAfterPlay", kManual, {"Play"}, "Reset", ResetAfter("Play")},
    {"ResetAfterStop", kManual, {"Stop"}, "Reset", kResetAndStopped},
    {"ResetWhilePaused", kManual, {"Pause"}, "Reset", kResetAndStopped},
    {"PrintAfterStop", kManual, {"Stop"}, "Print", NothingAfter(nullptr)},
    {"UnknownCommandAfterStop", kManual, {"Stop"}, "Wait", NothingAfter(nullptr)},
};

INSTANTIATE_TEST_SUITE_P(Manual, CommandRowTest, testing::ValuesIn(kManualRows), NameOf<Row>);

// ---- Commands that wait while reporting is off ----

struct WaitingRow {
  const char* name;
  const char* mode;
  Texts waiting;  // commands that come while reporting is off
  Outcome outcome;
};

void PrintTo(const WaitingRow& row, std::ostream* stream) {
  *stream << row.name;
}

class WaitingCommandTest : public CommandTest, public testing::WithParamInterface<WaitingRow> {
 protected:
  /// Switches reporting off while commands come, and on again.
  void GiveWhileReportingIsOff(const Texts& commands, const char* newMode = nullptr) {
    EnableReporting(false);
    if (newMode != nullptr)
      Configure(newMode);
    for (const std::string& command : commands)
      Give(command);
    Hear();
    RunsUntilSilence();
    ExpectNoTransition();
    ExpectNoAnswer();
    EnableReporting();
  }
};

TEST_P(WaitingCommandTest, AreCarriedOutWhenReportingIsOn) {
  MeasureInMode(GetParam().mode);
  GiveWhileReportingIsOff(GetParam().waiting);
  ExpectOutcome(GetParam().outcome);
}

// A stop ends the run, and neither a pause nor a play before it is carried out brings it back.
const WaitingRow kWaitingRows[] = {
    {"NothingWaits", kContinuous, {}, NothingAfter("Start")},
    {"PlayReplacesPause", kContinuous, {"Pause", "Play"}, kPlayed},
    {"PauseReplacesPlay", kContinuous, {"Play", "Pause"}, kPaused},
    {"ResetComesBeforePause", kContinuous, {"Pause", "Reset"}, kResetAndPaused},
    {"PauseReplacesStartButNotItsReset", kContinuous, {"Start", "Pause"}, kResetAndPaused},
    {"PlayReplacesStartButNotItsReset", kContinuous, {"Start", "Play"}, kResetAndPlayed},
    {"StartReplacesEverything", kContinuous, {"Pause", "Reset", "Play", "Start"}, kStarted},
    {"StartReplacesStop", kManual, {"Stop", "Start"}, kStarted},
    {"StopReplacesStartButNotItsReset", kManual, {"Start", "Stop"}, kResetAndStopped},
    {"StopReplacesPause", kManual, {"Pause", "Stop"}, kStopped},
    {"StopReplacesPlay", kManual, {"Play", "Stop"}, kStopped},
    {"ResetComesBeforeStop", kManual, {"Stop", "Reset"}, kResetAndStopped},
    {"PauseReplacesStop", kManual, {"Stop", "Pause"}, {{"0x8 --> 0x0"}, {"Pause"}, nullptr}},
    {"PlayReplacesStop", kManual, {"Stop", "Play"}, {{"0x10 --> 0x0"}, {"Play"}, nullptr}},
};

INSTANTIATE_TEST_SUITE_P(Rows, WaitingCommandTest, testing::ValuesIn(kWaitingRows),
                         NameOf<WaitingRow>);

/// Commands in continuous mode when the last one that was carried out is a stop: they come before
/// the start that every configuration brings about.
class StoppedBeforeContinuousTest : public WaitingCommandTest {};

TEST_P(StoppedBeforeContinuousTest, CommandIsCarriedOutAfterTheReset) {
  MeasureInMode(kManual);
  CarryOut("Stop");
  GiveWhileReportingIsOff(GetParam().waiting, GetParam().mode);
  ExpectOutcome(GetParam().outcome);
}

const WaitingRow kStoppedRows[] = {
    {"Pause", kContinuous, {"Pause"}, kResetAndPaused}, {"Reset", kContinuous, {"Reset"}, kStarted},
    {"Play", kContinuous, {"Play"}, kStarted},          {"Stop", kContinuous, {"Stop"}, kStarted},
    {"Start", kContinuous, {"Start"}, kStarted},
};

INSTANTIATE_TEST_SUITE_P(Rows, StoppedBeforeContinuousTest, testing::ValuesIn(kStoppedRows),
                         NameOf<WaitingRow>);

// ---- Whose stamp and user are told ----

/// Commands with a time stamp of their own and a user of the same number.
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

  /// Gives a command that changes nothing after a start, and expects the start's republication.
  void ExpectStartRepublishedAfter(const std::string& command) {
    Give("Start", 11);
    ExpectTransitions(kStarted.changes);
    Give(command, 12);
    mUnit.DropStates();
    const std::string expected = Acknowledgement("Start", 12, 12);
    auto state = NextRepublication(kPatience);
    if (state && state->json != expected)
      state = NextRepublication(kPatience);  // that one was under way
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
  // A second pause freezes what has been measured meanwhile.
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
