// The state of a service that the live meter derives from its messages.

#include "WatchModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LuEnumerations.h"

namespace {

using louddesk::Arrival;
using louddesk::LoudnessMessage;
using louddesk::ReadAnswer;
using louddesk::ServiceAnswer;
using louddesk::ServiceState;
using louddesk::StateMessage;
using louddesk::WatchModel;
using std::chrono::milliseconds;
using std::chrono::seconds;

const WatchModel::Time kStart = WatchModel::Time{} + seconds(100);

ServiceAnswer Answer(const std::string& topic, const std::string& json) {
  const auto answer = ReadAnswer(StateMessage{topic, json, {}});
  EXPECT_TRUE(answer) << topic << " " << json;
  return answer.value_or(ServiceAnswer{});
}

ServiceAnswer Acknowledged(const std::string& command) {
  return Answer("IOQVHwmLoudnessCmd_1", R"({"Command":")" + command +
                                            R"(","ClusterId":1,"CmdTS":5,"UID":17,"MeterSet":1})");
}

ServiceAnswer Republished(const std::string& command) {
  return Answer(
      "IOQVHwmLoudnessCmd_Repub_1",
      R"({"Command":")" + command + R"(","ClusterId":1,"CmdTS":5,"UID":17,"MeterSet":1})");
}

constexpr char kConfiguration[] =
    R"json({"ClusterId":2,"LraWindow":60,"LoudnessStandard":"EBU R128 (+18)",)json"
    R"json("LoudnessWindow":"Custom","AlarmTolerance":1,"Alarm":"Over","ReferenceLevel":-23,)json"
    R"json("Mode":"Manual","LoudnessWindowTime":600,"UserID":17})json";

TEST(AcknowledgementTest, HasCommandTimeAndUser) {
  const ServiceAnswer answer = Acknowledged("Start");
  EXPECT_EQ(louddesk::StateKind::kAcknowledgement, answer.kind);
  EXPECT_FALSE(answer.isRepublished);
  EXPECT_EQ("Start", answer.command);
  EXPECT_EQ(5u, answer.cmdTime);
  EXPECT_EQ(17u, answer.user);
  EXPECT_EQ("Start acknowledged, user 17", AnswerText(answer));
}

TEST(AcknowledgementTest, RepublicationIsKnownByItsTopic) {
  EXPECT_TRUE(Republished("None").isRepublished);
}

TEST(AcknowledgementTest, WithoutMeterSetHasCommandOnly) {
  const ServiceAnswer answer =
      Answer("IOQVHwmLoudnessCmd_0", R"({"Command":"Stop","OriginFromFp":false})");
  EXPECT_EQ(std::nullopt, answer.user);
  EXPECT_EQ("Stop acknowledged", AnswerText(answer));
}

TEST(AcknowledgementTest, ConfigurationIsKeptCharacterForCharacter) {
  const ServiceAnswer answer =
      Answer("IOQVHwmSetLoudnessConfiguration_1",
             std::string(R"({"ClusterId":1,"MeterSet":1,"UID":17,"Conf":)") + kConfiguration + "}");
  EXPECT_EQ(louddesk::StateKind::kConfiguration, answer.kind);
  EXPECT_EQ(kConfiguration, answer.configuration);
  EXPECT_EQ(
      "Configuration: EBU R128 (+18), Manual, window 600 s, range 60 s, reference -23 LKFS, "
      "tolerance 1 LU, alarm Over, shown Custom, cluster 2, user 17",
      AnswerText(answer));
}

TEST(AcknowledgementTest, OtherMessagesAreNone) {
  for (const StateMessage& message :
       {StateMessage{"HbProc", "{}", {}}, StateMessage{"IOQVHwmLoudnessCmd_1", "", {}},
        StateMessage{"IOQVHwmLoudnessCmd_1", "[]", {}},
        StateMessage{"IOQVHwmLoudnessCmd_1", R"({"Command":3})", {}}})
    EXPECT_FALSE(ReadAnswer(message)) << message.topic << " " << message.json;
}

class WatchModelTest : public testing::Test {
 protected:
  WatchModelTest() { mModel.SetConnected(true); }

  void Data(milliseconds at, LoudnessData_t data, LuCmd_e command = LU_CMD_START, int valid = 1) {
    LoudnessMessage message;
    message.data = data;
    message.command = static_cast<std::int16_t>(command);
    message.validSource = static_cast<std::int16_t>(valid);
    message.cluster = 1;
    message.time = kStart + at;
    message.wellFormed = true;
    mModel.TakeData(message);
  }

  void Data(milliseconds at, LuCmd_e command = LU_CMD_START) {
    Data(at, LoudnessData_t{}, command);
  }

