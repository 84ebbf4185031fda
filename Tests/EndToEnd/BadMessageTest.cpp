// Text messages that the service must survive, and a few that must stop it.

#include "BadInputTest.h"

namespace {

using louddesk::Peer;
using louddesk::PublishedCodes;

/// A valid command, extended to `size` bytes by an unknown member.
std::string GoodCommandOf(std::size_t size) {
  const std::string begin = R"({"ClusterId":1,"Command":"Reset","Remark":")";
  const std::string end = R"("})";
  return begin + std::string(size - begin.size() - end.size(), 'x') + end;
}

struct MessageRow {
  const char* name;
  Peer peer;
  louddesk::Frames frames;
  const char* line;  // log line of the service; empty: none
};

constexpr char kMonitorTopic[] = "HbAppCmd";
constexpr char kStatusTopic[] = "HbSysStatusEvent";
constexpr char kHardwareTopic[] = "HwmStatusOrRequest";
constexpr char kEnableTopic[] = "QVProbeOptInputDataCmd";
constexpr char kCommandTopic[] = "AppIOQVLoudnessCmd-1";
constexpr char kConfigurationTopic[] = "AppProbeSetLuConf-1";

constexpr char kCommandRefused[] = "AppIOQVLoudnessCmd-1\\n\\ failed parsing 1 : 0\\n\"";
constexpr char kConfigurationRefused[] = "AppProbeSetLuConf-1\\n\\ failed parsing\\n\"";
constexpr char kApplicationCommandRefused[] = "\"Failed to parse application.\"";
constexpr char kStatusRefused[] = "\"Failed to parse message setting default to 0\"";

/// Messages that change nothing.
class HarmlessMessageTest : public BadInputTest {
 protected:
  void ExpectUnmoved(const std::vector<MessageRow>& rows) {
    ForEachRow(rows, [this](const MessageRow& row) { ExpectUnmovedBy(row); });
  }

 private:
  void ExpectUnmovedBy(const MessageRow& row) {
    const auto before = mUnit.NextLoudnessData(kPatience);
    ASSERT_TRUE(before);
    const std::size_t lines = mService->LineCount();
    mUnit.SendFrames(row.peer, row.frames);
    if (*row.line != '\0') {
      ASSERT_TRUE(mService->WaitForLine(row.line, kPatience, lines)) << row.line;
    }
    ASSERT_NO_FATAL_FAILURE(AwaitHandled(row.peer));
    const auto after = NextPublished();
    ASSERT_TRUE(after);
    EXPECT_EQ(PublishedCodes(before->data), PublishedCodes(after->data))
        << "the measurement was restarted";
    EXPECT_EQ(before->command, after->command);
    ExpectMeasuresOn();
  }

  /// Waits until the service has handled everything that the peer sent.
  void AwaitHandled(Peer peer) {
    const std::string mark = "AppLoudnessCmd mark " + std::to_string(++mMarks) + ".";
    const std::size_t lines = mService->LineCount();
    mUnit.SendFrames(peer, {mark, "{}"});
    ASSERT_TRUE(mService->WaitForLine(mark, kPatience, lines)) << mark;
  }

  /// The second message from now. The next one may already have been sent.
  std::optional<louddesk::LoudnessMessage> NextPublished() {
    mUnit.DropLoudnessData();
    mUnit.NextLoudnessData(kPatience);
    return mUnit.NextLoudnessData(kPatience);
  }

  int mMarks = 0;  // sent so far
};

