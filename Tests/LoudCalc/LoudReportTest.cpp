// The action machine of the 100 ms tick and the republication.

#include "LoudReport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "DispatcherHook.h"
#include "JsonParser.h"
#include "LcReactor.h"
#include "LoudCalcBase.h"
#include "PublishedMessages.h"
#include "ReportingState.h"
#include "SecondComputation.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Message = PublishedMessages::Message;

constexpr std::uint32_t kMeterSet = 1;
constexpr std::uint32_t kCluster = 3;
constexpr int kWarmUpBlocks = 3;

const LoudnessData_t kLive{1, 2, 3, 4, 5, 6, 7, 8};

class LoudReportTest : public testing::Test {
 protected:
  LoudReportTest() : published_(kMeterSet, kCluster) {
    cLcReactor::GetInstance();
    cLcReactor::SetMeterSetNo(kMeterSet);
    cLcReactor::SetClusterNo(kCluster);
    cLcReactor::SetCmdUserId(42);
    cJsonParser::GetInstance()->mlCmdTS = 7;
    LoudCalcInit();
    glEnableProbeData = 1;
    LuData = kLive;
  }

  ~LoudReportTest() override { LoudCalcCleanup(); }

  // Runs one tick and returns its output.
  static std::string Tick() {
    testing::internal::CaptureStdout();
    SendLoudnessData();
    return testing::internal::GetCapturedStdout();
  }

  static std::string Acknowledgement(const char* command) {
    return std::string("{\"Command\":\"") + command +
           "\",\"ClusterId\":3,\"CmdTS\":7,\"UID\":42,\"MeterSet\":1}";
  }

  static void ExpectData(const Message& message, const LoudnessData_t& data, bool valid,
                         LuCmd_e command) {
    ASSERT_THAT(message, SizeIs(12));
    EXPECT_EQ("LoudnessData", message[0]);
    const int expected[] = {data.MaxMomentary,
                            data.Momentary,
                            data.ShortTerm,
                            data.Integrated,
                            data.Lra,
                            data.Program,
                            data.MaxTruePeak,
                            data.TruePeak,
                            valid ? 1 : 0,
                            command,
                            static_cast<int>(kCluster)};
    for (std::size_t i = 0; i < 11; ++i)
      EXPECT_EQ(expected[i], PublishedMessages::Field(message, i + 2)) << "frame " << i + 2;
  }

  PublishedMessages published_;
};

TEST(LoudReportStartTest, ServiceStartsWithReportingOffAndNothingPending) {
  EXPECT_EQ(0u, glEnableProbeData);
  EXPECT_FALSE(gbIsInvalidSrc);
  EXPECT_EQ(0u, glInvalidSrcCount);
  EXPECT_EQ(0u, gluCalcActions);
  EXPECT_STREQ("", gsLuConf);
  EXPECT_EQ(LU_CMD_NONE, cJsonParser::mLastCmdExecuted);
}

TEST_F(LoudReportTest, WithReportingOffNothingIsSentAndPendingActionsWait) {
  glEnableProbeData = 0;
  gluCalcActions = 0x103;
  EXPECT_EQ("", Tick());
  EXPECT_EQ(0x103u, gluCalcActions);
  EXPECT_THAT(published_.Data(), IsEmpty());
  EXPECT_THAT(published_.State(), IsEmpty());
}

TEST_F(LoudReportTest, WithReportingOffTheMessagesOfAnInvalidSourceWait) {
  glEnableProbeData = 0;
  gbIsInvalidSrc = true;
  Tick();
  EXPECT_THAT(published_.Data(), IsEmpty());
  EXPECT_EQ(0u, glInvalidSrcCount);
  glEnableProbeData = 1;
  Tick();
  EXPECT_THAT(published_.Data(), SizeIs(1));
  EXPECT_EQ(1u, glInvalidSrcCount);
}

TEST_F(LoudReportTest, EveryOtherValueThanZeroSwitchesReportingOn) {
  gluCalcActions = 0x100;
  for (const std::uint32_t value : {1U, 2U, 0x80000000U}) {
    glEnableProbeData = value;
    Tick();
    EXPECT_THAT(published_.Data(), SizeIs(1)) << value;
  }
}

// 9004 readings of 0 LKFS have a sum of 9004 x 1857398385681617 x 10^0.07074 = 9004 x 2.186e15.
// That is 1.236e18 above 2^64 = 1.845e19, or 1.37e14 per reading: 10 log10(1.37e14) - 153.388 =
// -12.0 LKFS.
TEST_F(LoudReportTest, SumThatHasWrappedIsStillOfAValidSource) {
  constexpr int kReadings = 9004;  // the last of which refreshes the programme loudness
  gluCalcActions = kActionRunning;
  for (int block = 0; block < kWarmUpBlocks + kReadings; ++block)
    LoudCalcUpdate(PowerOf(0.01), 1);
  Tick();
  const auto messages = published_.Data();
  ASSERT_THAT(messages, SizeIs(1));
  EXPECT_EQ(0, PublishedMessages::Field(messages[0], 3)) << "Momentary";
  EXPECT_EQ(-120, PublishedMessages::Field(messages[0], 7)) << "Program";
  EXPECT_EQ(1, PublishedMessages::Field(messages[0], 10)) << "ValidSrc";
}

