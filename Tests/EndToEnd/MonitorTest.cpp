// The process monitor: system status, application commands, heartbeats, and its absence.

#include "WatchedService.h"

namespace {

using louddesk::Frames;
using louddesk::Peer;
using testing::ElementsAre;
using testing::Optional;

using Texts = std::vector<std::string>;

constexpr char kStatusTopic[] = "HbSysStatusEvent";
constexpr char kCommandTopic[] = "HbAppCmd";
constexpr char kStatusUnit[] = "JsonParseHbMonMessages";

constexpr char kBeat[] = R"({"HbKey":"QvOptLuCal1","Version":"Telvon8-v1.9.3","State":1})";
constexpr char kFailedBeat[] = "\"Failed to send HB Topic.\"";

std::string StatusLine(const std::string& status, bool inOrder) {
  return Warned(kStatusUnit,
                "\"Got System status " + status + (inOrder ? " 1." : " 0.") + std::string("\""));
}

std::string DefaultLine() {
  return Failed(kStatusUnit, "\"Failed to parse message setting default to 0\"");
}

std::string DecoderLine() {
  return Warned(kStatusUnit, "\"Dolby decoder detected.\"");
}

std::string StatusWithDecoder(const std::string& status, const std::string& decoder) {
  return "{\"SystemStatus\":\"" + status + "\",\"DolbyDecoder\":" + decoder + "}";
}

/// A service and its process monitor.
class MonitorTest : public WatchedService {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(StartWatched()); }

  Speech Tell(const std::string& topic, const std::optional<std::string>& payload) {
    mUnit.SendText(Peer::kProcessMonitor, topic, payload);
    return Hear(Peer::kProcessMonitor);
  }

  void ExpectErrors(const Texts& errors, const std::string& status) {
    EXPECT_EQ((Speech{{}, errors}), Tell(kStatusTopic, status)) << status;
  }
};

// ---- System status ----

TEST_F(MonitorTest, StatusIsInOrderWhenItBeginsWithOkay) {
  for (const char* status : {"Okay", "Okay.", "Okayish", "Okay Okay"})
    ExpectErrors({StatusLine(status, true)}, std::string("{\"SystemStatus\":\"") + status + "\"}");
  for (const char* status : {"okay", "OKAY", "Oka", "", " Okay", "Not Okay"})
    ExpectErrors({StatusLine(status, false)}, std::string("{\"SystemStatus\":\"") + status + "\"}");
}

TEST_F(MonitorTest, UnusableStatusIsLogged) {
  EXPECT_EQ((Speech{{}, {DefaultLine()}}), Tell(kStatusTopic, std::nullopt));
  ExpectErrors({DefaultLine()}, "{}");
  ExpectErrors({DefaultLine()}, R"({"systemStatus":"Okay","DolbyDecoder":7})");
  for (const char* text :
       {"", "Okay", "{\"SystemStatus\":\"Okay\"", "{\"SystemStatus\":\"Okay\"}}"})
    ExpectErrors({Failed(kStatusUnit, std::string("\"Not a valid json string ") + text + ".\""),
                  DefaultLine()},
                 text);
}

TEST_F(MonitorTest, DecoderIsDetectedOnceAndForGood) {
  const std::string processing = StatusWithDecoder("Okay", R"({"State":"Processing audio"})");
  ExpectErrors({StatusLine("Okay", true)}, StatusWithDecoder("Okay", R"({"State":"Idle"})"));
  ExpectErrors({StatusLine("Okay", true)}, StatusWithDecoder("Okay", R"({"State":"processing"})"));
  ExpectErrors({StatusLine("Okay", true)}, StatusWithDecoder("Okay", "{}"));
  ExpectErrors({StatusLine("Fault", false)},
               StatusWithDecoder("Fault", R"({"State":"Processing"})"));
  ExpectErrors({StatusLine("Okay", true), DecoderLine()}, processing);
  ExpectErrors({StatusLine("Okay", true)}, processing);
  ExpectErrors({StatusLine("Okay", true)}, StatusWithDecoder("Okay", R"({"State":"Idle"})"));
  ExpectErrors({StatusLine("Okay", true)}, processing);
}

TEST_F(MonitorTest, DecoderThatIsNotLookedAtMayHaveAnyForm) {
  for (const char* decoder : {"\"Processing\"", "null", "[]", R"({"State":1})"})
    ExpectErrors({StatusLine("Fault", false)}, StatusWithDecoder("Fault", decoder));
  ExpectErrors({StatusLine("Okay", true), DecoderLine()},
               StatusWithDecoder("Okay", R"({"State":"Processing"})"));
  for (const char* decoder : {"\"Processing\"", "null", "[]", R"({"State":1})"})
    ExpectErrors({StatusLine("Okay", true)}, StatusWithDecoder("Okay", decoder));
}

TEST_F(MonitorTest, StatusOfAnUnexpectedFormStopsTheService) {
  mUnit.SendText(Peer::kProcessMonitor, kStatusTopic, std::string("[\"Okay\"]"));
  ExpectStopByAssertion("doc.IsObject()");
}

