#include "WatchedService.h"

namespace {

using louddesk::LoudnessCommand;
using louddesk::LoudnessConfiguration;
using louddesk::Peer;

using Texts = std::vector<std::string>;

constexpr char kTopic[] = "AppIOQVLoudnessCmd-1";
constexpr char kUnit[] = "JsonParser";
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

/// What the service writes about an accepted command.
Texts Accepted(const std::string& json, const std::string& command, int code, unsigned timeStamp,
               unsigned user, int mode) {
  return {Printed(kUnit, std::string("\"") + kTopic + "\\n\\" + json + "\\n\""),
          Printed(kUnit, std::string("\"") + kTopic + "\\n\\ parsed\\n\""),
          "",
          "\tLoudness command ",
          "\t\tLuCmd: " + command + " : " + std::to_string(code),
          "\t\tLuUID: " + std::to_string(user) + " , CmdTS" + std::to_string(timeStamp),
          Printed(kUnit, "\"Mode " + std::to_string(mode) + ", 1\"")};
}

/// A service of which commands are watched, measuring a steady level in one of the modes.
class CommandTest : public WatchedService {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(StartWatched()); }

  void MeasureInMode(const std::string& mode) {
    StartMeasuring();
    ExpectTransitions({"0x103 --> 0x101", "0x101 --> 0x100"});
    Configure(mode);
    ExpectTransitions({"0x103 --> 0x101", "0x101 --> 0x100"});
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

  /// Gives a command that was never given before and waits until it is carried out.
  void CarryOut(const std::string& command) {
    static const std::map<std::string, Texts> changes = {
        {"Stop", {"0x4 --> 0x0"}}, {"Pause", {"0x108 --> 0x100"}}, {"Play", {"0x110 --> 0x100"}}};
    Give(command);
    ExpectTransitions(changes.at(command));
    ExpectAcknowledged(command, mTimeStamp, kUser);
    mLast = command;
  }

  /// Expects the answers: acknowledged commands, or the configuration.
  void ExpectAnswers(const Texts& answers) {
    for (const std::string& answer : answers) {
      if (answer == kConfigurationAnswer)
        ExpectAnswer(ConfigurationTopic(), Envelope(mConfiguration.Json(), kUser));
      else
        ExpectAcknowledged(answer, mTimeStamp, kUser);
    }
  }

  MessageRun RunOf(const std::string& command, const std::vector<int>& figures) const {
    MessageRun run;
    run.command = CodeOf(command);
    run.figures = figures;
    return run;
  }

  /// Expects the data messages that follow what changes the last command `mLast`, whose messages
  /// may still come: with a reset one message without figures, then, unless the service is silent
  /// from then on, messages of the last command `last`.
  void ExpectMessages(bool withReset, const std::string& last, bool isSilent) {
    const std::vector<int> after = withReset ? kNoFigures : mMeasured;
    std::vector<MessageRun> runs = isSilent ? RunsUntilSilence() : RunsUntil(RunOf(last, after));
    std::vector<MessageRun> expected;
    if (withReset)
      expected.push_back(RunOf(mLast, kNoFigures));
    if (!isSilent && (expected.empty() || last != mLast))
      expected.push_back(RunOf(last, after));
    // Whatever came before the command was carried out, however long that took.
    if (!runs.empty() && IsSameKind(runs.front(), RunOf(mLast, mMeasured)) &&
        (expected.empty() || !IsSameKind(runs.front(), expected.front())))
      runs.erase(runs.begin());
    if (!isSilent && !runs.empty())
      runs.back().count = 1;  // as long as the test cares to look
    EXPECT_EQ(expected, runs);
  }

  LoudnessConfiguration mConfiguration;
  unsigned mTimeStamp = 100;
  std::string mLast = "Start";  // the last command that was carried out
  std::vector<int> mMeasured;   // the figures of the steady level
};

// ---- Every command in every state ----

struct Row {
  const char* name;
  const char* mode;
  Texts before;  // carried out one by one
  const char* command;
  Texts changes;
  Texts answers;
  const char* last;  // as later messages tell; null: there are none
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
  ExpectTransitions(row.changes);
  ExpectAnswers(row.answers);

