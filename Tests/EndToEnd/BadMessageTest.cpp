// Text messages that the service must survive, and the few that must stop it.

#include "BadInputTest.h"

namespace {

using louddesk::Peer;
using louddesk::PublishedCodes;

/// A command as good as any, made `size` bytes long by an unknown member.
std::string GoodCommandOf(std::size_t size) {
  const std::string begin = R"({"ClusterId":1,"Command":"Reset","Remark":")";
  const std::string end = R"("})";
  return begin + std::string(size - begin.size() - end.size(), 'x') + end;
}

struct MessageCase {
  const char* name;
  Peer peer;
  Texts frames;
  const char* line;  // what the service says to it; empty: nothing
};

void PrintTo(const MessageCase& message, std::ostream* stream) {
  *stream << message.name;
}

/// Messages that change nothing.
class HarmlessMessageTest : public BadInputTest, public testing::WithParamInterface<MessageCase> {};

TEST_P(HarmlessMessageTest, LeavesTheMeasurementAlone) {
  const auto before = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(before);
  MarkCadence();
  const std::size_t lines = mService->LineCount();

  mUnit.SendFrames(GetParam().peer, FramesOf(GetParam().frames));

  if (*GetParam().line != '\0') {
    EXPECT_TRUE(mService->WaitForLine(GetParam().line, kPatience, lines)) << GetParam().line;
  }
  ExpectCadenceKept();
  const auto after = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(after);
  EXPECT_EQ(PublishedCodes(before->data), PublishedCodes(after->data))
      << "the measurement was restarted";
  EXPECT_EQ(before->command, after->command);
  ExpectMeasures(-30);
}

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

INSTANTIATE_TEST_SUITE_P(
    UnknownTopics, HarmlessMessageTest,
    testing::Values(MessageCase{"AppLoudnessCmd",
                                Peer::kMainAppServer,
                                {"AppLoudnessCmd", "{}"},
                                "\"Topic AppLoudnessCmd not handled\""},
                    MessageCase{"LongerMonitorTopic",
                                Peer::kProcessMonitor,
                                {"HbAppCmds", "{\"Command\":9}"},
                                "\"Topic HbAppCmds not handled\""},
                    MessageCase{"LongerStatusTopic",
                                Peer::kProcessMonitor,
                                {"HbSysStatusEvents", "[]"},
                                "\"Topic HbSysStatusEvents not handled\""},
                    MessageCase{"LongerHardwareTopic",
                                Peer::kHardwareManager,
                                {"HwmStatusOrRequest2", "{}"},
                                "\"Topic HwmStatusOrRequest2 not handled\""},
                    MessageCase{"LongerEnableTopic",
                                Peer::kOpticalAppServer,
                                {"QVProbeOptInputDataCmd2", "false"},
                                "\"Topic QVProbeOptInputDataCmd2 not handled\""},
                    MessageCase{"TopicOfAQuarterMegabyte",
                                Peer::kProcessMonitor,
                                {[] { return "HbAppCmd" + std::string(1u << 18, 'x'); }, "{}"},
                                "\"Message dropped: topic of 262152 bytes\""},
                    MessageCase{"TopicWithFormat",
                                Peer::kProcessMonitor,
                                {"HbAppCmd%s%n%s", "{}"},
                                "\"Topic HbAppCmd%s%n%s not handled\""},
                    MessageCase{"PresetOfMeterSetTwelve",
                                Peer::kMainAppServer,
                                {"AppProbeIOMatrixStream-12", "{}"},
                                ""},
                    MessageCase{"CommandOfMeterSetTwelve",
                                Peer::kMainAppServer,
                                {"AppIOQVLoudnessCmd-12", R"({"ClusterId":1,"Command":"Reset"})"},
                                ""},
                    MessageCase{"ConfigurationOfMeterSetTwelve",
                                Peer::kMainAppServer,
                                {"AppProbeSetLuConf-12", louddesk::LoudnessConfiguration().Json()},
                                ""}),
    NameOf<MessageCase>);

INSTANTIATE_TEST_SUITE_P(
    TopicsAlone, HarmlessMessageTest,
    testing::Values(
        MessageCase{"Command", Peer::kMainAppServer, {kCommandTopic}, kCommandRefused},
        MessageCase{
            "Configuration", Peer::kMainAppServer, {kConfigurationTopic}, kConfigurationRefused},
        MessageCase{"ApplicationCommand",
                    Peer::kProcessMonitor,
                    {kMonitorTopic},
                    kApplicationCommandRefused},
        MessageCase{"SystemStatus", Peer::kProcessMonitor, {kStatusTopic}, kStatusRefused},
        MessageCase{"HardwareStatus", Peer::kHardwareManager, {kHardwareTopic}, ""},
        MessageCase{"EnableReporting", Peer::kOpticalAppServer, {kEnableTopic}, ""},
        MessageCase{"AppLoudnessCmd",
                    Peer::kMainAppServer,
                    {"AppLoudnessCmd"},
                    "\"Topic AppLoudnessCmd not handled\""}),
    NameOf<MessageCase>);