TEST_F(MonitorTest, StatusThatIsNotTextStopsTheService) {
  mUnit.SendText(Peer::kProcessMonitor, kStatusTopic, std::string(R"({"SystemStatus":["Okay"]})"));
  ExpectStopByAssertion("vSysStatus.IsString()");
}

TEST_F(MonitorTest, DecoderThatIsNotAnObjectStopsTheService) {
  mUnit.SendText(Peer::kProcessMonitor, kStatusTopic, StatusWithDecoder("Okay", "[]"));
  ExpectStopByAssertion("vDolbyDec.IsObject()");
}

TEST_F(MonitorTest, DecoderStateThatIsNotTextStopsTheService) {
  mUnit.SendText(Peer::kProcessMonitor, kStatusTopic,
                 StatusWithDecoder("Okay", R"({"State":null})"));
  ExpectStopByAssertion("vState.IsString()");
}

// ---- Application commands ----

TEST_F(MonitorTest, OtherApplicationCommandsAreIgnoredSilently) {
  for (const char* command : {"0", "1", "4", "8", "10", "99", "101", "-9", "2147483647"})
    EXPECT_EQ(Speech{}, Tell(kCommandTopic, std::string("{\"Command\":") + command + "}"))
        << command;
}

TEST_F(MonitorTest, UnreadableApplicationCommandsAreLogged) {
  const Speech refused = {{}, {Failed("JsonParser", "\"Failed to parse application.\"")}};
  EXPECT_EQ(refused, Tell(kCommandTopic, std::nullopt));
  for (const char* payload : {"", "9", "100", "[9]", "{}", R"({"Command":"9"})",
                              R"({"Command":9.0})", R"({"Command":null})", R"({"command":9})",
                              R"({"Command":4294967305})", R"({"Command":9)", R"({"Command":-1})"})
    EXPECT_EQ(refused, Tell(kCommandTopic, std::string(payload))) << payload;
}

class EndingCommandTest : public MonitorTest, public testing::WithParamInterface<int> {};

TEST_P(EndingCommandTest, EndsTheServiceWithItsLines) {
  StartMeasuring();
  Hear();
  const std::string command = std::to_string(GetParam());
  const std::size_t before = mService->LineCount();
  mUnit.SendText(Peer::kProcessMonitor, kCommandTopic, "{\"Command\":" + command + ",\"More\":{}}");
  const auto report = mService->WaitForExit(kPatience);
  ASSERT_TRUE(report) << "still running";
  EXPECT_EQ(0, report->signal);
  EXPECT_EQ(0, report->status);
  Speech speech;
  const std::vector<OutputLine> lines = mService->Lines();
  for (std::size_t i = before; i < lines.size(); ++i) {
    const std::string line = Normalised(lines[i].text);
    if (!line.empty() && line.rfind("LuCalc States", 0) != 0)  // the end of the last line's colour
      (lines[i].isError ? speech.errors : speech.output).push_back(line);
  }
  const Speech expected = {
      {Printed("Main", "\"LoudCalc exiting...\""), Printed("Logger", "\"Logger MQ cleanup!!!\""),
       Printed("HeartBeater", "\"Heart Beater MQ cleanup!!!\"")},
      {Warned("JsonParser", "\"Got app command " + command + ". Exiting ...\""),
       Failed("MqReactor", "\"Got rv = -1. Exiting from reactor loop ...\"")}};
  EXPECT_EQ(expected, speech);
}

INSTANTIATE_TEST_SUITE_P(RebootAndUpgrade, EndingCommandTest, testing::Values(9, 100));

// ---- Heartbeats ----

TEST_F(MonitorTest, GetsWholeHeartbeatsAndNothingElse) {
  StartMeasuring();
  Tell(kStatusTopic, std::string(R"({"SystemStatus":"Okay"})"));
  Tell(kCommandTopic, std::string(R"({"Command":4})"));
  SendCommand("Reset");
  for (int beat = 1; beat <= 3; ++beat)
    EXPECT_THAT(mUnit.NextHeartbeat(kPatience), Optional(ElementsAre("HbProc", kBeat)));
}

class AbsentMonitorTest : public WatchedService {
 protected:
  std::size_t FailedBeats() const {
    std::size_t count = 0;
    for (const OutputLine& line : mService->Lines())
      count += line.isError && Normalised(line.text) == Failed("HeartBeater", kFailedBeat) ? 1 : 0;
    return count;
  }

  void ExpectWholeBeats(int count) {
    for (int beat = 1; beat <= count; ++beat)
      EXPECT_THAT(mUnit.NextHeartbeat(kPatience), Optional(ElementsAre("HbProc", kBeat))) << beat;
  }
};

TEST_F(AbsentMonitorTest, DoesNotHoldUpTheDataAndGetsTheBeatsThatWait) {
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kHeartbeatReceiver}));
  StartMeasuring();
  for (int i = 0; i < 4; ++i)  // longer than two heartbeat periods
    ExpectCadence();
  ExpectMeasures(-20);
  mUnit.Open(Peer::kHeartbeatReceiver);
  ExpectWholeBeats(3);
  EXPECT_EQ(0u, FailedBeats());
}

}  // namespace
