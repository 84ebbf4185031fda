// The desk tool's subcommand `send` against the shipped service.

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include "AnsweringService.h"
#include "Endpoints.h"
#include "RunningService.h"

namespace {

using louddesk::Peer;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

class SendCommandTest : public RunningService {
 protected:
  /// Starts a service without the main board's application server, so that `send` can take its
  /// place.
  void StartWithoutMain() { Start({Peer::kMainAppServer}); }

  /// The same with a running measurement.
  void StartMeasured() {
    ASSERT_NO_FATAL_FAILURE(StartWithoutMain());
    EnableReporting();
    mUnit.SendText(Peer::kOpticalAppServer, louddesk::TopicFor(kPresetTopicPrefix, 1),
                   louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
    ExpectAcknowledgement("Start");
  }

  void StartSend(Arguments arguments) {
    arguments.insert(arguments.begin(), "send");
    mSend = std::make_unique<ServiceProcess>(LOUDDESK_BINARY, arguments);
  }

  void Send(const Arguments& arguments) {
    StartSend(arguments);
    ExpectEnd();
  }

  void ExpectEnd() {
    const auto report = mSend->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    mStatus = report->status;
  }

  void ExpectSent(const Arguments& arguments, const std::string& answer) {
    ASSERT_NO_FATAL_FAILURE(Send(arguments));
    EXPECT_EQ(0, mStatus);
    EXPECT_EQ("", mSend->StandardError());
    EXPECT_THAT(mSend->StandardOutput(), HasSubstr(answer));
  }

  /// Expects status 1 and one line, which contains `text`.
  void ExpectRefused(const Arguments& arguments, const std::string& text) {
    ASSERT_NO_FATAL_FAILURE(Send(arguments));
    EXPECT_EQ(1, mStatus);
    const std::string errors = mSend->StandardError();
    EXPECT_THAT(errors, AllOf(StartsWith("LoudDesk: "), HasSubstr(text)));
    EXPECT_EQ(1, std::count(errors.begin(), errors.end(), '\n')) << errors;
  }

  /// A configuration whose members all differ from the service's initial values.
  static louddesk::LoudnessConfiguration OwnConfiguration() {
    louddesk::LoudnessConfiguration configuration;
    configuration.lraWindow = 60;
    configuration.loudnessStandard = "EBU R128 (+18)";
    configuration.loudnessWindow = "Custom";
    configuration.alarmTolerance = 1;
    configuration.alarm = "Over";
    configuration.referenceLevel = -23;
    configuration.mode = "Manual";
    configuration.loudnessWindowTime = 600;
    configuration.userId = 17;
    return configuration;
  }

  /// Sends a configuration as another client and waits until it is in force.
  void PutInForce(const louddesk::LoudnessConfiguration& configuration) {
    mUnit.SendText(Peer::kOpticalAppServer, louddesk::TopicFor(kConfigurationTopicPrefix, 1),
                   configuration.Json());
    ExpectAcknowledgement("Start");
    mUnit.DropStates();
  }

  /// Expects this configuration to be the next one that is published with a start.
  void ExpectInForce(const louddesk::LoudnessConfiguration& expected) {
    std::string published;
    while (const auto state = NextAnswer(kPatience)) {
      published = state->json;
      if (state->topic == "IOQVHwmSetLoudnessConfiguration_1")
        break;
    }
    EXPECT_THAT(published, HasSubstr("\"Conf\":" + expected.Json() + "}"));
  }

  std::string WritePreset(const std::string& json) {
    const std::string path = testing::TempDir() + "preset-" + std::to_string(getpid()) + ".json";
    std::ofstream(path) << json;
    return path;
  }

  std::string SurroundPreset(unsigned cluster = 1) {
    return WritePreset(louddesk::PresetForSpeakers(SurroundSpeakers(), cluster).Json());
  }

  std::unique_ptr<ServiceProcess> mSend;
  int mStatus = -1;
};

TEST_F(SendCommandTest, PresetIsAcknowledgedAsAStart) {
  ASSERT_NO_FATAL_FAILURE(StartWithoutMain());
  EnableReporting();
  ExpectSent({"preset", SurroundPreset()},
             "Reset acknowledged, user 0\nStart acknowledged, user 0\n");
}

TEST_F(SendCommandTest, PresetWithoutMetersForTheClusterIsAnInvalidSource) {
  StartMeasured();
  ExpectRefused({"preset", SurroundPreset(2)}, "the source is invalid");
}

TEST_F(SendCommandTest, GoodPresetRightAfterABadOneIsAcknowledged) {
  StartMeasured();
  ExpectRefused({"preset", SurroundPreset(2)}, "the source is invalid");
  ExpectSent({"preset", SurroundPreset()}, "Start acknowledged");
}

TEST_F(SendCommandTest, FileThatIsNotAPresetIsNotSent) {
  ExpectRefused({"preset", "/missing.json"}, "/missing.json: No such file or directory");
  ExpectRefused({"preset", WritePreset("[1]")}, ": not a JSON object");
}

TEST_F(SendCommandTest, WithReportingOffNothingIsAcknowledged) {
  ASSERT_NO_FATAL_FAILURE(StartWithoutMain());
  ExpectRefused({"preset", SurroundPreset(), "--timeout", "2"},
                "no acknowledgement in 2.0 s; nothing is carried out while reporting is off");
  ExpectSent({"enable"}, "Reporting is on");
}

TEST_F(SendCommandTest, EnableAndDisableAreSeenInTheData) {
  StartMeasured();
  ExpectSent({"disable"}, "Reporting is off: the loudness data has ended\n");
  mUnit.DropLoudnessData();
  ExpectNoData();
  ExpectSent({"enable"}, "Reporting is on");
  EXPECT_TRUE(mUnit.NextLoudnessData(kPatience));
}

TEST_F(SendCommandTest, DisableWithoutDataSaysSo) {
  ASSERT_NO_FATAL_FAILURE(StartWithoutMain());
  ExpectSent({"disable"}, "Sent; no loudness data came before or after\n");
}

TEST_F(SendCommandTest, EnableWithNothingStartedIsNotAcknowledged) {
  ASSERT_NO_FATAL_FAILURE(StartWithoutMain());
  ExpectRefused({"enable", "--timeout", "2"}, "no loudness data in 2.0 s: ");
}

TEST_F(SendCommandTest, CommandsAreAcknowledged) {
  StartMeasured();
  ExpectSent({"command", "pause", "--user", "17"}, "Pause acknowledged, user 17\n");
  ExpectSent({"command", "play", "--user", "17"}, "Play acknowledged, user 17\n");
  ExpectSent({"command", "RESET", "--user", "18"}, "Reset acknowledged, user 18\n");
  ExpectSent({"command", "start"}, "Reset acknowledged, user 0\nStart acknowledged, user 0\n");
}

// A service acknowledges with the stamp of the command that it read last. If two clients send
// commands within the same tick, that may be the other client's stamp.
TEST_F(SendCommandTest, AcknowledgementWithAnotherStampIsTakenAndSaid) {
  AnsweringService service(mUnit);
  StartSend({"command", "play"});
  service.Acknowledge("Start", service.NextTimeStamp(kPatience) + 1000);
  ASSERT_NO_FATAL_FAILURE(ExpectEnd());
  EXPECT_EQ(0, mStatus) << mSend->StandardError();
  EXPECT_EQ(
      "Start acknowledged, user 7\n"
      "Play acknowledged with the time stamp of another client's command\n",
      mSend->StandardOutput());
}

TEST_F(SendCommandTest, AcknowledgementWithItsOwnStampIsPreferred) {
  AnsweringService service(mUnit);
  StartSend({"command", "pause"});
  const unsigned timeStamp = service.NextTimeStamp(kPatience);
  service.Acknowledge("Pause", timeStamp + 1000);
  service.Acknowledge("Pause", timeStamp);
  ASSERT_NO_FATAL_FAILURE(ExpectEnd());
  EXPECT_EQ(0, mStatus) << mSend->StandardError();
  EXPECT_EQ("Pause acknowledged, user 7\nPause acknowledged, user 7\n", mSend->StandardOutput());
}

TEST_F(SendCommandTest, AcknowledgementOfAnotherCommandIsNone) {
  AnsweringService service(mUnit);
  StartSend({"command", "pause", "--timeout", "2"});
  service.Acknowledge("Play", service.NextTimeStamp(kPatience) + 1000);
  ASSERT_NO_FATAL_FAILURE(ExpectEnd());
  EXPECT_EQ(1, mStatus);
  EXPECT_THAT(mSend->StandardError(), HasSubstr("no acknowledgement in 2.0 s; "));
}

TEST_F(SendCommandTest, InterruptIsOneLine) {
  AnsweringService service(mUnit);
  StartSend({"command", "pause"});
  service.NextTimeStamp(kPatience);
  mSend->Signal(SIGINT);
  ASSERT_NO_FATAL_FAILURE(ExpectEnd());
  EXPECT_EQ(1, mStatus);
  EXPECT_THAT(mSend->StandardError(), StartsWith("LoudDesk: no acknowledgement: interrupted; "));
}

TEST_F(SendCommandTest, StopInContinuousModeIsNotCarriedOut) {
  StartMeasured();
  ExpectRefused({"command", "stop", "--timeout", "2"},
                "in the mode Continuous a stop is not carried out");
}

TEST_F(SendCommandTest, StoppedMeasurementAnswersInItsOwnWay) {
  StartMeasured();
  ExpectSent({"config", "--mode", "manual"}, "Manual");
  ExpectSent({"command", "stop"}, "Stop acknowledged");
  ExpectSent({"command", "pause"}, "Stop acknowledged");
  ExpectSent({"command", "play"}, "Start acknowledged");
}

TEST_F(SendCommandTest, ConfigurationComesBackAsItWasSent) {
  StartMeasured();
  mUnit.DropStates();
  ExpectSent({"config", "--mode", "manual", "--window", "custom", "--window-time", "600",
              "--lra-window", "60", "--standard", "ebu+18", "--reference", "-23", "--alarm", "over",
              "--tolerance", "1", "--user", "17"},
             "Configuration: EBU R128 (+18), Manual, window 600 s, range 60 s, reference -23 "
             "LKFS, tolerance 1 LU, alarm Over, shown Custom, cluster 1, user 17\n"
             "Start acknowledged, user 17\n");
  ExpectInForce(OwnConfiguration());
}

TEST_F(SendCommandTest, ConfigurationChangesOnlyWhatIsNamed) {
  StartMeasured();
  louddesk::LoudnessConfiguration expected = OwnConfiguration();
  PutInForce(expected);
  ExpectSent({"config", "--tolerance", "4"}, "tolerance 4 LU");
  expected.alarmTolerance = 4;
  ExpectInForce(expected);
}

TEST_F(SendCommandTest, FreshConfigurationStartsFromTheDefaults) {
  StartMeasured();
  PutInForce(OwnConfiguration());
  ExpectSent({"config", "--fresh", "--tolerance", "4"}, "Start acknowledged");
  louddesk::LoudnessConfiguration expected;
  expected.alarmTolerance = 4;
  ExpectInForce(expected);
}

TEST_F(SendCommandTest, MissingConfigurationIsReported) {
  StartMeasured();
  ExpectSent({"config", "--tolerance", "4"},
             "No configuration is republished: settings that are not given have their defaults\n");
  louddesk::LoudnessConfiguration expected;
  expected.alarmTolerance = 4;
  ExpectInForce(expected);
}

// The service keeps only 1022 bytes of a configuration.
TEST_F(SendCommandTest, CutConfigurationIsNotGuessed) {
  StartMeasured();
  louddesk::LoudnessConfiguration configuration;
  configuration.mode = "Manual" + std::string(1000, ' ');
  PutInForce(configuration);
  ExpectRefused({"config", "--tolerance", "4"},
                "the configuration that the service republishes cannot be read");
}

TEST_F(SendCommandTest, ServiceThatRepublishesNothingIsOneLine) {
  AnsweringService service(mUnit);
  ExpectRefused({"config", "--timeout", "2"}, "the service has republished nothing in 6.0 s");
}

TEST_F(SendCommandTest, MissingServiceIsOneLine) {
  ExpectRefused({"command", "pause", "--timeout", "0.2"},
                "no service has subscribed in 0.2 s; start LoudCalc -m 1 -c 1");
}

TEST_F(SendCommandTest, ServiceOfAnotherClusterIsOneLine) {
  StartMeasured();
  ExpectRefused({"command", "pause", "--cluster", "2", "--timeout", "2"},
                "not as LoudCalc -m 1 -c 2 does: no publisher of loudness data");
}

TEST_F(SendCommandTest, EndpointInUseIsOneLine) {
  mUnit.Open(Peer::kMainAppServer);
  ExpectRefused({"enable"}, "sending needs the endpoint of the application server: cannot bind " +
                                mUnit.EndpointOf(Peer::kMainAppServer) + ": the port is in use; ");
}

struct WrongCase {
  const char* name;
  Arguments arguments;
  const char* complaint;  // text that the line must contain
};

class SendWrongArgumentTest : public SendCommandTest,
                              public testing::WithParamInterface<WrongCase> {};

TEST_P(SendWrongArgumentTest, IsRefused) {
  ASSERT_NO_FATAL_FAILURE(Send(GetParam().arguments));
  EXPECT_NE(0, mStatus);
  EXPECT_THAT(mSend->StandardError(), HasSubstr(GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, SendWrongArgumentTest,
    testing::Values(WrongCase{"Nothing", {}, "subcommand"},                            //
                    WrongCase{"UnknownKind", {"preset5"}, "subcommand"},               //
                    WrongCase{"NoFile", {"preset"}, "FILE"},                           //
                    WrongCase{"NoCommand", {"command"}, "NAME"},                       //
                    WrongCase{"UnknownCommand", {"command", "rewind"}, "rewind"},      //
                    WrongCase{"UnknownMode", {"config", "--mode", "auto"}, "--mode"},  //
                    WrongCase{"WindowTimeZero", {"config", "--window-time", "0"}, "--window-time"},
                    WrongCase{"TimeoutZero", {"enable", "--timeout", "0"}, "--timeout"},  //
                    WrongCase{"MeterSetTwo", {"enable", "--meter-set", "2"}, "--meter-set"}),
    [](const auto& wrong) { return wrong.param.name; });

class SendHelpTest : public SendCommandTest, public testing::WithParamInterface<const char*> {};

TEST_P(SendHelpTest, HasAnExample) {
  ASSERT_NO_FATAL_FAILURE(Send({GetParam(), "--help"}));
  EXPECT_EQ(0, mStatus);
  EXPECT_THAT(mSend->StandardOutput(),
              AllOf(HasSubstr(std::string("Example:\n  LoudDesk send ") + GetParam()),
                    HasSubstr("--timeout")));
}

INSTANTIATE_TEST_SUITE_P(Kinds, SendHelpTest,
                         testing::Values("enable", "disable", "preset", "config", "command"),
                         [](const auto& kind) { return std::string(kind.param); });

}  // namespace
