#include "RunningService.h"

namespace {

using louddesk::Figures;
using louddesk::Frames;
using louddesk::LoudnessMessage;
using louddesk::Peer;
using louddesk::PresetBuilder;

constexpr std::size_t kPeakBytes = 32 * 4;
constexpr std::size_t kPowerBytes = 32 * 8;

constexpr std::size_t kDeep = 1000000;  // brackets

/// `count` times `text`.
std::string Repeat(const std::string& text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i)
    result += text;
  return result;
}

std::string DeepArray() {
  return Repeat("[", kDeep) + Repeat("]", kDeep);
}

std::string GoodPreset() {
  return louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json();
}

/// The good preset with its first `from` replaced by `to`.
std::string Altered(const std::string& from, const std::string& to) {
  std::string preset = GoodPreset();
  const std::size_t place = preset.find(from);
  EXPECT_NE(std::string::npos, place) << from;
  return preset.replace(place, from.size(), to);
}

/// The good preset with one more member of "MeterSet".
std::string WithMeter(const std::string& name) {
  return Altered("\"MeterSet\":{", "\"MeterSet\":{\"" + name + "\":{\"Speaker\":\"Left\"},");
}

/// A service that measures, and goes on to.
class BadInputTest : public RunningService {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Start());
    StartMeasuring();
    ExpectMeasures(-20);
    mUnit.DropLogLines();
    MarkCadence();
  }

  void ExpectMeasuresOn() {
    ExpectCadenceKept();
    ExpectMeasures(-30);
  }
};

// ---- Raw messages ----

struct RawCase {
  const char* name;
  Frames frames;
};

void PrintTo(const RawCase& raw, std::ostream* stream) {
  *stream << raw.name;
}

