// Reporting on and off, the action machine and the invalid source.

#include <algorithm>

#include "RunningService.h"

namespace {

using louddesk::LoudnessMessage;
using louddesk::Peer;
using louddesk::PublishedCodes;
using louddesk::StateMessage;

constexpr char kCommandTopic[] = "IOQVHwmLoudnessCmd_1";

/// MaxMomentary, Momentary, ShortTerm, Integrated, Lra, Program, MaxTruePeak, TruePeak.
const std::vector<int> kNoFigures = {-990, -990, -990, -990, 0, -990, -9900, -9900};

std::string CommandJson(const std::string& command, unsigned userId) {
  return "{\"Command\":\"" + command +
         "\",\"ClusterId\":1,\"CmdTS\":0,\"UID\":" + std::to_string(userId) + ",\"MeterSet\":1}";
}

class ReportingTest : public RunningService {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(Start()); }

  void SendSurroundPreset() {
    SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
  }

  /// The next state that is not a republication; those come at any time.
  void ExpectState(const std::string& topic, const std::string& json) {
    ExpectThat(NextAnswer(kPatience), topic, json);
  }

  /// Expects that the next messages all carry these figures and this command.
  void ExpectFrozen(const std::vector<int>& figures, LuCmd_e command) {
    mUnit.DropLoudnessData();
    for (int i = 0; i < 5; ++i) {
      const auto message = mUnit.NextLoudnessData(kPatience);
      ASSERT_TRUE(message);
      EXPECT_EQ(figures, PublishedCodes(message->data));
      EXPECT_EQ(command, message->command);
    }
  }

  void ExpectTenMessagesWithoutReadings() {
    for (int i = 1; i <= 10; ++i) {
      const auto message = mUnit.NextLoudnessData(kPatience);
      ASSERT_TRUE(message) << "only " << i - 1 << " messages";
      EXPECT_EQ(kNoFigures, PublishedCodes(message->data));
      EXPECT_EQ(i <= 5 ? 1 : 0, message->validSource) << "message " << i;
      EXPECT_EQ(LU_CMD_NONE, message->command);
      EXPECT_EQ(1, message->cluster);
    }
    ExpectNoData();
  }

  std::vector<int> LastFigures() {
    mUnit.DropLoudnessData();
    const auto message = mUnit.NextLoudnessData(kPatience);
    EXPECT_TRUE(message);
    return message ? PublishedCodes(message->data) : std::vector<int>{};
  }

  /// Restarts the measurement of a level. Returns the time in seconds from the message of the reset
  /// to the next message.
  double SecondsAfterTheReset() {
    Feed(8, -20);
    ExpectData([](const LoudnessMessage& message) { return message.data.MaxMomentary != -990; },
               "a level");
    SendSurroundPreset();
    auto reset = mUnit.NextLoudnessData(kPatience);
    while (reset && reset->data.MaxMomentary != -990)
      reset = mUnit.NextLoudnessData(kPatience);
    const auto next = mUnit.NextLoudnessData(kPatience);
    EXPECT_TRUE(reset && next) << "no data";
    return reset && next ? std::chrono::duration<double>(next->time - reset->time).count() : 0;
  }

 private:
  static void ExpectThat(const std::optional<StateMessage>& state, const std::string& topic,
                         const std::string& json) {
    ASSERT_TRUE(state) << "instead of " << topic;
    EXPECT_EQ(topic, state->topic);
    EXPECT_EQ(json, state->json);
  }
};

TEST_F(ReportingTest, NothingIsPublishedAndNoActionTakenUntilItIsEnabled) {
  SendSurroundPreset();
  ASSERT_TRUE(mService->WaitForLine("\"#5 cl 1/0 ", kPatience)) << "the preset was not taken";
  ExpectNoData();
  EXPECT_FALSE(NextAnswer(std::chrono::milliseconds{0}));
  EnableReporting();
  ExpectAcknowledgement("Reset");
  ExpectAcknowledgement("Start");
  ExpectCadence();
}

TEST_F(ReportingTest, NothingIsPublishedBeforeAPreset) {
  EnableReporting();
  ExpectNoData();
}

TEST_F(ReportingTest, CanBeSwitchedOffAndOn) {
  StartMeasuring();
  ExpectMeasures(-20);
  const std::vector<int> before = LastFigures();
  EnableReporting(false);
  ExpectDataEnded();
  EnableReporting(true);
  EXPECT_EQ(before, LastFigures()) << "the measurement was restarted";
  ExpectCadence();
  ExpectMeasures(-30);
}