TEST_F(LoudReportTest, DataFlowsOnlyWhileRunningIsTheOnlyBit) {
  gluCalcActions = 0x300;
  EXPECT_EQ("", Tick());
  EXPECT_THAT(published_.Data(), IsEmpty());
  EXPECT_EQ(0x300u, gluCalcActions);
}

TEST_F(LoudReportTest, WithNoActionAndNotRunningNothingIsSent) {
  gluCalcActions = 0;
  EXPECT_EQ("", Tick());
  EXPECT_THAT(published_.Data(), IsEmpty());
  EXPECT_THAT(published_.State(), IsEmpty());
}

TEST_F(LoudReportTest, InvalidSourceSendsTenMessagesHalfOfThemMarkedValid) {
  gbIsInvalidSrc = true;
  gluCalcActions = 0x103;
  cJsonParser::mLastCmdExecuted = LU_CMD_START;
  for (int tick = 0; tick < 13; ++tick)
    Tick();
  const std::vector<Message> data = published_.Data();
  ASSERT_THAT(data, SizeIs(10));
  const LoudnessData_t noReading{-990, -990, -990, -990, 0, -990, -9900, -9900};
  for (std::size_t i = 0; i < 10; ++i)
    ExpectData(data[i], noReading, i < 5, LU_CMD_NONE);
  EXPECT_EQ(LU_CMD_NONE, cJsonParser::mLastCmdExecuted);
  EXPECT_EQ(0x103u, gluCalcActions) << "actions wait until the source is valid";
  EXPECT_THAT(published_.State(), IsEmpty());
}

TEST_F(LoudReportTest, StartTakesTwoTicksBeforeDataFlows) {
  gluCalcActions = 0x103;

  EXPECT_EQ("LuCalc States chnages 0x103 --> 0x101 . \n", Tick());
  std::vector<Message> data = published_.Data();
  ASSERT_THAT(data, SizeIs(1));
  const LoudnessData_t reset{-990, -990, -990, -990, 0, -990, -9900, -9900};
  ExpectData(data[0], reset, true, LU_CMD_NONE);
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_1", Acknowledgement("Reset"))));

  EXPECT_EQ("LuCalc States chnages 0x101 --> 0x100 . \n", Tick());
  EXPECT_THAT(published_.Data(), IsEmpty());
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_1", Acknowledgement("Start"))));

  LuData = kLive;
  EXPECT_EQ("", Tick());
  data = published_.Data();
  ASSERT_THAT(data, SizeIs(1));
  ExpectData(data[0], kLive, true, LU_CMD_START);
  EXPECT_EQ(0x100u, gluCalcActions);
}

TEST_F(LoudReportTest, StartSendsTheConfigurationBeforeItsAcknowledgement) {
  std::snprintf(gsLuConf, kLuConfSize, "{\"Conf\":1}");
  gluCalcActions = 0x101;
  Tick();
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmSetLoudnessConfiguration_1", "{\"Conf\":1}"),
                          ElementsAre("IOQVHwmLoudnessCmd_1", Acknowledgement("Start"))));
}

TEST_F(LoudReportTest, PauseFreezesTheResultsAndGoesOnPublishingThem) {
  gluCalcActions = 0x108;
  EXPECT_EQ("LuCalc States chnages 0x108 --> 0x100 . \n", Tick());
  EXPECT_THAT(published_.Data(), IsEmpty());
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_1", Acknowledgement("Pause"))));

  LuData = LoudnessData_t{-1, -2, -3, -4, 9, -6, -7, -8};  // the calculator still measures
  Tick();
  const std::vector<Message> data = published_.Data();
  ASSERT_THAT(data, SizeIs(1));
  ExpectData(data[0], kLive, true, LU_CMD_PAUSE);
}

TEST_F(LoudReportTest, PlayPublishesLiveResultsAgain) {
  LuPausedData = LoudnessData_t{9, 9, 9, 9, 9, 9, 9, 9};
  cJsonParser::mLastCmdExecuted = LU_CMD_PAUSE;
  gluCalcActions = 0x110;
  EXPECT_EQ("LuCalc States chnages 0x110 --> 0x100 . \n", Tick());
  Tick();
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_1", Acknowledgement("Play"))));
  const std::vector<Message> data = published_.Data();
  ASSERT_THAT(data, SizeIs(1));
  ExpectData(data[0], kLive, true, LU_CMD_PLAY);
}

TEST_F(LoudReportTest, StopFreezesTheResultsAndEndsPublishing) {
  gluCalcActions = 0x004;
  EXPECT_EQ("LuCalc States chnages 0x4 --> 0x0 . \n", Tick());
  EXPECT_EQ("", Tick());
  EXPECT_THAT(published_.Data(), IsEmpty());
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_1", Acknowledgement("Stop"))));
  EXPECT_EQ(0, std::memcmp(&kLive, &LuPausedData, sizeof kLive));
  EXPECT_EQ(LU_CMD_STOP, cJsonParser::mLastCmdExecuted);
}