template <typename Case>
std::string NameOf(const testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

class UnusableRawMessageTest : public BadInputTest, public testing::WithParamInterface<RawCase> {};

TEST_P(UnusableRawMessageTest, IsLoggedAndDropped) {
  mUnit.SendRawFrames(GetParam().frames);
  ExpectLogLine("\"Raw loudness data dropped: ");
  ExpectMeasuresOn();
}

const std::string kPeaks(kPeakBytes, '\1');
const std::string kPowers(kPowerBytes, '\1');

INSTANTIATE_TEST_SUITE_P(
    Frames, UnusableRawMessageTest,
    testing::Values(RawCase{"NoFrames", {}},                           //
                    RawCase{"PeaksOnly", {kPeaks}},                    //
                    RawCase{"PeaksAndPowersOnly", {kPeaks, kPowers}},  //
                    RawCase{"EmptyPeaks", {"", kPowers, "x"}},         //
                    RawCase{"EmptyPowers", {kPeaks, "", "x"}},         //
                    RawCase{"EmptySpare", {kPeaks, kPowers, ""}},      //
                    RawCase{"AllEmpty", {"", "", ""}},                 //
                    RawCase{"PeaksShortOfMeterSix", {kPeaks.substr(0, 23), kPowers, "x"}},
                    RawCase{"PowersShortOfMeterSix", {kPeaks, kPowers.substr(0, 47), "x"}},
                    RawCase{"OneByteEach", {"a", "b", "c"}}),
    NameOf<RawCase>);

class UsableRawMessageTest : public BadInputTest, public testing::WithParamInterface<RawCase> {};

TEST_P(UsableRawMessageTest, IsMeasured) {
  for (int i = 0; i < 8; ++i)
    mUnit.SendRawFrames(GetParam().frames);
  ExpectCadenceKept();
  // Powers of 0x0101010101010101 = 7.234e16: 10 log10 (5.82 x 7.234e16) - 153.388 = 22.9 LKFS.
  ExpectData([](const LoudnessMessage& message) { return message.data.Momentary > 200; },
             "the level of the message");
  ExpectMeasures(-30);
}

constexpr std::size_t kHuge = 32u << 20;  // bytes

INSTANTIATE_TEST_SUITE_P(
    Frames, UsableRawMessageTest,
    testing::Values(
        RawCase{"FramesThatEndWithMeterSix", {kPeaks.substr(0, 24), kPowers.substr(0, 48), "x"}},
        RawCase{"HugeFrames", {std::string(kHuge, '\1'), std::string(kHuge, '\1'), "x"}},
        RawCase{"HugeSpare", {kPeaks, kPowers, std::string(kHuge, 'x')}},
        RawCase{"TenThousandFramesMore",
                [] {
                  Frames frames = {kPeaks, kPowers};
                  frames.resize(10000, "x");
                  return frames;
                }()}),
    NameOf<RawCase>);

// ---- Presets ----

struct PresetCase {
  const char* name;
  std::string json;
};

void PrintTo(const PresetCase& preset, std::ostream* stream) {
  *stream << preset.name;
}

class BadPresetTest : public BadInputTest, public testing::WithParamInterface<PresetCase> {};

TEST_P(BadPresetTest, IsLoggedAndTheNextOneMeasuresOn) {
  mUnit.DropStates();
  SendPreset(GetParam().json);
  SendPreset(GoodPreset());
  ExpectLogLine("\"Preset parsing failed so preset is reset to initial state\"");
  ExpectAcknowledgement("Start");
  ExpectCadenceKept();
  ExpectMeasures(-30);
}

INSTANTIATE_TEST_SUITE_P(
    Presets, BadPresetTest,
    testing::Values(
        PresetCase{"Empty", ""},                  //
        PresetCase{"Words", "no preset at all"},  //
        PresetCase{"CutShort", GoodPreset().substr(0, GoodPreset().size() - 1)},
        PresetCase{"Array", "[" + GoodPreset() + "]"},        //
        PresetCase{"Number", "42"},                           //
        PresetCase{"Null", "null"},                           //
        PresetCase{"EmptyObject", "{}"},                      //
        PresetCase{"DeepArray", DeepArray()},                 //
        PresetCase{"DeepUnclosedArray", Repeat("[", kDeep)},  //
        PresetCase{"DeepObject", Repeat("{\"a\":", kDeep) + "0" + Repeat("}", kDeep)},
        PresetCase{"DeepClusters", Altered("\"Clusters\":[", "\"Clusters\":[" + DeepArray() + ",")},
        PresetCase{"MeterZero", WithMeter("0")},          //
        PresetCase{"MeterThirtyThree", WithMeter("33")},  //
        PresetCase{"NegativeMeter", WithMeter("-1")},     //
        PresetCase{"MeterBeyondTheIntegers", WithMeter("99999999999")},
        PresetCase{"NamedMeter", WithMeter("left")},  //
        PresetCase{"NamelessMeter", WithMeter("")},   //
        PresetCase{"MeterIsNoObject", Altered("\"MeterSet\":{", "\"MeterSet\":{\"7\":7,")},
        PresetCase{"MetersAreAnArray", R"({"Clusters":[],"MeterSet":[],"SystemClockSource":{}})"},
        PresetCase{"ClustersAreAnObject",
                   R"({"Clusters":{},"MeterSet":{},"SystemClockSource":{}})"},
        PresetCase{"NoClock",
                   louddesk::PresetForSpeakers(SurroundSpeakers(), 1).WithoutSystemClock().Json()},
        PresetCase{"PresetWithoutGroup", Altered("{", R"({"Name":{"Preset":"News"},)")},
        PresetCase{"PresetWithGroupOfAnotherType",
                   Altered("{", R"({"Name":{"Preset":"News","Group":7},)")}),
    NameOf<PresetCase>);

// ---- Topics and payloads ----

struct MessageCase {
  const char* name;
  Peer peer;
  Frames frames;
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

  mUnit.SendFrames(GetParam().peer, GetParam().frames);

  if (*GetParam().line != '\0') {
    EXPECT_TRUE(mService->WaitForLine(GetParam().line, kPatience, lines)) << GetParam().line;
  }
  ExpectCadenceKept();
  const auto after = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(after);
  EXPECT_EQ(Figures(before->data), Figures(after->data)) << "the measurement was restarted";
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
                    MessageCase{"TopicOfAMegabyte",
                                Peer::kProcessMonitor,
                                {"HbAppCmd" + std::string(1u << 20, 'x'), "{}"},
                                "not handled"},
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
            "DeepCommand", Peer::kMainAppServer, {kCommandTopic, DeepArray()}, kCommandRefused},
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
                    {kConfigurationTopic, Repeat("{\"Mode\":", kDeep)},
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
                    {kMonitorTopic, DeepArray()},
                    kApplicationCommandRefused},
        MessageCase{"StatusIsNoJson",
                    Peer::kProcessMonitor,
                    {kStatusTopic, "Okay"},
                    "\"Not a valid json string Okay.\""},
        MessageCase{
            "StatusWithoutStatus", Peer::kProcessMonitor, {kStatusTopic, "{}"}, kStatusRefused},
        MessageCase{"DeepUnclosedStatus",
                    Peer::kProcessMonitor,
                    {kStatusTopic, Repeat("[", kDeep)},
                    kStatusRefused},
        MessageCase{"EnableWithManyFrames",
                    Peer::kOpticalAppServer,
                    {kEnableTopic, "untrue", "false", "false"},
                    "enable true"}),
    NameOf<MessageCase>);

// ---- Broken contracts with the process monitor ----

struct StopCase {
  const char* name;
  std::string json;
  const char* assertion;
};

void PrintTo(const StopCase& stop, std::ostream* stream) {
  *stream << stop.name;
}

class SystemStatusStopTest : public RunningService, public testing::WithParamInterface<StopCase> {};

TEST_P(SystemStatusStopTest, StopsTheService) {
  ASSERT_NO_FATAL_FAILURE(Start());
  mUnit.SendText(Peer::kProcessMonitor, kStatusTopic, GetParam().json);
  ExpectStopByAssertion(GetParam().assertion);
}

INSTANTIATE_TEST_SUITE_P(
    Status, SystemStatusStopTest,
    testing::Values(StopCase{"Array", "[]", "doc.IsObject()"},
                    StopCase{"DeepArray", DeepArray(), "doc.IsObject()"},
                    StopCase{"Text", "\"Okay\"", "doc.IsObject()"},
                    StopCase{"StatusNumber", R"({"SystemStatus":1})", "vSysStatus.IsString()"},
                    StopCase{"StatusNull", R"({"SystemStatus":null})", "vSysStatus.IsString()"},
                    StopCase{"DecoderText",
                             R"({"SystemStatus":"Okay","DolbyDecoder":"Processing"})",
                             "vDolbyDec.IsObject()"},
                    StopCase{"DecoderStateNumber",
                             R"({"SystemStatus":"Okay","DolbyDecoder":{"State":1}})",
                             "vState.IsString()"}),
    NameOf<StopCase>);

}  // namespace