TEST_F(HarmlessMessageTest, OnAnUnknownTopicIsLogged) {
  ExpectUnmoved({
      {"AppLoudnessCmd",
       Peer::kMainAppServer,
       {"AppLoudnessCmd", "{}"},
       "\"Topic AppLoudnessCmd not handled\""},
      {"LongerMonitorTopic",
       Peer::kProcessMonitor,
       {"HbAppCmds", "{\"Command\":9}"},
       "\"Topic HbAppCmds not handled\""},
      {"LongerStatusTopic",
       Peer::kProcessMonitor,
       {"HbSysStatusEvents", "[]"},
       "\"Topic HbSysStatusEvents not handled\""},
      {"LongerHardwareTopic",
       Peer::kHardwareManager,
       {"HwmStatusOrRequest2", "{}"},
       "\"Topic HwmStatusOrRequest2 not handled\""},
      {"LongerEnableTopic",
       Peer::kOpticalAppServer,
       {"QVProbeOptInputDataCmd2", "false"},
       "\"Topic QVProbeOptInputDataCmd2 not handled\""},
      {"TopicOfAQuarterMegabyte",
       Peer::kProcessMonitor,
       {"HbAppCmd" + std::string(1u << 18, 'x'), "{}"},
       "\"Message dropped: topic of 262152 bytes\""},
      {"TopicWithFormat",
       Peer::kProcessMonitor,
       {"HbAppCmd%s%n%s", "{}"},
       "\"Topic HbAppCmd%s%n%s not handled\""},
      {"PresetOfMeterSetTwelve", Peer::kMainAppServer, {"AppProbeIOMatrixStream-12", "{}"}, ""},
      {"CommandOfMeterSetTwelve",
       Peer::kMainAppServer,
       {"AppIOQVLoudnessCmd-12", R"({"ClusterId":1,"Command":"Reset"})"},
       ""},
      {"ConfigurationOfMeterSetTwelve",
       Peer::kMainAppServer,
       {"AppProbeSetLuConf-12", louddesk::LoudnessConfiguration().Json()},
       ""},
  });
}

TEST_F(HarmlessMessageTest, OfATopicAloneIsRefused) {
  ExpectUnmoved({
      {"Command", Peer::kMainAppServer, {kCommandTopic}, kCommandRefused},
      {"Configuration", Peer::kMainAppServer, {kConfigurationTopic}, kConfigurationRefused},
      {"ApplicationCommand", Peer::kProcessMonitor, {kMonitorTopic}, kApplicationCommandRefused},
      {"SystemStatus", Peer::kProcessMonitor, {kStatusTopic}, kStatusRefused},
      {"HardwareStatus", Peer::kHardwareManager, {kHardwareTopic}, ""},
      {"EnableReporting", Peer::kOpticalAppServer, {kEnableTopic}, ""},
      {"AppLoudnessCmd",
       Peer::kMainAppServer,
       {"AppLoudnessCmd"},
       "\"Topic AppLoudnessCmd not handled\""},
  });
}

TEST_F(HarmlessMessageTest, WithAnEmptyPayloadIsRefused) {
  ExpectUnmoved({
      {"Command", Peer::kMainAppServer, {kCommandTopic, ""}, kCommandRefused},
      {"Configuration", Peer::kMainAppServer, {kConfigurationTopic, ""}, kConfigurationRefused},
      {"ApplicationCommand",
       Peer::kProcessMonitor,
       {kMonitorTopic, ""},
       kApplicationCommandRefused},
      {"SystemStatus", Peer::kProcessMonitor, {kStatusTopic, ""}, kStatusRefused},
      {"HardwareStatus", Peer::kHardwareManager, {kHardwareTopic, ""}, ""},
  });
}