  const bool withReset = !row.answers.empty() && row.answers.front() == "Reset";
  ExpectMessages(withReset, row.last != nullptr ? row.last : "", row.last == nullptr);
  ExpectNoTransition();
  ExpectNoAnswer();
}

const Texts kStopChange = {"0x4 --> 0x0"};
const Texts kPauseChange = {"0x108 --> 0x100"};
const Texts kPlayChange = {"0x110 --> 0x100"};
const Texts kResetChange = {"0x102 --> 0x100"};
const Texts kStartChanges = {"0x103 --> 0x101", "0x101 --> 0x100"};
const Texts kResetPauseChanges = {"0x10A --> 0x108", "0x108 --> 0x100"};
const Texts kResetStopChanges = {"0x6 --> 0x4", "0x4 --> 0x0"};
const Texts kStartAnswers = {"Reset", kConfigurationAnswer, "Start"};

template <typename Case>
std::string NameOf(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

const Row kContinuousRows[] = {
    {"StopWhileRunning", kContinuous, {}, "Stop", {}, {}, "Start"},
    {"StopWhilePaused", kContinuous, {"Pause"}, "Stop", {}, {}, "Pause"},
    {"PauseWhileRunning", kContinuous, {}, "Pause", kPauseChange, {"Pause"}, "Pause"},
    {"PauseTwice", kContinuous, {"Pause"}, "Pause", kPauseChange, {"Pause"}, "Pause"},
    {"PauseAfterPlay", kContinuous, {"Pause", "Play"}, "Pause", kPauseChange, {"Pause"}, "Pause"},
    {"StartWhileRunning", kContinuous, {}, "Start", kStartChanges, kStartAnswers, "Start"},
    {"StartWhilePaused", kContinuous, {"Pause"}, "Start", kStartChanges, kStartAnswers, "Start"},
    {"PlayWhileRunning", kContinuous, {}, "Play", kPlayChange, {"Play"}, "Play"},
    {"PlayWhilePaused", kContinuous, {"Pause"}, "Play", kPlayChange, {"Play"}, "Play"},
    {"ResetWhileRunning", kContinuous, {}, "Reset", kResetChange, {"Reset"}, "Start"},
    {"ResetAfterPlay", kContinuous, {"Play"}, "Reset", kResetChange, {"Reset"}, "Play"},
    {"ResetWhilePaused",
     kContinuous,
     {"Pause"},
     "Reset",
     kResetPauseChanges,
     {"Reset", "Pause"},
     "Pause"},
    {"PrintWhileRunning", kContinuous, {}, "Print", {}, {}, "Start"},
    {"UnknownCommand", kContinuous, {}, "Wait", {}, {}, "Start"},
};

INSTANTIATE_TEST_SUITE_P(Continuous, CommandRowTest, testing::ValuesIn(kContinuousRows),
                         NameOf<Row>);

const Row kManualRows[] = {
    {"StopWhileRunning", kManual, {}, "Stop", kStopChange, {"Stop"}, nullptr},
    {"StopWhilePaused", kManual, {"Pause"}, "Stop", kStopChange, {"Stop"}, nullptr},
    {"StopAfterPlay", kManual, {"Play"}, "Stop", kStopChange, {"Stop"}, nullptr},
    {"StopTwice", kManual, {"Stop"}, "Stop", kStopChange, {"Stop"}, nullptr},
    {"PauseWhileRunning", kManual, {}, "Pause", kPauseChange, {"Pause"}, "Pause"},
    {"PauseAfterStop", kManual, {"Stop"}, "Pause", kStopChange, {"Stop"}, nullptr},
    {"StartWhileRunning", kManual, {}, "Start", kStartChanges, kStartAnswers, "Start"},
    {"StartAfterStop", kManual, {"Stop"}, "Start", kStartChanges, kStartAnswers, "Start"},
    {"RestartCountsAsStart", kManual, {"Stop"}, "Restart", kStartChanges, kStartAnswers, "Start"},
    {"PlayWhilePaused", kManual, {"Pause"}, "Play", kPlayChange, {"Play"}, "Play"},
    {"PlayAfterStop", kManual, {"Stop"}, "Play", kStartChanges, kStartAnswers, "Start"},
    {"ResetWhileRunning", kManual, {}, "Reset", kResetChange, {"Reset"}, "Start"},
    {"ResetAfterPlay", kManual, {"Play"}, "Reset", kResetChange, {"Reset"}, "Play"},
    {"ResetAfterStop", kManual, {"Stop"}, "Reset", kResetStopChanges, {"Reset", "Stop"}, nullptr},
    {"ResetWhilePaused",
     kManual,
     {"Pause"},
     "Reset",
     kResetStopChanges,
     {"Reset", "Stop"},
     nullptr},
    {"PrintAfterStop", kManual, {"Stop"}, "Print", {}, {}, nullptr},
};

INSTANTIATE_TEST_SUITE_P(Manual, CommandRowTest, testing::ValuesIn(kManualRows), NameOf<Row>);

// ---- Commands that wait while reporting is off ----

struct WaitingRow {
  const char* name;
  const char* mode;
  Texts before;           // carried out one by one
  const char* laterMode;  // null: no configuration comes
  Texts commands;         // come while reporting is off
  Texts changes;
  Texts answers;
  const char* last;
};

void PrintTo(const WaitingRow& row, std::ostream* stream) {
  *stream << row.name;
}

class WaitingCommandTest : public CommandTest, public testing::WithParamInterface<WaitingRow> {};

TEST_P(WaitingCommandTest, AreCarriedOutWhenReportingIsOn) {
  const WaitingRow& row = GetParam();
  MeasureInMode(row.mode);
  for (const std::string& command : row.before)
    CarryOut(command);
  EnableReporting(false);
  if (row.laterMode != nullptr)
    Configure(row.laterMode);
  for (const std::string& command : row.commands)
    Give(command);
  Hear();
  RunsUntilSilence();
  ExpectNoTransition();
  ExpectNoAnswer();

  EnableReporting();
  ExpectTransitions(row.changes);
  ExpectAnswers(row.answers);
  const bool withReset = !row.answers.empty() && row.answers.front() == "Reset";
  ExpectMessages(withReset, row.last != nullptr ? row.last : "", row.last == nullptr);
  ExpectNoTransition();
}

const WaitingRow kWaitingRows[] = {
    {"PlayReplacesPause",
     kContinuous,
     {},
     nullptr,
     {"Pause", "Play"},
     kPlayChange,
     {"Play"},
     "Play"},
    {"PauseReplacesPlay",
     kContinuous,
     {},
     nullptr,
     {"Play", "Pause"},
     kPauseChange,
     {"Pause"},
     "Pause"},
    {"ResetComesBeforePause",
     kContinuous,
     {},
     nullptr,
     {"Pause", "Reset"},
     kResetPauseChanges,
     {"Reset", "Pause"},
     "Pause"},
    {"PauseReplacesTheStartButNotItsReset",
     kContinuous,
     {},
     nullptr,
     {"Start", "Pause"},
     kResetPauseChanges,
     {"Reset", "Pause"},
     "Pause"},
    {"PlayReplacesTheStartButNotItsReset",
     kContinuous,
     {},
     nullptr,
     {"Start", "Play"},
     {"0x112 --> 0x110", "0x110 --> 0x100"},
     {"Reset", "Play"},
     "Play"},
    {"StartReplacesEverything",
     kContinuous,
     {},
     nullptr,
     {"Pause", "Reset", "Play", "Start"},
     kStartChanges,
     kStartAnswers,
     "Start"},
    {"StopReplacesTheStartButNotItsReset",
     kManual,
     {},
     nullptr,
     {"Start", "Stop"},
     kResetStopChanges,
     {"Reset", "Stop"},
     nullptr},
    {"StartReplacesStop",
     kManual,
     {},
     nullptr,
     {"Stop", "Start"},
     kStartChanges,
     kStartAnswers,
     "Start"},
    {"ResetComesBeforeStop",
     kManual,
     {},
     nullptr,
     {"Stop", "Reset"},
     kResetStopChanges,
     {"Reset", "Stop"},
     nullptr},
    {"StopThatWaitsEndsTheRunAPauseDoesNotBringBack",
     kManual,
     {},
     nullptr,
     {"Stop", "Pause"},
     {"0x8 --> 0x0"},
     {"Pause"},
     nullptr},
    {"StopThatWaitsEndsTheRunAPlayDoesNotBringBack",
     kManual,
     {},
     nullptr,
     {"Stop", "Play"},
     {"0x10 --> 0x0"},
     {"Play"},
     nullptr},
    {"PauseAfterAStopInContinuousMode",
     kManual,
     {"Stop"},
     kContinuous,
     {"Pause"},
     kResetPauseChanges,
     {"Reset", "Pause"},
     "Pause"},
    {"ResetAfterAStopInContinuousMode",
     kManual,
     {"Stop"},
     kContinuous,
     {"Reset"},
     kStartChanges,
     kStartAnswers,
     "Start"},
    {"PlayAfterAStopInContinuousMode",
     kManual,
     {"Stop"},
     kContinuous,
     {"Play"},
     kStartChanges,
     kStartAnswers,
     "Start"},
    {"StopAfterAStopInContinuousMode",
     kManual,
     {"Stop"},
     kContinuous,
     {"Stop"},
     kStartChanges,
     kStartAnswers,
     "Start"},
};

INSTANTIATE_TEST_SUITE_P(Rows, WaitingCommandTest, testing::ValuesIn(kWaitingRows),
                         NameOf<WaitingRow>);

// ---- What is frozen ----

TEST_F(CommandTest, PausedFiguresStayWhileTheMeasurementGoesOn) {
  MeasureInMode(kContinuous);
  CarryOut("Pause");
  Feed(8, -10);
  EXPECT_EQ(mMeasured, SettledFigures());
  // A second pause freezes what has been measured meanwhile.
  Give("Pause");
  ExpectTransitions(kPauseChange);
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
  ExpectTransitions(kStartChanges);
  EXPECT_EQ(kNoFigures, SettledFigures());
}

// ---- The message itself ----

TEST_F(CommandTest, AcceptedCommandIsPrintedAndAcknowledgedWithItsStampAndUser) {
  StartMeasuring();
  Hear();
  const std::string json =
      R"({"UserID":4294967295,"CmdTS":77,"Command":"Pause","ClusterId":1,"More":[1]})";
  const Speech speech = SayTo(kTopic, json);
  EXPECT_EQ((Speech{Accepted(json, "Pause", 2, 77, 4294967295, 0), {}}), speech);
  ExpectAcknowledged("Pause", 77, 4294967295);
}

TEST_F(CommandTest, CommandWithoutStampAndUserCarriesTheLastOnes) {
  StartMeasuring();
  SayTo(kTopic, R"({"ClusterId":1,"Command":"Pause","CmdTS":5,"UserID":6})");
  ExpectAcknowledged("Pause", 5, 6);
  const std::string json = R"({"ClusterId":1,"Command":"Play"})";
  EXPECT_EQ((Speech{Accepted(json, "Play", 4, 5, 6, 0), {}}), SayTo(kTopic, json));
  ExpectAcknowledged("Play", 5, 6);
}

TEST_F(CommandTest, UserZeroStandsForTheUserOfTheConfiguration) {
  MeasureInMode(kContinuous);
  SayTo(kTopic, R"({"ClusterId":1,"Command":"Pause","UserID":6})");
  ExpectAcknowledged("Pause", 0, 6);
  SayTo(kTopic, R"({"ClusterId":1,"Command":"Play","UserID":0})");
  ExpectAcknowledged("Play", 0, kUser);
}

TEST_F(CommandTest, PrintOnlyPrints) {
  StartMeasuring();
  Hear();
  const std::string json = R"({"ClusterId":1,"Command":"Print","CmdTS":1,"UserID":2})";
  EXPECT_EQ((Speech{Accepted(json, "Print", 6, 1, 2, 0), {}}), SayTo(kTopic, json));
  ExpectNoAnswer();
}

TEST_F(CommandTest, UnknownCommandIsNamedByItsValue) {
  StartMeasuring();
  Hear();
  const std::string json = R"({"ClusterId":1,"Command":"Wait","CmdTS":1,"UserID":2})";
  Texts output = Accepted(json, "Wait", 0, 1, 2, 0);
  output.push_back(Printed(kUnit, "\"Topic AppIOQVLoudnessCmd-1 :: Unknown commad 0\""));
  EXPECT_EQ((Speech{output, {}}), SayTo(kTopic, json));
  ExpectNoAnswer();
}

TEST_F(CommandTest, CommandToClusterZeroOrNoneIsTakenByEveryCluster) {
  StartMeasuring();
  for (const char* cluster :
       {R"("ClusterId":0,)", "", R"("ClusterId":"2",)", R"("ClusterId":-1,)"}) {
    SCOPED_TRACE(cluster);
    SayTo(kTopic, std::string("{") + cluster + R"("Command":"Play"})");
    ExpectAcknowledged("Play");
  }
}

TEST_F(CommandTest, RefusedCommandsArePrintedAndChangeNothing) {
  StartMeasuring();
  ExpectTransitions(kStartChanges);
  Hear();
  struct {
    std::optional<std::string> json;
    int cluster;  // as far as it was read
  } const cases[] = {
      {std::nullopt, 0},
      {"", 0},
      {"Reset", 0},
      {"[]", 0},
      {"null", 0},
      {"{}", 0},
      {R"({"ClusterId":1,"Command":"Reset")", 0},
      {R"({"ClusterId":1})", 1},
      {R"({"ClusterId":1,"Command":5})", 1},
      {R"({"ClusterId":1,"Command":null})", 1},
      {R"({"ClusterId":1,"command":"Reset"})", 1},
      {R"({"ClusterId":2,"Command":"Reset"})", 2},
      {R"({"ClusterId":8,"Command":"Reset"})", 8},
      {R"({"ClusterId":4294967295,"Command":"Reset"})", -1},
      {R"({"Command":["Reset"]})", 0},
  };
  for (const auto& [json, cluster] : cases) {
    SCOPED_TRACE(json.value_or("no payload"));
    const std::string topic = std::string("\"") + kTopic;
    const Speech expected{
        {Printed(kUnit, topic + "\\n\\" + json.value_or("(null)") + "\\n\""),
         Printed(kUnit, topic + "\\n\\ failed parsing 1 : " + std::to_string(cluster) + "\\n\"")},
        {}};
    EXPECT_EQ(expected, SayTo(kTopic, json));
  }
  ExpectNoAnswer();
  ExpectNoTransition();
}

TEST_F(CommandTest, RefusedCommandLeavesItsStampButNotItsUser) {
  StartMeasuring();
  SayTo(kTopic, R"({"ClusterId":1,"Command":7,"CmdTS":55,"UserID":9})");
  SayTo(kTopic, R"({"ClusterId":2,"Command":"Reset","CmdTS":66,"UserID":9})");
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
  ExpectAcknowledged("Reset", 55, 0);
}

TEST_F(CommandTest, ForeignAndLookAlikeTopicsAreIgnoredSilently) {
  StartMeasuring();
  ExpectTransitions(kStartChanges);
  Hear();
  for (const char* topic : {"AppIOQVLoudnessCmd-12", "AppIOQVLoudnessCmd-1 ",
                            "AppIOQVLoudnessCmd-1AppIOQVLoudnessCmd-1",
                            "AppLoudnessCmdAppIOQVLoudnessCmd-1", "HbAppCmd AppIOQVLoudnessCmd-"}) {
    SCOPED_TRACE(topic);
    EXPECT_EQ(Speech{}, SayTo(topic, R"({"ClusterId":1,"Command":"Reset"})"));
  }
  ExpectNoAnswer();
  ExpectNoTransition();
}

TEST_F(CommandTest, CommandsAreTakenFromEveryServer) {
  StartMeasuring();
  for (const Peer peer : {Peer::kProcessMonitor, Peer::kHardwareManager, Peer::kMainAppServer,
                          Peer::kOpticalAppServer}) {
    mUnit.SendText(peer, kTopic, R"({"ClusterId":1,"Command":"Play"})");
    ExpectAcknowledged("Play");
  }
}

}  // namespace
