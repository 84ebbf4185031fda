// Reporting, the hardware manager, raw data, and topics that only look like those of the service.

#include "WatchedService.h"

namespace {

using louddesk::Frames;
using louddesk::LoudnessMessage;
using louddesk::Peer;

constexpr char kEnableTopic[] = "QVProbeOptInputDataCmd";
constexpr char kHardwareTopic[] = "HwmStatusOrRequest";
constexpr char kUnit[] = "JsonParser";

constexpr Peer kServers[] = {Peer::kProcessMonitor, Peer::kHardwareManager, Peer::kMainAppServer,
                             Peer::kOpticalAppServer};

Speech NotHandled(const std::string& topic) {
  return {{}, {Warned(kUnit, "\"Topic " + topic + " not handled\"")}};
}

Speech Enabled(const std::string& payload, bool isOn) {
  return {{Printed(kUnit, std::string("\"") + kEnableTopic + ": " + payload + "   enable " +
                              (isOn ? "true" : "false") + "\"")},
          {}};
}

/// Topics without a separate test.
class TopicTest : public WatchedService {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(StartWatched()); }
};

// ---- Hardware manager ----

TEST_F(TopicTest, HardwareStatusIsAcceptedAndIgnored) {
  for (const std::optional<std::string>& payload :
       {std::optional<std::string>(), std::optional<std::string>(""),
        std::optional<std::string>("{\"Status\":1}"), std::optional<std::string>("no document")}) {
    mUnit.SendText(Peer::kHardwareManager, kHardwareTopic, payload);
    EXPECT_EQ(Speech{}, Hear(Peer::kHardwareManager));
  }
  ExpectNoAnswer();
}

// ---- Reporting ----

TEST_F(TopicTest, ReportingIsSwitchedByTheWordTrueAnywhere) {
  struct {
    const char* payload;
    bool isOn;
  } const cases[] = {{"{\"Enable\":true}", true},
                     {"{\"Enable\":false}", false},
                     {"untrue", true},
                     {"TRUE", false},
                     {"", false},
                     {"falsetrue", true}};
  for (const auto& [payload, isOn] : cases) {
    mUnit.SendText(Peer::kOpticalAppServer, kEnableTopic, std::string(payload));
    EXPECT_EQ(Enabled(payload, isOn), Hear(Peer::kOpticalAppServer)) << payload;
  }
}

TEST_F(TopicTest, ReportingStaysAsItIsWithoutAPayload) {
  StartMeasuring();
  Hear();
  mUnit.SendText(Peer::kOpticalAppServer, kEnableTopic);
  EXPECT_EQ(Speech{}, Hear(Peer::kOpticalAppServer));
  ExpectCadence();
}

TEST_F(TopicTest, ReportingThatIsOffStopsDataAndWhatWaitsIsCarriedOutLater) {
  StartMeasuring();
  ExpectTransitions({"0x103 --> 0x101", "0x101 --> 0x100"});
  ExpectMeasures(-20);
  const std::vector<int> measured = SettledFigures();
  EnableReporting(false);
  RunsUntilSilence();
  Feed(8, -30);
  SendCommand("Pause");
  Hear();
  ExpectNoTransition();
  ExpectNoAnswer();

  EnableReporting();
  ExpectTransitions({"0x108 --> 0x100"});
  ExpectAcknowledged("Pause");
  // The figures measured until then are frozen: -30 LKFS a channel, weights 3 x 1 + 2 x 1.41: 10
  // log10 5.82 = 7.65 above it, which is between two codes.
  EXPECT_THAT(SettledFigures()[1], testing::AnyOf(-223, -224));
  EXPECT_NE(measured, SettledFigures());
  ExpectCadence();
}

// ---- Unknown topics ----