TEST_F(ReportingTest, PresetResetsThenStartsThenPublishes) {
  EnableReporting();
  SendSurroundPreset();

  const auto reset = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(reset);
  EXPECT_EQ(kNoFigures, PublishedCodes(reset->data));
  EXPECT_EQ(1, reset->validSource);
  EXPECT_EQ(LU_CMD_NONE, reset->command);
  const auto live = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(live);
  EXPECT_EQ(LU_CMD_START, live->command);
  ExpectState(kCommandTopic, CommandJson("Reset", 0));
  ExpectState(kCommandTopic, CommandJson("Start", 0));
  EXPECT_TRUE(mService->WaitForLine("LuCalc States chnages 0x103 --> 0x101 . ", kPatience));
  EXPECT_TRUE(mService->WaitForLine("LuCalc States chnages 0x101 --> 0x100 . ", kPatience));
}

// The tick of the start, right after the tick of the reset, has no data. A busy machine may delay
// any of these messages, but not most of them.
TEST_F(ReportingTest, StartTakesATickWithoutData) {
  constexpr std::size_t kRestarts = 7;
  StartMeasuring();
  std::vector<double> gaps;
  while (gaps.size() < kRestarts && !HasFailure())
    gaps.push_back(SecondsAfterTheReset());
  std::sort(gaps.begin(), gaps.end());
  EXPECT_NEAR(0.2, gaps[gaps.size() / 2], 0.05) << testing::PrintToString(gaps);
}

TEST_F(ReportingTest, ResetRestartsAndKeepsTheLastCommand) {
  StartMeasuring();
  ExpectMeasures(-20);
  mUnit.DropStates();
  SendCommand("Reset");
  ExpectState(kCommandTopic, CommandJson("Reset", 0));
  ExpectData([](const LoudnessMessage& message) { return message.data.MaxMomentary == -990; },
             "no reading after the reset");
  ExpectData([](const LoudnessMessage& message) { return message.command == LU_CMD_START; },
             "the command before the reset");
  ExpectMeasures(-30);
}

TEST_F(ReportingTest, ResetDuringAPauseFreezesTheResetFigures) {
  StartMeasuring();
  ExpectMeasures(-20);
  SendCommand("Pause");
  ExpectAcknowledgement("Pause");
  mUnit.DropStates();
  SendCommand("Reset");
  ExpectState(kCommandTopic, CommandJson("Reset", 0));
  ExpectState(kCommandTopic, CommandJson("Pause", 0));
  Feed(8, -10);
  ExpectFrozen(kNoFigures, LU_CMD_PAUSE);
}

TEST_F(ReportingTest, InvalidSourceSendsTenMessagesFiveOfThemMarkedValid) {
  EnableReporting();
  // All meters belong to cluster 2.
  SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 2).Json());
  ExpectTenMessagesWithoutReadings();
}

TEST_F(ReportingTest, RefusedPresetIsAnInvalidSourceToo) {
  EnableReporting();
  SendPreset("no preset");
  ExpectTenMessagesWithoutReadings();
  SendSurroundPreset();
  ExpectAcknowledgement("Start");
  ExpectMeasures(-20);
}

TEST_F(ReportingTest, RepublishedPresetKeepsTheProgrammeInForce) {
  StartMeasuring();
  louddesk::Preset other = louddesk::PresetForSpeakers({"Left"}, 2);
  other.isRepublished = true;
  SendPreset(other.Json());
  EXPECT_TRUE(mService->WaitForLine("\"Preset republished!\\n\"", kPatience));
  ExpectAcknowledgement("Start");
  ExpectMeasures(-20);
}

class ApplicationCommandTest : public ReportingTest, public testing::WithParamInterface<int> {};

TEST_P(ApplicationCommandTest, EndsTheServiceOrderly) {
  StartMeasuring();
  mUnit.SendText(Peer::kProcessMonitor, "HbAppCmd",
                 "{\"Command\":" + std::to_string(GetParam()) + "}");
  const auto report = mService->WaitForExit(kPatience);
  ASSERT_TRUE(report) << "still running";
  EXPECT_EQ(0, report->signal);
  EXPECT_EQ(0, report->status);
  const std::string number = std::to_string(GetParam());
  EXPECT_THAT(mService->StandardError(),
              testing::HasSubstr("\"Got app command " + number + ". Exiting ...\""));
  EXPECT_THAT(mService->StandardError(),
              testing::HasSubstr("\"Got rv = -1. Exiting from reactor loop ...\""));
  EXPECT_THAT(mService->StandardOutput(), testing::HasSubstr("\"LoudCalc exiting...\""));
}

INSTANTIATE_TEST_SUITE_P(RebootAndUpgrade, ApplicationCommandTest, testing::Values(9, 100));

}  // namespace