  void Take(milliseconds at, const ServiceAnswer& answer) {
    mModel.TakeAnswer(answer, kStart + at, "12:00:00");
  }

  ServiceState StateAt(milliseconds at) const { return mModel.State(kStart + at); }

  WatchModel mModel{kStart};
};

TEST_F(WatchModelTest, NobodyIsThereBeforeAConnection) {
  mModel.SetConnected(false);
  EXPECT_EQ(ServiceState::kAbsent, StateAt(seconds(10)));
}

TEST_F(WatchModelTest, ConnectedServiceThatSaidNothingIsWaitedFor) {
  EXPECT_EQ(ServiceState::kWaiting, StateAt(seconds(10)));
}

TEST_F(WatchModelTest, DataTellsTheState) {
  Data(milliseconds(0), LU_CMD_START);
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(100)));
  Data(milliseconds(100), LU_CMD_PAUSE);
  EXPECT_EQ(ServiceState::kPaused, StateAt(milliseconds(200)));
  Data(milliseconds(200), LU_CMD_PLAY);
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(300)));
  Data(milliseconds(300), LU_CMD_NONE);
  EXPECT_EQ(ServiceState::kNotStarted, StateAt(milliseconds(400)));
}

TEST_F(WatchModelTest, AcknowledgementTellsTheStateBeforeTheData) {
  Data(milliseconds(0), LU_CMD_START);
  Take(milliseconds(50), Acknowledged("Pause"));
  EXPECT_EQ(ServiceState::kPaused, StateAt(milliseconds(60)));
}

TEST_F(WatchModelTest, ResetIsNotAState) {
  Data(milliseconds(0), LU_CMD_START);
  Take(milliseconds(50), Acknowledged("Reset"));
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(60)));
}

TEST_F(WatchModelTest, StoppedServiceMayBeSilent) {
  Data(milliseconds(0), LU_CMD_START);
  Take(milliseconds(100), Acknowledged("Stop"));
  EXPECT_EQ(ServiceState::kStopped, StateAt(milliseconds(200)));
  EXPECT_EQ(ServiceState::kStopped, StateAt(seconds(5)));
  Take(seconds(5), Republished("Stop"));
  EXPECT_EQ(ServiceState::kStopped, StateAt(seconds(10)));
}

TEST_F(WatchModelTest, RunningServiceMayNotBeSilentForASecond) {
  Data(milliseconds(0), LU_CMD_START);
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(999)));
  EXPECT_EQ(ServiceState::kSilent, StateAt(milliseconds(1000)));
  EXPECT_FALSE(mModel.IsLive(kStart + milliseconds(1000)));
}

TEST_F(WatchModelTest, ServiceWithoutConnectionIsDeadAfterASecond) {
  Data(milliseconds(0), LU_CMD_START);
  mModel.SetConnected(false);
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(999)));
  EXPECT_EQ(ServiceState::kDead, StateAt(milliseconds(1000)));
}

TEST_F(WatchModelTest, StoppedServiceWithoutConnectionIsDead) {
  Take(milliseconds(0), Acknowledged("Stop"));
  mModel.SetConnected(false);
  EXPECT_EQ(ServiceState::kDead, StateAt(milliseconds(10)));
}

TEST_F(WatchModelTest, HangingServiceIsDeadWhenARepublicationIsMissing) {
  Data(milliseconds(0), LU_CMD_START);
  EXPECT_EQ(ServiceState::kSilent, StateAt(milliseconds(5999)));
  EXPECT_EQ(ServiceState::kDead, StateAt(milliseconds(6000)));
  Take(milliseconds(6100), Republished("Start"));
  EXPECT_EQ(ServiceState::kSilent, StateAt(milliseconds(6200)));
}

TEST_F(WatchModelTest, RepublicationTellsLateJoinersTheState) {
  Take(milliseconds(0), Republished("None"));
  EXPECT_EQ(ServiceState::kNotStarted, StateAt(milliseconds(10)));
  EXPECT_TRUE(mModel.Notes().empty());
}

// The last command is republished every five seconds, so it may come before the first data.
TEST_F(WatchModelTest, RepublicationBeforeTheFirstDataIsNotSilence) {
  Take(milliseconds(0), Republished("Start"));
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(0)));
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(999)));
  EXPECT_EQ(ServiceState::kSilent, StateAt(milliseconds(1000)));
  Data(milliseconds(1100));
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(1200)));
}

TEST_F(WatchModelTest, PausedServiceJoinedLateIsPausedAtOnce) {
  Take(milliseconds(0), Republished("Pause"));
  EXPECT_EQ(ServiceState::kPaused, StateAt(milliseconds(50)));
}