TEST_F(HarmlessMessageTest, WithABadPayloadIsRefused) {
  ExpectUnmoved({
      {"CommandArray", Peer::kMainAppServer, {kCommandTopic, "[]"}, kCommandRefused},
      {"CommandNumber",
       Peer::kMainAppServer,
       {kCommandTopic, R"({"ClusterId":1,"Command":5})"},
       "AppIOQVLoudnessCmd-1\\n\\ failed parsing 1 : 1\\n\""},
      {"CommandOfAnotherCluster",
       Peer::kMainAppServer,
       {kCommandTopic, R"({"ClusterId":2,"Command":"Reset"})"},
       "AppIOQVLoudnessCmd-1\\n\\ failed parsing 1 : 2\\n\""},
      {"UnknownCommand",
       Peer::kMainAppServer,
       {kCommandTopic, R"({"ClusterId":1,"Command":"Wait"})"},
       "\"Topic AppIOQVLoudnessCmd-1 :: Unknown commad 0\""},
      {"DeepCommand", Peer::kMainAppServer, {kCommandTopic, DeepArray()}, kCommandRefused},
      {"ConfigurationArray",
       Peer::kMainAppServer,
       {kConfigurationTopic, "[]"},
       kConfigurationRefused},
      {"EmptyConfiguration",
       Peer::kMainAppServer,
       {kConfigurationTopic, "{}"},
       kConfigurationRefused},
      {"DeepConfiguration",
       Peer::kMainAppServer,
       {kConfigurationTopic, Repeat("{\"Mode\":", kDeep)},
       kConfigurationRefused},
      {"ApplicationCommandText",
       Peer::kProcessMonitor,
       {kMonitorTopic, R"({"Command":"9"})"},
       kApplicationCommandRefused},
      {"ApplicationCommandFraction",
       Peer::kProcessMonitor,
       {kMonitorTopic, R"({"Command":9.0})"},
       kApplicationCommandRefused},
      {"ApplicationCommandOfSomebodyElse",
       Peer::kProcessMonitor,
       {kMonitorTopic, R"({"Command":4})"},
       ""},
      {"DeepApplicationCommand",
       Peer::kProcessMonitor,
       {kMonitorTopic, DeepArray()},
       kApplicationCommandRefused},
      {"StatusIsNoJson",
       Peer::kProcessMonitor,
       {kStatusTopic, "Okay"},
       "\"Not a valid json string Okay.\""},
      {"StatusWithoutStatus", Peer::kProcessMonitor, {kStatusTopic, "{}"}, kStatusRefused},
      {"DeepUnclosedStatus",
       Peer::kProcessMonitor,
       {kStatusTopic, DeepUnclosedArray()},
       kStatusRefused},
      {"DeepStatus", Peer::kProcessMonitor, {kStatusTopic, DeepArray()}, kStatusRefused},
      {"CommandOverTheLargestSize",
       Peer::kMainAppServer,
       {kCommandTopic, GoodCommandOf(256 * 1024 + 1)},
       "\"Topic AppIOQVLoudnessCmd-1 dropped: more than 262144 bytes\""},
      {"EnableWithManyFrames",
       Peer::kOpticalAppServer,
       {kEnableTopic, "untrue", "false", "false"},
       "enable true"},
  });
}

// ---- Broken contracts with the process monitor ----

struct StopCase {
  const char* name;
  const char* json;
  const char* assertion;
};

void PrintTo(const StopCase& stop, std::ostream* stream) {
  *stream << stop.name;
}

class SystemStatusStopTest : public RunningService, public testing::WithParamInterface<StopCase> {};

TEST_P(SystemStatusStopTest, StopsTheService) {
  ASSERT_NO_FATAL_FAILURE(Start());
  mUnit.SendText(Peer::kProcessMonitor, kStatusTopic, std::string(GetParam().json));
  ExpectStopByAssertion(GetParam().assertion);
}

INSTANTIATE_TEST_SUITE_P(
    Status, SystemStatusStopTest,
    testing::Values(
        StopCase{"Array", "[]", "doc.IsObject()"}, StopCase{"Text", "\"Okay\"", "doc.IsObject()"},
        StopCase{"StatusNumber", R"({"SystemStatus":1})", "vSysStatus.IsString()"},
        StopCase{"StatusNull", R"({"SystemStatus":null})", "vSysStatus.IsString()"},
        StopCase{"DecoderText", R"({"SystemStatus":"Okay","DolbyDecoder":"Processing"})",
                 "vDolbyDec.IsObject()"},
        StopCase{"DecoderStateNumber", R"({"SystemStatus":"Okay","DolbyDecoder":{"State":1}})",
                 "vState.IsString()"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