INSTANTIATE_TEST_SUITE_P(
    EmptyPayloads, HarmlessMessageTest,
    testing::Values(
        MessageCase{"Command", Peer::kMainAppServer, {kCommandTopic, ""}, kCommandRefused},
        MessageCase{"Configuration",
                    Peer::kMainAppServer,
                    {kConfigurationTopic, ""},
                    kConfigurationRefused},
        MessageCase{"ApplicationCommand",
                    Peer::kProcessMonitor,
                    {kMonitorTopic, ""},
                    kApplicationCommandRefused},
        MessageCase{"SystemStatus", Peer::kProcessMonitor, {kStatusTopic, ""}, kStatusRefused},
        MessageCase{"HardwareStatus", Peer::kHardwareManager, {kHardwareTopic, ""}, ""}),
    NameOf<MessageCase>);

INSTANTIATE_TEST_SUITE_P(
    BadPayloads, HarmlessMessageTest,
    testing::Values(
        MessageCase{"CommandArray", Peer::kMainAppServer, {kCommandTopic, "[]"}, kCommandRefused},
        MessageCase{"CommandNumber",
                    Peer::kMainAppServer,
                    {kCommandTopic, R"({"ClusterId":1,"Command":5})"},
                    "AppIOQVLoudnessCmd-1\\n\\ failed parsing 1 : 1\\n\""},
        MessageCase{"CommandOfAnotherCluster",
                    Peer::kMainAppServer,
                    {kCommandTopic, R"({"ClusterId":2,"Command":"Reset"})"},
                    "AppIOQVLoudnessCmd-1\\n\\ failed parsing 1 : 2\\n\""},
        MessageCase{"UnknownCommand",
                    Peer::kMainAppServer,
                    {kCommandTopic, R"({"ClusterId":1,"Command":"Wait"})"},
                    "\"Topic AppIOQVLoudnessCmd-1 :: Unknown commad 0\""},
        MessageCase{
            "DeepCommand", Peer::kMainAppServer, {kCommandTopic, DeepArray}, kCommandRefused},
        MessageCase{"ConfigurationArray",
                    Peer::kMainAppServer,
                    {kConfigurationTopic, "[]"},
                    kConfigurationRefused},
        MessageCase{"EmptyConfiguration",
                    Peer::kMainAppServer,
                    {kConfigurationTopic, "{}"},
                    kConfigurationRefused},
        MessageCase{"DeepConfiguration",
                    Peer::kMainAppServer,
                    {kConfigurationTopic, [] { return Repeat("{\"Mode\":", kDeep); }},
                    kConfigurationRefused},
        MessageCase{"ApplicationCommandText",
                    Peer::kProcessMonitor,
                    {kMonitorTopic, R"({"Command":"9"})"},
                    kApplicationCommandRefused},
        MessageCase{"ApplicationCommandFraction",
                    Peer::kProcessMonitor,
                    {kMonitorTopic, R"({"Command":9.0})"},
                    kApplicationCommandRefused},
        MessageCase{"ApplicationCommandOfSomebodyElse",
                    Peer::kProcessMonitor,
                    {kMonitorTopic, R"({"Command":4})"},
                    ""},
        MessageCase{"DeepApplicationCommand",
                    Peer::kProcessMonitor,
                    {kMonitorTopic, DeepArray},
                    kApplicationCommandRefused},
        MessageCase{"StatusIsNoJson",
                    Peer::kProcessMonitor,
                    {kStatusTopic, "Okay"},
                    "\"Not a valid json string Okay.\""},
        MessageCase{
            "StatusWithoutStatus", Peer::kProcessMonitor, {kStatusTopic, "{}"}, kStatusRefused},
        MessageCase{"DeepUnclosedStatus",
                    Peer::kProcessMonitor,
                    {kStatusTopic, DeepUnclosedArray},
                    kStatusRefused},
        MessageCase{"DeepStatus", Peer::kProcessMonitor, {kStatusTopic, DeepArray}, kStatusRefused},
        MessageCase{"CommandOverTheLargestSize",
                    Peer::kMainAppServer,
                    {kCommandTopic, [] { return GoodCommandOf(256 * 1024 + 1); }},
                    "\"Topic AppIOQVLoudnessCmd-1 dropped: more than 262144 bytes\""},
        MessageCase{"EnableWithManyFrames",
                    Peer::kOpticalAppServer,
                    {kEnableTopic, "untrue", "false", "false"},
                    "enable true"}),
    NameOf<MessageCase>);

// ---- Broken contracts with the process monitor ----

struct StopCase {
  const char* name;
  Text json;
  const char* assertion;
};

void PrintTo(const StopCase& stop, std::ostream* stream) {
  *stream << stop.name;
}

class SystemStatusStopTest : public RunningService, public testing::WithParamInterface<StopCase> {};

TEST_P(SystemStatusStopTest, StopsTheService) {
  ASSERT_NO_FATAL_FAILURE(Start());
  mUnit.SendText(Peer::kProcessMonitor, kStatusTopic, GetParam().json.Make());
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
    NameOf<StopCase>);

}  // namespace