TEST_F(WatchModelTest, StartAfterAStopIsNotSilence) {
  Data(milliseconds(0));
  Take(milliseconds(100), Acknowledged("Stop"));
  Take(seconds(10), Acknowledged("Start"));
  EXPECT_EQ(ServiceState::kRunning, StateAt(milliseconds(10050)));
  EXPECT_EQ(ServiceState::kSilent, StateAt(milliseconds(11000)));
}

TEST_F(WatchModelTest, RepublicationsDoNotPutOffTheSilence) {
  Data(milliseconds(0));
  Take(milliseconds(900), Republished("Start"));
  EXPECT_EQ(ServiceState::kSilent, StateAt(milliseconds(1000)));
}

// Neither message shows the state of the service.
TEST_F(WatchModelTest, ResetOrConfigurationAloneIsNotAState) {
  Take(milliseconds(0), Acknowledged("Reset"));
  EXPECT_EQ(ServiceState::kWaiting, StateAt(milliseconds(10)));
  Take(milliseconds(20), Answer("IOQVHwmSetLoudnessConfiguration_1",
                                std::string(R"({"ClusterId":1,"MeterSet":1,"UID":17,"Conf":)") +
                                    kConfiguration + "}"));
  EXPECT_EQ(ServiceState::kWaiting, StateAt(milliseconds(30)));
}

TEST_F(WatchModelTest, AcknowledgementsAreNotedWithTheirTime) {
  Take(milliseconds(0), Acknowledged("Reset"));
  Take(milliseconds(100), Acknowledged("Start"));
  ASSERT_EQ(2u, mModel.Notes().size());
  EXPECT_EQ("12:00:00", mModel.Notes()[1].localTime);
  EXPECT_EQ("Start acknowledged, user 17", mModel.Notes()[1].text);
}

TEST_F(WatchModelTest, AgeIsThatOfTheLastMessageOfEitherPublisher) {
  EXPECT_EQ(std::nullopt, mModel.Age(kStart));
  Data(milliseconds(0));
  Take(milliseconds(300), Republished("Start"));
  EXPECT_EQ(milliseconds(200), mModel.Age(kStart + milliseconds(500)));
}

LoudnessData_t WithShortTerm(std::int16_t shortTerm) {
  LoudnessData_t data;
  data.MaxMomentary = -100;
  data.ShortTerm = shortTerm;
  return data;
}

TEST_F(WatchModelTest, MaximumShortTermIsSeenUntilTheRestart) {
  Data(milliseconds(0), WithShortTerm(-200));
  Data(milliseconds(100), WithShortTerm(-300));
  EXPECT_EQ(-200, mModel.MaxShortTerm());
  Data(milliseconds(200), LoudnessData_t{});
  EXPECT_EQ(kNoLoudnessCode, mModel.MaxShortTerm());
}

LoudnessData_t WithPeak(std::int16_t peak) {
  LoudnessData_t data;
  data.TruePeak = peak;
  return data;
}

TEST_F(WatchModelTest, PeakIsHeldForThreeSeconds) {
  Data(milliseconds(0), WithPeak(-100));
  Data(milliseconds(2900), WithPeak(-2000));
  EXPECT_EQ(-100, mModel.HeldPeak());
  Data(milliseconds(3000), WithPeak(-2000));
  EXPECT_EQ(-2000, mModel.HeldPeak());
}

TEST_F(WatchModelTest, HigherPeakIsHeldAnew) {
  Data(milliseconds(0), WithPeak(-600));
  Data(milliseconds(2000), WithPeak(-500));
  Data(milliseconds(4000), WithPeak(-2000));
  EXPECT_EQ(-500, mModel.HeldPeak());
}

TEST_F(WatchModelTest, HeldPeakIsLetGoAtTheRestart) {
  LoudnessData_t loud = WithPeak(602);
  loud.MaxTruePeak = 602;
  Data(milliseconds(0), loud);
  Data(milliseconds(100), LoudnessData_t{});
  EXPECT_EQ(kNoTruePeakCode, mModel.HeldPeak());
  LoudnessData_t soft = WithPeak(-2299);
  soft.MaxTruePeak = -2299;
  Data(milliseconds(200), soft);
  EXPECT_EQ(-2299, mModel.HeldPeak());
}