TEST_F(TopicTest, UnknownAndLookAlikeTopicsAreWarnedOf) {
  for (const char* topic :
       {"AppLoudnessCmd", "AppLoudnessCmd-1", "HbAppCmd1", "HbAppCmd ", "HbSysStatusEvent1",
        "HbSysStatusEvent\t", "HwmStatusOrRequest1", "QVProbeOptInputDataCmd1",
        "QVProbeOptInputDataCmdtrue", "HbAppCmdHbAppCmd"}) {
    SCOPED_TRACE(topic);
    EXPECT_EQ(NotHandled(topic), SayTo(topic, "{\"Command\":9,\"Enable\":true}"));
  }
  ExpectNoAnswer();
  ExpectNoData();
}

TEST_F(TopicTest, FurtherFramesAreIgnored) {
  mUnit.SendFrames(Peer::kMainAppServer, {kEnableTopic, "false", "true", std::string(5000, 'x')});
  EXPECT_EQ(Enabled("false", false), Hear());
  mUnit.SendFrames(Peer::kMainAppServer, {"AppLoudnessCmd", "", "", ""});
  EXPECT_EQ(NotHandled("AppLoudnessCmd"), Hear());
}

TEST_F(TopicTest, EveryTopicIsTakenFromEveryServer) {
  for (const Peer server : kServers) {
    SCOPED_TRACE(mUnit.EndpointOf(server));
    mUnit.SendText(server, kHardwareTopic, std::string("{}"));
    mUnit.SendText(server, kEnableTopic, std::string("false"));
    mUnit.SendText(server, "AppLoudnessCmd", std::string("{}"));
    Speech expected = Enabled("false", false);
    expected.errors = NotHandled("AppLoudnessCmd").errors;
    EXPECT_EQ(expected, Hear(server));
  }
}

TEST_F(TopicTest, TopicsThatNobodyAskedForAreNotEvenReceived) {
  for (const char* topic : {"Hb", "AppLoudness", "AppIOQVLoudnessCmd-2", "HwmStatus", " HbAppCmd",
                            "QVProbe", "AppProbeSetLuConf-2", "ProbeLuRawData-1"})
    EXPECT_EQ(Speech{}, SayTo(topic, "{}")) << topic;
}

// ---- Raw data ----

TEST_F(TopicTest, RawDataOfALongerTopicIsMeasuredToo) {
  StartMeasuring();
  ExpectMeasures(-20);
  Hear();
  louddesk::BlockReading block;
  block.powers.fill(PowerOf(-40));
  const Frames frames = {
      "ProbeLuRawData-12",
      std::string(reinterpret_cast<const char*>(block.peaks.data()), sizeof block.peaks),
      std::string(reinterpret_cast<const char*>(block.powers.data()), sizeof block.powers), "x"};
  for (int i = 0; i < 4; ++i)
    mUnit.SendFrames(Peer::kSignalProcessor, frames);
  // 7.65 above -40 LKFS, which is between two codes.
  ExpectData(
      [](const LoudnessMessage& message) {
        return message.data.Momentary == -323 || message.data.Momentary == -324;
      },
      "the level of the message");
  EXPECT_EQ(Speech{}, Hear());
}

TEST_F(TopicTest, RawDataOfAnotherMeterSetIsNotReceived) {
  StartMeasuring();
  ExpectMeasures(-20);
  const std::vector<int> measured = SettledFigures();
  Hear();
  mUnit.SendFrames(Peer::kSignalProcessor, {"ProbeLuRawData-2", "x", "x", "x"});
  mUnit.SendFrames(Peer::kSignalProcessor, {"LoudnessDspData", "x", "x", "x"});
  EXPECT_EQ(measured, SettledFigures());
  EXPECT_EQ(Speech{}, Hear());
}

TEST_F(TopicTest, RawDataWithoutAProgrammeIsNotEvenLookedAt) {
  mUnit.SendRawFrames({"x"});
  mUnit.SendRawFrames({});
  EnableReporting();
  EXPECT_EQ(0u, SayTo("HwmStatusOrRequest", "{}").errors.size());
  ExpectNoData();
}

}  // namespace