TEST_F(LoudReportTest, RunningAfterAStopPublishesTheFrozenResults) {
  LuPausedData = LoudnessData_t{9, 8, 7, 6, 5, 4, 3, 2};
  cJsonParser::mLastCmdExecuted = LU_CMD_STOP;
  gluCalcActions = 0x100;
  Tick();
  const std::vector<Message> data = published_.Data();
  ASSERT_THAT(data, SizeIs(1));
  ExpectData(data[0], LuPausedData, true, LU_CMD_STOP);
}

TEST_F(LoudReportTest, ResetIsAcknowledgedAndLeavesTheLastCommand) {
  cJsonParser::mLastCmdExecuted = LU_CMD_PLAY;
  gluCalcActions = 0x102;
  Tick();
  EXPECT_EQ(LU_CMD_PLAY, cJsonParser::mLastCmdExecuted);
  const std::vector<Message> data = published_.Data();
  ASSERT_THAT(data, SizeIs(1));
  EXPECT_EQ(LU_CMD_PLAY, PublishedMessages::Field(data[0], 11));
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_1", Acknowledgement("Reset"))));
}

TEST_F(LoudReportTest, PendingActionsAreCarriedOutOneATickInTheirOrder) {
  gluCalcActions = 0x01F;
  std::string printed;
  for (int tick = 0; tick < 5; ++tick)
    printed += Tick();
  EXPECT_EQ(
      "LuCalc States chnages 0x1F --> 0x1D . \n"  // reset
      "LuCalc States chnages 0x1D --> 0x15 . \n"  // pause
      "LuCalc States chnages 0x15 --> 0x5 . \n"   // play
      "LuCalc States chnages 0x5 --> 0x1 . \n"    // stop
      "LuCalc States chnages 0x1 --> 0x0 . \n",   // start
      printed);
}

TEST_F(LoudReportTest, BeforeAnyConfigurationOnlyTheCommandIsRepublished) {
  UpdateLoudnessStateAndConf();
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_Repub_1", Acknowledgement("None"))));
}

TEST_F(LoudReportTest, ConfigurationIsRepublishedAfterTheCommand) {
  cJsonParser::mLastCmdExecuted = LU_CMD_START;
  std::snprintf(gsLuConf, kLuConfSize, "{}");
  UpdateLoudnessStateAndConf();
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_Repub_1", Acknowledgement("Start")),
                          ElementsAre("IOQVHwmSetLoudnessConfiguration_Repub_1", "{}")));
}

TEST_F(LoudReportTest, ConfigurationIsNotRepublishedForAnInvalidSource) {
  gbIsInvalidSrc = true;
  std::snprintf(gsLuConf, kLuConfSize, "{}");
  UpdateLoudnessStateAndConf();
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_Repub_1", Acknowledgement("None"))));
}

TEST_F(LoudReportTest, WithoutAMeterSetTheAcknowledgementCarriesNoCluster) {
  cLcReactor::SetMeterSetNo(0);
  SendCommand(LU_CMD_RESET, false);
  EXPECT_THAT(published_.State(),
              ElementsAre(ElementsAre("IOQVHwmLoudnessCmd_0",
                                      "{\"Command\":\"Reset\",\"OriginFromFp\":false}")));
}

TEST_F(LoudReportTest, WithoutADispatcherTheTimeStampIsZero) {
  LoudCalcCleanup();
  gpFetchDispatcher = nullptr;
  LoudCalcInit();
  SendCommand(LU_CMD_RESET, false);
  const std::vector<Message> state = published_.State();
  ASSERT_THAT(state, SizeIs(1));
  EXPECT_THAT(state[0][1], HasSubstr("\"CmdTS\":0,"));
}

TEST_F(LoudReportTest, ADeletedDispatcherIsForgotten) {
  cJsonParser::DeleteInstance();
  EXPECT_EQ(nullptr, gpFetchedDispatcher);
  SendCommand(LU_CMD_RESET, false);
  const std::vector<Message> state = published_.State();
  ASSERT_THAT(state, SizeIs(1));
  EXPECT_THAT(state[0][1], HasSubstr("\"CmdTS\":0,"));
}

TEST_F(LoudReportTest, WithoutAReactorMeterSetAndClusterAreOne) {
  cLcReactor::DeleteInstance();
  cJsonParser::mpReactor = nullptr;
  SendCommand(LU_CMD_RESET, false);
  const std::vector<Message> state = published_.State();
  ASSERT_THAT(state, SizeIs(1));
  EXPECT_EQ("IOQVHwmLoudnessCmd_1", state[0][0]);
  EXPECT_THAT(state[0][1], HasSubstr("\"ClusterId\":1,"));
  EXPECT_THAT(state[0][1], HasSubstr("\"MeterSet\":1}"));
}

}  // namespace