// Applies even if the message without a maximum was missed.
TEST_F(WatchModelTest, LowerMaximumIsARestart) {
  LoudnessData_t loud = WithPeak(602);
  loud.MaxTruePeak = 602;
  loud.MaxMomentary = -100;
  loud.ShortTerm = -150;
  Data(milliseconds(0), loud);
  LoudnessData_t soft = WithPeak(-2299);
  soft.MaxTruePeak = -2299;
  soft.MaxMomentary = -300;
  soft.ShortTerm = -310;
  Data(milliseconds(100), soft);
  EXPECT_EQ(-2299, mModel.HeldPeak());
  EXPECT_EQ(-310, mModel.MaxShortTerm());
}

TEST_F(WatchModelTest, HistoryKeepsTheHighestOfTwoSeconds) {
  Data(milliseconds(0), WithShortTerm(-250));
  Data(milliseconds(1900), WithShortTerm(-200));
  Data(milliseconds(2000), WithShortTerm(-300));
  EXPECT_EQ((std::deque<std::int16_t>{-200, -300}), mModel.History());
}

TEST_F(WatchModelTest, HistoryGoesOnWithoutMessages) {
  Data(milliseconds(0), WithShortTerm(-250));
  mModel.Advance(kStart + milliseconds(4000));
  EXPECT_EQ((std::deque<std::int16_t>{-250, kNoLoudnessCode, kNoLoudnessCode}), mModel.History());
}

TEST_F(WatchModelTest, HistoryIsBounded) {
  Data(milliseconds(0), WithShortTerm(-250));
  mModel.Advance(kStart + 2 * louddesk::kMaxHistory * louddesk::kHistoryStep);
  EXPECT_EQ(louddesk::kMaxHistory, mModel.History().size());
  EXPECT_EQ(louddesk::kMaxHistory, mModel.UnchangedSteps().size());
}

constexpr std::int16_t kSilentPeakCode = -9031;  // the level of a peak of 1, 0.01 dBTP

/// Figures of a programme.
LoudnessData_t Loud() {
  LoudnessData_t data = WithShortTerm(-230);
  data.Momentary = -231;
  data.TruePeak = -602;
  return data;
}

class NoChangeTest : public WatchModelTest {
 protected:
  /// Passes the same figures every 100 ms.
  void Stay(seconds from, seconds to, LoudnessData_t data, LuCmd_e command = LU_CMD_START) {
    for (milliseconds at = from; at <= to; at += milliseconds(100))
      Data(at, data, command);
  }

  std::optional<milliseconds> NoChangeAt(milliseconds at) const {
    return mModel.NoChangeFor(kStart + at);
  }
};

TEST_F(NoChangeTest, SourceThatStaysTheSameIsReportedAfterThreeSeconds) {
  Stay(seconds(0), seconds(2), Loud());
  EXPECT_EQ(std::nullopt, NoChangeAt(milliseconds(2900)));
  Stay(seconds(2), seconds(12), Loud());
  EXPECT_EQ(seconds(12), NoChangeAt(seconds(12)));
  EXPECT_EQ("no change for 12 s: no blocks, or a steady tone",
            louddesk::NoChangeText(milliseconds(12999)));
}

TEST_F(NoChangeTest, EveryFigureThatChangesEndsIt) {
  for (const auto code :
       {&LoudnessData_t::MaxMomentary, &LoudnessData_t::Momentary, &LoudnessData_t::ShortTerm,
        &LoudnessData_t::Integrated, &LoudnessData_t::Lra, &LoudnessData_t::Program,
        &LoudnessData_t::MaxTruePeak, &LoudnessData_t::TruePeak}) {
    Stay(seconds(0), seconds(4), Loud());
    LoudnessData_t data = Loud();
    ++(data.*code);
    Data(milliseconds(4100), data);
    EXPECT_EQ(std::nullopt, NoChangeAt(milliseconds(4200)));
  }
}

TEST_F(NoChangeTest, SilenceMayStay) {
  LoudnessData_t data;
  data.MaxMomentary = -200;
  data.Integrated = -231;
  data.TruePeak = kSilentPeakCode;
  Stay(seconds(0), seconds(10), data);
  EXPECT_EQ(std::nullopt, NoChangeAt(seconds(10)));
}

// Silent blocks have a true peak; figures without any block have none.
TEST_F(NoChangeTest, SourceWithoutAnyBlockIsNotSilence) {
  Stay(seconds(0), seconds(4), LoudnessData_t{});
  EXPECT_EQ(seconds(4), NoChangeAt(seconds(4)));
}

TEST_F(NoChangeTest, PauseMayStayAndCountsNothing) {
  Stay(seconds(0), seconds(10), Loud(), LU_CMD_PAUSE);
  EXPECT_EQ(std::nullopt, NoChangeAt(seconds(10)));
  Stay(seconds(11), seconds(12), Loud(), LU_CMD_PLAY);
  EXPECT_EQ(std::nullopt, NoChangeAt(seconds(12)));
}

TEST_F(NoChangeTest, GapInTheDataIsNotTimeWithoutChange) {
  Data(milliseconds(0), Loud());
  Data(seconds(10), Loud());
  EXPECT_EQ(std::nullopt, NoChangeAt(milliseconds(10100)));
}

// Steps of 2 s. The figures stay from 1 s to 9.5 s: the steps from 2 s to 8 s lie within that.
TEST_F(NoChangeTest, TheStepsThatLieWithinItAreMarked) {
  LoudnessData_t other = Loud();
  ++other.Momentary;
  Data(milliseconds(900), other);
  Stay(seconds(1), seconds(3), Loud());
  EXPECT_THAT(mModel.UnchangedSteps(), testing::ElementsAre(false, false));
  Stay(seconds(3), seconds(9), Loud());
  EXPECT_THAT(mModel.UnchangedSteps(), testing::ElementsAre(false, true, true, true, true));
  Data(milliseconds(9500), other);
  EXPECT_THAT(mModel.UnchangedSteps(), testing::ElementsAre(false, true, true, true, false));
  Data(milliseconds(10000), Loud());
  EXPECT_THAT(mModel.UnchangedSteps(), testing::ElementsAre(false, true, true, true, false, false));
}

TEST_F(NoChangeTest, ARepeatIsAMessageWithTheFiguresOfTheLast) {
  EXPECT_FALSE(mModel.IsRepeat());
  Data(milliseconds(0), Loud());
  EXPECT_FALSE(mModel.IsRepeat());
  Data(milliseconds(100), Loud());
  EXPECT_TRUE(mModel.IsRepeat());
  Data(milliseconds(200), LoudnessData_t{});
  EXPECT_FALSE(mModel.IsRepeat());
  Data(seconds(10), LoudnessData_t{});
  EXPECT_FALSE(mModel.IsRepeat());  // after a gap
}

ServiceAnswer Configured(unsigned window, unsigned range) {
  louddesk::LoudnessConfiguration configuration;
  configuration.loudnessWindowTime = window;
  configuration.lraWindow = range;
  return Answer("IOQVHwmSetLoudnessConfiguration_Repub_1",
                R"({"ClusterId":1,"MeterSet":1,"UID":17,"Conf":)" + configuration.Json() + "}");
}

class WindowsTest : public WatchModelTest {
 protected:
  void ExpectWindows(unsigned integrated, unsigned range) {
    const auto windows = mModel.Windows(kStart + seconds(1));
    ASSERT_TRUE(windows);
    EXPECT_EQ(integrated, windows->integrated);
    EXPECT_EQ(range, windows->range);
  }
};

TEST_F(WindowsTest, AreThoseOfTheConfiguration) {
  Take(milliseconds(0), Configured(600, 60));
  ExpectWindows(600, 60);
}

TEST_F(WindowsTest, AreKeptWithinTheLimitsOfTheService) {
  Take(milliseconds(0), Configured(0, 3));
  ExpectWindows(1, 9);
  Take(milliseconds(0), Configured(9000, 20000));
  ExpectWindows(7200, 10800);
}

TEST_F(WindowsTest, AreUnknownUntilTheServiceHasRepublished) {
  Data(milliseconds(0), Loud());
  EXPECT_FALSE(mModel.Windows(kStart + seconds(60)));
  Take(milliseconds(0), Republished("Start"));
  EXPECT_FALSE(mModel.Windows(kStart + milliseconds(499)));
  ExpectWindows(3, 9);
}

// The service does not republish the configuration while the source is invalid.
TEST_F(WindowsTest, AreUnknownWithoutASource) {
  Data(milliseconds(0), LoudnessData_t{}, LU_CMD_NONE, 0);
  Take(milliseconds(0), Republished("None"));
  EXPECT_FALSE(mModel.Windows(kStart + seconds(60)));
}

TEST_F(WindowsTest, AreForgottenWithTheConnection) {
  Take(milliseconds(0), Configured(600, 60));
  mModel.SetConnected(false);
  mModel.SetConnected(true);
  EXPECT_FALSE(mModel.Windows(kStart + seconds(1)));
}

TEST_F(WatchModelTest, SourceAndClusterAreThoseOfTheLastMessage) {
  EXPECT_EQ(std::nullopt, mModel.IsSourceValid());
  Data(milliseconds(0), LoudnessData_t{}, LU_CMD_NONE, 0);
  EXPECT_EQ(false, mModel.IsSourceValid());
  EXPECT_EQ(1, mModel.Cluster());
}

}  // namespace
