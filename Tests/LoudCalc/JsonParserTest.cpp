// The dispatcher: the effect of each topic.

#include "JsonParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "DispatcherHook.h"
#include "LoudCalcBase.h"
#include "LoudConfigUser.h"
#include "LoudnessData.h"
#include "ReportingState.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

constexpr char kConfiguration[] =
    R"json({"OriginFromFp":true,"ClusterId":4,"LraWindow":60,"LoudnessStandard":"EBU R128 (+9)",)json"
    R"json("LoudnessWindow":"Custom","AlarmTolerance":1,"Alarm":"Over","ReferenceLevel":-23,)json"
    R"json("Mode":"Manual","LoudnessWindowTime":30,"UserID":11})json";

// A preset with one cluster of meters 1 and 2, both with this channel and input.
std::string Preset(const char* firstSpeaker, const char* secondSpeaker, const char* input = "MADI",
                   int channel = 1, const char* extra = "") {
  const auto meter = [&](int number, const char* speaker) {
    return "\"" + std::to_string(number) + R"(":{"Speaker":")" + speaker +
           R"(","Source":{"Type":")" + input + R"(","Channel":)" + std::to_string(channel) + "}}";
  };
  return R"({"Clusters":[{"FirstMeter":1,"NumberOfMeters":2}],"MeterSet":{)" +
         meter(1, firstSpeaker) + "," + meter(2, secondSpeaker) +
         R"(},"SystemClockSource":{"Type":"Internal"})" + extra + "}";
}

class JsonParserTest : public testing::Test {
 protected:
  JsonParserTest() {
    cLcReactor::GetInstance();
    parser_ = cJsonParser::GetInstance();
    LoudCalcInit();
    ServeMeterSet(1);
  }

  ~JsonParserTest() override { LoudCalcCleanup(); }

  static void ServeMeterSet(std::uint32_t meterSet) {
    cJsonParser::SetMeterSetNo(meterSet);
    cJsonParser::SetClusterNo(1);
    Logger::GetInstance()->mConsoleAttached = true;
    Logger::GetInstance()->mLogLevel = MsgLevel_Debug;
  }

  // Passes one message to the dispatcher and stores its output in `out_` and `err_`.
  int Send(const std::string& topic, const char* payload) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int result = cJsonParser::ParseMessage(topic.c_str(), payload);
    out_ = testing::internal::GetCapturedStdout();
    err_ = testing::internal::GetCapturedStderr();
    return result;
  }

  int Send(const std::string& topic, const std::string& payload) {
    return Send(topic, payload.c_str());
  }

  int SendCommand(const std::string& command, int cluster = 1) {
    return Send("AppIOQVLoudnessCmd-1",
                R"({"Command":")" + command + R"(","ClusterId":)" + std::to_string(cluster) + "}");
  }

  int SendRaw(const std::vector<std::string>& frames, const char* topic = "ProbeLuRawData-1") {
    zmsg_t* message = zmsg_new();
    for (const std::string& frame : frames)
      zmsg_addmem(message, frame.data(), frame.size());
    testing::internal::CaptureStderr();
    const int result = cJsonParser::ParseBinaryMessage(topic, message);
    err_ = testing::internal::GetCapturedStderr();
    zmsg_destroy(&message);
    return result;
  }

  template <typename T>
  static std::string Frame(const std::vector<T>& entries) {
    return std::string(reinterpret_cast<const char*>(entries.data()), entries.size() * sizeof(T));
  }

  // A full raw message in which every meter has the same peak and power.
  static std::vector<std::string> Block(std::uint32_t peak, std::uint64_t power) {
    return {Frame(std::vector<std::uint32_t>(32, peak)),
            Frame(std::vector<std::uint64_t>(32, power)), "x"};
  }

  cJsonParser* parser_ = nullptr;
  std::string out_;
  std::string err_;
};

// --- the instance and the topic ---

TEST(JsonParserInstanceTest, WithoutAnInstanceNothingIsParsed) {
  EXPECT_EQ(-1, cJsonParser::ParseMessage("HwmStatusOrRequest", ""));
  EXPECT_EQ(-1, cJsonParser::ParseBinaryMessage("ProbeLuRawData-1", nullptr));
}

TEST_F(JsonParserTest, GlobalPointerMirrorsTheInstance) {
  EXPECT_EQ(cJsonParser::mpJsonParser, gpJsonParser);
  EXPECT_EQ(parser_, cJsonParser::GetInstance());
  EXPECT_EQ(cLcReactor::mpReactor, cJsonParser::mpReactor);
}

TEST_F(JsonParserTest, TheEngineFetchesTheDispatcherWithoutBeingToldOfIt) {
  EXPECT_EQ(parser_, gpFetchedDispatcher);
}

TEST_F(JsonParserTest, WithoutATopicTheLoopEnds) {
  EXPECT_EQ(-1, cJsonParser::ParseMessage(nullptr, "{}"));
  EXPECT_EQ(-1, cJsonParser::ParseBinaryMessage(nullptr, nullptr));
}

TEST_F(JsonParserTest, UnknownTopicIsWarnedOf) {
  EXPECT_EQ(0, Send("Nonsense", "{}"));
  EXPECT_THAT(err_, HasSubstr("|WARN|JsonParser|"));
  EXPECT_THAT(err_, HasSubstr("|\"Topic Nonsense not handled\""));
}

TEST_F(JsonParserTest, EveryTopicTakesAMessageWithoutData) {
  for (const char* topic : {"AppIOQVLoudnessCmd-1", "HbAppCmd", "HbSysStatusEvent",
                            "AppProbeSetLuConf-1", "HwmStatusOrRequest", "QVProbeOptInputDataCmd",
                            "AppProbeIOMatrixStream-1", "AppLoudnessCmd", ""})
    EXPECT_EQ(0, Send(topic, nullptr)) << topic;
}

TEST_F(JsonParserTest, HardwareStatusIsAcceptedAndIgnored) {
  EXPECT_EQ(0, Send("HwmStatusOrRequest", "anything"));
  EXPECT_EQ("", out_ + err_);
}

// --- commands ---

TEST_F(JsonParserTest, CommandTopicMustBeThatOfTheMeterSet) {
  const char start[] = R"({"Command":"Start","ClusterId":1})";
  for (const char* topic : {"AppIOQVLoudnessCmd-12", "AppIOQVLoudnessCmd-2", "AppIOQVLoudnessCmd-",
                            "xAppIOQVLoudnessCmd-1"}) {
    EXPECT_EQ(0, Send(topic, start));
    EXPECT_EQ(0u, gluCalcActions) << topic;
    EXPECT_EQ("", out_) << topic;
  }
  ServeMeterSet(12);
  Send("AppIOQVLoudnessCmd-12", start);
  EXPECT_EQ(0x103u, gluCalcActions);
}

// Meter set 2 treats every topic that contains the configuration prefix as a configuration.
TEST_F(JsonParserTest, TopicThatContainsTwoTextsBelongsToTheFirstInTheOrderOfTheTopics) {
  ServeMeterSet(2);
  EXPECT_EQ(0, Send("AppProbeSetLuConf-AppIOQVLoudnessCmd-", kConfiguration));
  EXPECT_EQ("", out_ + err_) << "a command for another meter set";
  EXPECT_EQ(0u, gluCalcActions);
  EXPECT_EQ(0, Send("AppProbeIOMatrixStream-AppProbeSetLuConf-", kConfiguration));
  EXPECT_THAT(out_, HasSubstr("\"Mode ")) << "an accepted configuration";
  EXPECT_EQ(0x103u, gluCalcActions);
}

TEST_F(JsonParserTest, AcceptedCommandPrintsItsLines) {
  Send("AppIOQVLoudnessCmd-1", R"({"Command":"Start","ClusterId":1,"UserID":5,"CmdTS":6})");
  EXPECT_THAT(
      out_,
      MatchesRegex("JsonParser\\|[0-9]+\\| \"AppIOQVLoudnessCmd-1\\\\n\\\\"
                   "\\{\"Command\":\"Start\",\"ClusterId\":1,\"UserID\":5,\"CmdTS\":6\\}\\\\n\"\n"
                   "JsonParser\\|[0-9]+\\| \"AppIOQVLoudnessCmd-1\\\\n\\\\ parsed\\\\n\"\n"
                   "\n\tLoudness command \n\t\tLuCmd: Start : 3\n\t\tLuUID: 5 , CmdTS6\n"
                   "JsonParser\\|[0-9]+\\| \"Mode 0, 1\"\n"));
  EXPECT_EQ("", err_);
}

TEST_F(JsonParserTest, RefusedCommandIsLoggedAndChangesNothing) {
  gluCalcActions = 0x100;
  Send("AppIOQVLoudnessCmd-1", R"({"Command":7,"ClusterId":1})");
  EXPECT_THAT(out_, HasSubstr("\"AppIOQVLoudnessCmd-1\\n\\ failed parsing 1 : 1\\n\"\n"));
  EXPECT_EQ(0x100u, gluCalcActions);
}

TEST_F(JsonParserTest, CommandForAnotherClusterIsRefused) {
  SendCommand("Start", 2);
  EXPECT_THAT(out_, HasSubstr("failed parsing 1 : 2\\n\"\n"));
  EXPECT_EQ(0u, gluCalcActions);
}

TEST_F(JsonParserTest, CommandForClusterZeroIsTakenByEveryCluster) {
  for (std::uint32_t cluster = 0; cluster <= 8; ++cluster) {
    cJsonParser::SetClusterNo(cluster);
    gluCalcActions = 0;
    SendCommand("Start", 0);
    EXPECT_EQ(0x103u, gluCalcActions) << cluster;
  }
}

TEST_F(JsonParserTest, CommandWithoutAClusterCountsAsForClusterZero) {
  Send("AppIOQVLoudnessCmd-1", R"({"Command":"Start"})");
  EXPECT_EQ(0x103u, gluCalcActions);
}

TEST_F(JsonParserTest, RefusedCommandForClusterZeroIsLoggedOnce) {
  Send("AppIOQVLoudnessCmd-1", R"({"Command":7,"ClusterId":0})");
  const std::string line = "failed parsing 1 : 0\\n\"\n";
  ASSERT_THAT(out_, HasSubstr(line));
  EXPECT_EQ(out_.find(line), out_.rfind(line));
  EXPECT_EQ(0u, gluCalcActions);
}

TEST_F(JsonParserTest, CommandOfAClusterDoesNotReachAProcessWithoutOne) {
  cJsonParser::SetClusterNo(0);
  SendCommand("Start", 2);
  EXPECT_THAT(out_, HasSubstr("parsed"));
  EXPECT_EQ(0u, gluCalcActions);
}

TEST_F(JsonParserTest, UnknownCommandIsNamedAndChangesNothing) {
  gluCalcActions = 0x100;
  SendCommand("Wait");
  EXPECT_THAT(out_, HasSubstr("\"Topic AppIOQVLoudnessCmd-1 :: Unknown commad 0\"\n"));
  EXPECT_EQ(0x100u, gluCalcActions);
}

TEST_F(JsonParserTest, CommandUsesTheConfiguredModeAndTheLastCommand) {
  Send("AppProbeSetLuConf-1", kConfiguration);  // "Manual"
  gluCalcActions = 0x100;
  SendCommand("Stop");
  EXPECT_EQ(0x004u, gluCalcActions);
  gluCalcActions = 0;
  cJsonParser::SetLastExecutedCmd(LU_CMD_STOP, 1);
  SendCommand("Play");
  EXPECT_EQ(0x103u, gluCalcActions);
}

TEST_F(JsonParserTest, StopInContinuousModeChangesNothing) {
  gluCalcActions = 0x100;
  SendCommand("Stop");
  EXPECT_EQ(0x100u, gluCalcActions);
}

TEST_F(JsonParserTest, CommandUserFallsBackToTheConfigurationUser) {
  Send("AppIOQVLoudnessCmd-1", R"({"Command":"Start","ClusterId":1})");
  EXPECT_EQ(0u, cLcReactor::GetCmdUserId());
  cLcReactor::SetConfUserId(9);
  Send("AppIOQVLoudnessCmd-1", R"({"Command":"Start","ClusterId":1})");
  EXPECT_EQ(9u, cLcReactor::GetCmdUserId());
  Send("AppIOQVLoudnessCmd-1", R"({"Command":"Start","ClusterId":1,"UserID":5})");
  EXPECT_EQ(5u, cLcReactor::GetCmdUserId());
}

TEST_F(JsonParserTest, CommandOriginIsKept) {
  Send("AppIOQVLoudnessCmd-1", R"({"Command":"Start","ClusterId":1,"OriginFromFp":true})");
  EXPECT_TRUE(IsOriginFromFP4Cmd());
  SendCommand("Start");
  EXPECT_FALSE(IsOriginFromFP4Cmd());
}

// --- application commands and system status ---

TEST_F(JsonParserTest, ApplicationCommandsToUpgradeAndRebootEndTheLoop) {
  for (const char* command : {"100", "9"}) {
    EXPECT_EQ(-1, Send("HbAppCmd", std::string("{\"Command\":") + command + "}"));
    EXPECT_THAT(err_, HasSubstr(std::string("|WARN|JsonParser|")));
    EXPECT_THAT(err_, HasSubstr(std::string("|\"Got app command ") + command + ". Exiting ...\""));
  }
}

TEST_F(JsonParserTest, OtherApplicationCommandsAreIgnored) {
  EXPECT_EQ(0, Send("HbAppCmd", "{\"Command\":8}"));
  EXPECT_EQ("", out_ + err_);
}

TEST_F(JsonParserTest, UnreadableApplicationCommandIsLogged) {
  for (const char* payload : {"", "{}", "[]", "{\"Command\":\"9\"}", "{\"Command\":-1}"}) {
    EXPECT_EQ(0, Send("HbAppCmd", payload));
    EXPECT_THAT(err_, HasSubstr("|ERROR|JsonParser|")) << payload;
    EXPECT_THAT(err_, HasSubstr("|\"Failed to parse application.\"")) << payload;
  }
}

TEST_F(JsonParserTest, ApplicationCommandTopicMustBeExact) {
  EXPECT_EQ(0, Send("HbAppCmd1", "{\"Command\":9}"));
  EXPECT_THAT(err_, HasSubstr("not handled"));
}

TEST_F(JsonParserTest, SystemStatusIsKept) {
  EXPECT_EQ(0, Send("HbSysStatusEvent", "{\"SystemStatus\":\"Okay\"}"));
  EXPECT_TRUE(cJsonParser::GetSysStatus());
  EXPECT_THAT(err_, HasSubstr("Got System status Okay 1."));
  EXPECT_EQ(0, Send("HbSysStatusEvent", "{}"));
  EXPECT_FALSE(cJsonParser::GetSysStatus());
}

TEST_F(JsonParserTest, SystemStatusLooksForTheDolbyDecoder) {
  Send("HbSysStatusEvent", R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})");
  EXPECT_TRUE(cJsonParser::mbDolbyDecoderDetected);
}

// --- configurations ---

TEST_F(JsonParserTest, AcceptedConfigurationTakesEffectAndRestarts) {
  gluCalcActions = 0x01C;
  EXPECT_EQ(0, Send("AppProbeSetLuConf-1", kConfiguration));
  EXPECT_THAT(out_, MatchesRegex("JsonParser\\|[0-9]+\\| \"Mode 1\"\n"));
  EXPECT_EQ(LOUD_WIN_TYPE_INTEGRATED, GetLuWinType());
  EXPECT_EQ(LOUD_MODE_START_STOP, GetLuMode());
  EXPECT_EQ(60u, GetLraWinTime());
  EXPECT_EQ(30u, GetIntegWinTime());
  EXPECT_TRUE(IsOriginFromFP4Conf());
  EXPECT_EQ(11u, cLcReactor::GetConfUserId());
  EXPECT_EQ(11u, cLcReactor::GetCmdUserId());
  EXPECT_EQ(0x103u, gluCalcActions);
}

TEST_F(JsonParserTest, AcceptedConfigurationIsKeptInItsEnvelope) {
  Send("AppProbeSetLuConf-1", kConfiguration);
  EXPECT_EQ(
      std::string("{\"ClusterId\":1,\"MeterSet\":1,\"UID\":11,\"Conf\":") + kConfiguration + "}",
      gsLuConf);
}

TEST_F(JsonParserTest, EnvelopeKeepsAtMost1022Characters) {
  std::string padded = kConfiguration;
  padded.insert(1, std::string(2000, ' '));
  Send("AppProbeSetLuConf-1", padded);
  EXPECT_EQ(1022u, std::string(gsLuConf).size());
  EXPECT_EQ('\0', gsLuConf[1023]);
}

TEST_F(JsonParserTest, ShorterConfigurationLeavesNothingOfALongerOne) {
  std::string padded = kConfiguration;
  padded.insert(1, std::string(500, ' '));
  Send("AppProbeSetLuConf-1", padded);
  Send("AppProbeSetLuConf-1", kConfiguration);
  for (std::size_t i = std::string(gsLuConf).size(); i < kLuConfSize; ++i)
    ASSERT_EQ('\0', gsLuConf[i]) << i;
}

TEST_F(JsonParserTest, RefusedConfigurationIsLoggedAndKeepsTheSettings) {
  Send("AppProbeSetLuConf-1", kConfiguration);
  const std::string envelope = gsLuConf;
  gluCalcActions = 0x100;
  Send("AppProbeSetLuConf-1", R"({"LraWindow":99,"LoudnessWindowTime":99})");
  EXPECT_THAT(out_, MatchesRegex("JsonParser\\|[0-9]+\\| \"AppProbeSetLuConf-1\\\\n\\\\ failed "
                                 "parsing\\\\n\"\n"));
  EXPECT_EQ(60u, GetLraWinTime());
  EXPECT_EQ(30u, GetIntegWinTime());
  EXPECT_EQ(envelope, gsLuConf);
  EXPECT_EQ(0x100u, gluCalcActions);
}

TEST_F(JsonParserTest, CommandsGoByTheModeOfARefusedConfiguration) {
  constexpr char kStopCommand[] = R"({"ClusterId":0,"Command":"Stop"})";
  Send("AppProbeSetLuConf-1", kConfiguration);
  gluCalcActions = 0x100;
  Send("AppProbeSetLuConf-1", "[]");  // not an object, which resets nothing
  Send("AppIOQVLoudnessCmd-1", kStopCommand);
  EXPECT_EQ(0x004u, gluCalcActions);
  gluCalcActions = 0x100;
  Send("AppProbeSetLuConf-1", "{}");
  Send("AppIOQVLoudnessCmd-1", kStopCommand);
  EXPECT_EQ(0x100u, gluCalcActions) << "Continuous again";
  EXPECT_EQ(LOUD_MODE_START_STOP, GetLuMode()) << "the setting in force";
  EXPECT_THAT(gsLuConf, HasSubstr("Manual"));
}

TEST_F(JsonParserTest, ConfigurationsAreTakenByTheRuleOfTheTwoMeterSets) {
  const struct {
    std::uint32_t meterSet;
    const char* topic;
    bool taken;
  } kCases[] = {
      {1, "AppProbeSetLuConf-1", true},   {1, "AppProbeSetLuConf-2", false},
      {1, "AppProbeSetLuConf-11", false}, {2, "AppProbeSetLuConf-1", false},
      {2, "AppProbeSetLuConf-2", true},   {2, "AppProbeSetLuConf-7", true},
      {2, "AppProbeSetLuConf-12", true},  {2, "AppProbeSetLuConf-", true},
      {3, "AppProbeSetLuConf-1", false},  {3, "AppProbeSetLuConf-3", false},
      {0, "AppProbeSetLuConf-0", false},  {0, "AppProbeSetLuConf-1", false},
  };
  for (const auto& row : kCases) {
    ServeMeterSet(row.meterSet);
    gluCalcActions = 0;
    Send(row.topic, kConfiguration);
    EXPECT_EQ(row.taken ? 0x103u : 0u, gluCalcActions) << row.meterSet << " " << row.topic;
    EXPECT_EQ(row.taken, !out_.empty()) << row.meterSet << " " << row.topic;
  }
}

// --- reporting on and off ---

TEST_F(JsonParserTest, ReportingIsEnabledByTheWordTrueAnywhere) {
  const struct {
    const char* payload;
    std::uint32_t enabled;
  } kCases[] = {{"{\"Enable\":true}", 1}, {"untrue", 1}, {"false", 0}, {"TRUE", 0}, {"", 0},
                {"falsetrue", 1}};
  for (const auto& row : kCases) {
    glEnableProbeData = row.enabled == 0 ? 1 : 0;
    EXPECT_EQ(0, Send("QVProbeOptInputDataCmd", row.payload));
    EXPECT_EQ(row.enabled, glEnableProbeData) << row.payload;
    EXPECT_THAT(out_, HasSubstr(std::string("\"QVProbeOptInputDataCmd: ") + row.payload +
                                "   enable " + (row.enabled != 0 ? "true" : "false") + "\"\n"));
  }
}

TEST_F(JsonParserTest, ReportingStaysAsItIsWithoutAPayload) {
  glEnableProbeData = 1;
  Send("QVProbeOptInputDataCmd", nullptr);
  EXPECT_EQ(1u, glEnableProbeData);
  EXPECT_EQ("", out_);
}

// --- presets ---

TEST_F(JsonParserTest, PresetBuildsTheProgrammeFromItsSpeakers) {
  gbIsInvalidSrc = true;
  glInvalidSrcCount = 8;
  Send("AppProbeIOMatrixStream-1", Preset("Left", "LeftSurround"));
  EXPECT_EQ(0x3u, cJsonParser::mlMetersInProgram);
  EXPECT_EQ(1.0, cJsonParser::mChannelWeights[0]);
  EXPECT_EQ(static_cast<double>(1.41f), cJsonParser::mChannelWeights[1]);
  EXPECT_FALSE(gbIsInvalidSrc);
  EXPECT_EQ(0u, glInvalidSrcCount);
  EXPECT_EQ(0x103u, gluCalcActions);
  EXPECT_THAT(out_, MatchesRegex("JsonParser\\|[0-9]+\\| \"#0 cl 1/0  1.000000 -> 0x1 :: "
                                 "1.000000\"\nJsonParser\\|[0-9]+\\| \"#1 cl 1/0  1.410000 -> "
                                 "0x3 :: 1.410000\"\n"));
}

TEST_F(JsonParserTest, LowFrequencyEffectsEnterTheProgrammeWithoutWeight) {
  Send("AppProbeIOMatrixStream-1", Preset("Left", "LowFrequencyEffects"));
  EXPECT_EQ(0x3u, cJsonParser::mlMetersInProgram);
  EXPECT_EQ(0.0, cJsonParser::mChannelWeights[1]);
  for (int block = 0; block < 4; ++block)
    SendRaw({Frame<std::uint32_t>({10, 32768}), Frame<std::uint64_t>({0, 1ull << 60}), "x"});
  EXPECT_EQ(4u, DspPowerSum) << "its power does not count: each block sums to 0, taken as 1";
  EXPECT_EQ(0, LuData.TruePeak) << "its peak counts";
}

TEST_F(JsonParserTest, MetersWithoutChannelOrInputStayOut) {
  Send("AppProbeIOMatrixStream-1", Preset("Left", "Right", "MADI", 0));
  EXPECT_EQ(0u, cJsonParser::mlMetersInProgram);
  Send("AppProbeIOMatrixStream-1", Preset("Left", "Right", "Internal", 1));
  EXPECT_EQ(0u, cJsonParser::mlMetersInProgram);
  EXPECT_EQ("", out_);
  Send("AppProbeIOMatrixStream-1", Preset("Left", "Right", "TOSLINK", 1));
  EXPECT_EQ(0x3u, cJsonParser::mlMetersInProgram);
}

TEST_F(JsonParserTest, PresetOfAnotherClusterMakesTheSourceInvalid) {
  cJsonParser::SetClusterNo(2);
  Send("AppProbeIOMatrixStream-1", Preset("Left", "Right"));
  EXPECT_EQ(0u, cJsonParser::mlMetersInProgram);
  EXPECT_TRUE(gbIsInvalidSrc);
  EXPECT_THAT(out_, HasSubstr("\"#0 cl 2/0  1.000000 -> 0x0 :: 0.000000\"\n"));
}

TEST_F(JsonParserTest, RepublishedPresetKeepsTheProgramme) {
  Send("AppProbeIOMatrixStream-1", Preset("Left", "Right"));
  gluCalcActions = 0x100;
  gbIsInvalidSrc = true;
  Send("AppProbeIOMatrixStream-1", Preset("Left", "None", "MADI", 1, ",\"Repub\":true"));
  EXPECT_EQ(0x3u, cJsonParser::mlMetersInProgram);
  EXPECT_EQ(1.0, cJsonParser::mChannelWeights[1]);
  EXPECT_TRUE(gbIsInvalidSrc);
  EXPECT_EQ(0x103u, gluCalcActions);
  EXPECT_THAT(out_, MatchesRegex("JsonParser\\|[0-9]+\\| \"Preset republished!\\\\n\"\n"));
}

TEST_F(JsonParserTest, RefusedPresetIsLoggedAndEmptiesTheProgramme) {
  Send("AppProbeIOMatrixStream-1", Preset("Left", "Right"));
  for (const char* payload : {"", "no json", "[]", "{}", "{\"MeterSet\":{\"x\":{}}}"}) {
    gluCalcActions = 0x100;
    EXPECT_EQ(0, Send("AppProbeIOMatrixStream-1", payload));
    EXPECT_THAT(err_, HasSubstr("|\"Preset parsing failed so preset is reset to initial state\""));
    EXPECT_EQ(0u, cJsonParser::mlMetersInProgram) << payload;
    EXPECT_TRUE(gbIsInvalidSrc) << payload;
    EXPECT_EQ(0x103u, gluCalcActions) << payload;
  }
}

TEST_F(JsonParserTest, PresetOfAnotherMeterSetIsIgnored) {
  for (const char* topic : {"AppProbeIOMatrixStream-2", "AppProbeIOMatrixStream-11"}) {
    gluCalcActions = 0x100;
    Send(topic, Preset("Left", "Right"));
    EXPECT_EQ(0u, cJsonParser::mlMetersInProgram) << topic;
    EXPECT_EQ(0x100u, gluCalcActions) << topic;
  }
}

TEST_F(JsonParserTest, PresetClearsTheActionsOfAStopAndThenRestarts) {
  gluCalcActions = 0x11F;
  Send("AppProbeIOMatrixStream-1", Preset("Left", "Right"));
  // A stop clears 0x119 and sets 0x004: 0x11F becomes 0x006. A restart clears 0x01C and sets 0x103.
  EXPECT_EQ(0x103u, gluCalcActions);
}

TEST_F(JsonParserTest, LevelledLinesFollowTheThreshold) {
  EXPECT_EQ(MsgLevel_Info, cJsonParser::mLogLevel);
  cJsonParser::SetLogLevel(MsgLevel_Error);
  Send("Nonsense", "{}");
  EXPECT_EQ("", err_);
  Send("HbAppCmd", "{}");
  EXPECT_THAT(err_, HasSubstr("Failed to parse application."));
  cJsonParser::SetLogLevel(MsgLevel_Critical);
  Send("HbAppCmd", "{}");
  EXPECT_EQ("", err_);
}

TEST_F(JsonParserTest, WithoutAReactorCommandsAndConfigurationsStillTakeEffect) {
  cJsonParser::mpReactor = nullptr;
  Send("AppProbeSetLuConf-1", kConfiguration);
  EXPECT_EQ(60u, GetLraWinTime());
  EXPECT_EQ(0u, cLcReactor::GetConfUserId());
  gluCalcActions = 0;
  SendCommand("Start");
  EXPECT_EQ(0x103u, gluCalcActions);
  EXPECT_EQ(0u, cLcReactor::GetCmdUserId());
}

// The lines printed for each kind of message, with the optional lines on and with them off. The
// refused configuration resets the mode to its initial value.
TEST_F(JsonParserTest, SomeConsoleLinesCanBeSwitchedOffAndSomeAreAlwaysWritten) {
  const std::string preset = Preset("Left", "Right");
  const std::string republished = Preset("Left", "Right", "MADI", 1, ",\"Repub\":true");
  const struct {
    const char* topic;
    std::string payload;
    std::vector<std::string> gated;   // parts of the lines that can be switched off
    std::vector<std::string> always;  // parts of the lines that are always written
  } kCases[] = {
      {"AppIOQVLoudnessCmd-1",
       R"({"Command":"Start","ClusterId":1})",
       {R"("AppIOQVLoudnessCmd-1\n\{"Command":"Start","ClusterId":1}\n")",
        R"("AppIOQVLoudnessCmd-1\n\ parsed\n")"},
       {"\tLoudness command ", "\"Mode 0, 1\""}},
      {"AppIOQVLoudnessCmd-1",
       R"({"Command":"Wait","ClusterId":1})",
       {R"("AppIOQVLoudnessCmd-1\n\{"Command":"Wait","ClusterId":1}\n")",
        R"("AppIOQVLoudnessCmd-1\n\ parsed\n")",
        R"("Topic AppIOQVLoudnessCmd-1 :: Unknown commad 0")"},
       {"\tLoudness command ", "\"Mode 0, 1\""}},
      {"AppIOQVLoudnessCmd-1",
       "{}",
       {R"("AppIOQVLoudnessCmd-1\n\{}\n")", R"("AppIOQVLoudnessCmd-1\n\ failed parsing 1 : 0\n")"},
       {}},
      {"AppProbeSetLuConf-1", kConfiguration, {}, {"\"Mode 1\""}},
      {"AppProbeSetLuConf-1", "{}", {R"("AppProbeSetLuConf-1\n\ failed parsing\n")"}, {}},
      {"QVProbeOptInputDataCmd", "true", {}, {R"("QVProbeOptInputDataCmd: true   enable true")"}},
      {"AppProbeIOMatrixStream-1",
       preset,
       {},
       {"\"#0 cl 1/0  1.000000 -> 0x1 :: 1.000000\"",
        "\"#1 cl 1/0  1.000000 -> 0x3 :: 1.000000\""}},
      {"AppProbeIOMatrixStream-1", republished, {R"("Preset republished!\n")"}, {}},
  };
  for (const LogLevel_e level :
       {MsgLevel_Info, MsgLevel_Critical, MsgLevel_None, MsgLevel_Notset}) {
    const bool isGateOpen = level != MsgLevel_None && level != MsgLevel_Notset;
    for (const auto& row : kCases) {
      SCOPED_TRACE(testing::Message() << row.topic << " " << row.payload << " at " << level);
      cJsonParser::SetLogLevel(level);
      Send(row.topic, row.payload);
      for (const std::string& part : row.gated)
        EXPECT_EQ(isGateOpen, out_.find(part) != std::string::npos) << part << " in " << out_;
      for (const std::string& part : row.always)
        EXPECT_THAT(out_, HasSubstr(part));
    }
  }
}

// --- raw blocks ---

class RawMessageTest : public JsonParserTest {
 protected:
  RawMessageTest() { cJsonParser::SetChannelWeight(1, 1.0f); }

  // Blocks since the last reset; the engine counts them during the warm-up only.
  static unsigned Blocks() { return SampleCounts.DspSubSample; }
};

TEST_F(RawMessageTest, BlockRunsTheEngineOnce) {
  EXPECT_EQ(0, SendRaw(Block(100, 5000)));
  EXPECT_EQ(1u, Blocks());
  EXPECT_EQ(5000u, DspPowerSum);
  EXPECT_EQ("", err_);
}

TEST_F(RawMessageTest, SilentBlockCountsAsPowerOne) {
  SendRaw(Block(0, 0));
  EXPECT_EQ(1u, DspPowerSum);
}

TEST_F(RawMessageTest, SilentPeakCountsAsOne) {
  for (int block = 0; block < 4; ++block)
    SendRaw(Block(0, 5000));
  // 20 log10(1) - 90.3087
  EXPECT_EQ(-9031, LuData.TruePeak);
}

TEST_F(RawMessageTest, OnlyTheLow16BitsOfAPeakReachTheEngine) {
  for (int block = 0; block < 4; ++block)
    SendRaw(Block(0x10000u + 32768u, 5000));
  EXPECT_EQ(0, LuData.TruePeak);
}

TEST_F(RawMessageTest, PeakWhoseLow16BitsAreZeroArrivesAsZero) {
  for (int block = 0; block < 4; ++block)
    SendRaw(Block(0x10000u, 5000));
  EXPECT_EQ(-9900, LuData.TruePeak);
}

TEST_F(RawMessageTest, AnyTopicContainingTheTextIsTaken) {
  SendRaw(Block(1, 1), "xxProbeLuRawData-77");
  EXPECT_EQ(1u, Blocks());
}

TEST_F(RawMessageTest, TopicWithoutAMeterSetIsNotHandled) {
  EXPECT_EQ(0, SendRaw(Block(1, 1), "LoudnessDspData"));
  EXPECT_EQ(0u, Blocks());
  EXPECT_THAT(err_, HasSubstr("|\"Topic LoudnessDspData not handled\""));
}

TEST_F(RawMessageTest, BlockWithAMissingFrameIsDroppedAndLogged) {
  const std::vector<std::string> full = Block(1, 1);
  for (std::size_t frames = 0; frames < 3; ++frames) {
    EXPECT_EQ(0, SendRaw({full.begin(), full.begin() + static_cast<long>(frames)}));
    EXPECT_EQ(0u, Blocks()) << frames;
    EXPECT_THAT(err_, HasSubstr("Raw loudness data dropped: a frame is missing")) << frames;
  }
}

TEST_F(RawMessageTest, BlockWithAnEmptyFrameIsDroppedAndLogged) {
  for (std::size_t empty = 0; empty < 3; ++empty) {
    std::vector<std::string> frames = Block(1, 1);
    frames[empty].clear();
    EXPECT_EQ(0, SendRaw(frames));
    EXPECT_EQ(0u, Blocks()) << empty;
    EXPECT_THAT(err_, HasSubstr("Raw loudness data dropped: frames of ")) << empty;
  }
}

TEST_F(RawMessageTest, BlockTooShortForAMeterIsDroppedAndLogged) {
  cJsonParser::SetChannelWeight(32, 1.0f);
  std::vector<std::string> frames = Block(1, 1);
  frames[1].pop_back();
  EXPECT_EQ(0, SendRaw(frames));
  EXPECT_EQ(0u, Blocks());
  EXPECT_THAT(err_, HasSubstr("Raw loudness data dropped: frames of 128, 255 and 1 bytes"));
}

TEST_F(RawMessageTest, ShortBlockThatHoldsItsMetersIsUsed) {
  SendRaw({Frame<std::uint32_t>({7}), Frame<std::uint64_t>({9}), "x"});
  EXPECT_EQ(9u, DspPowerSum);
}

TEST_F(RawMessageTest, HugeFramesAndFurtherFramesAreUsed) {
  std::vector<std::string> frames = Block(1, 3);
  for (std::string& frame : frames)
    frame.resize(1 << 20, 'x');
  frames.push_back("more");
  SendRaw(frames);
  EXPECT_EQ(3u, DspPowerSum);
}

TEST_F(RawMessageTest, WithoutAProgrammeFramesAreNotRead) {
  cJsonParser::ResetLu();
  EXPECT_EQ(0, SendRaw({}));
  EXPECT_EQ(0, SendRaw(Block(1, 1)));
  EXPECT_EQ(0u, Blocks());
  EXPECT_EQ("", err_);
}

TEST_F(RawMessageTest, ReaderTellsADroppedBlockFromAnUsedOne) {
  zframe_t* full = zframe_new(std::string(256, '\1').data(), 256);
  zframe_t* empty = zframe_new_empty();
  EXPECT_FALSE(cJsonParser::ParseLoudnessRawData(full, full, nullptr));
  EXPECT_EQ(0u, Blocks());
  EXPECT_TRUE(cJsonParser::ParseLoudnessRawData(full, full, empty));
  EXPECT_EQ(0u, Blocks());
  EXPECT_FALSE(cJsonParser::ParseLoudnessRawData(full, full, full));
  EXPECT_EQ(1u, Blocks());
  zframe_destroy(&full);
  zframe_destroy(&empty);
}

// --- weights ---

TEST_F(JsonParserTest, ChannelWeightPutsAMeterIntoTheProgramme) {
  cJsonParser::SetChannelWeight(32, 1.41f);
  EXPECT_EQ(0x80000000u, cJsonParser::mlMetersInProgram);
  EXPECT_EQ(static_cast<double>(1.41f), cJsonParser::mChannelWeights[31]);
  cJsonParser::ResetChannelWeight();
  EXPECT_EQ(0.0, cJsonParser::mChannelWeights[31]);
  EXPECT_EQ(0x80000000u, cJsonParser::mlMetersInProgram);
  cJsonParser::SetChannelWeight(1, 1.5f);
  cJsonParser::ResetLu();
  EXPECT_EQ(0u, cJsonParser::mlMetersInProgram);
  EXPECT_EQ(0.0, cJsonParser::mChannelWeights[0]);
}

TEST(SpeakerWeightTest, SurroundsWeighMoreAndFurtherPositionsDoNotCount) {
  const std::vector<float> expected = {0, 1, 1, 1, 0, 1.41f, 1.41f, 1.41f, 1.41f, 1,
                                       0, 0, 0, 0, 0, 0,     0,     0,     0,     0};
  EXPECT_THAT(LoudnessSpeakerWeight, testing::ElementsAreArray(expected));
}

class JsonParserDeathTest : public JsonParserTest {
 protected:
  JsonParserDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(JsonParserDeathTest, MeterOutOfRangeStopsTheProcess) {
  const char text[] = "\\(\\(meterNo > 0\\) && \\(meterNo <= \\(\\(32\\)\\)\\)\\)";
  EXPECT_DEATH(cJsonParser::SetChannelWeight(0, 1.0f), text);
  EXPECT_DEATH(cJsonParser::SetChannelWeight(33, 1.0f), text);
}

TEST_F(JsonParserDeathTest, WeightOutOfRangeStopsTheProcess) {
  const char text[] = "\\(\\(weight >= 0\\.0\\) && \\(weight <= 1\\.5\\)\\)";
  EXPECT_DEATH(cJsonParser::SetChannelWeight(1, -0.1f), text);
  EXPECT_DEATH(cJsonParser::SetChannelWeight(1, 1.6f), text);
}

TEST_F(JsonParserDeathTest, MissingMessageStopsTheProcess) {
  EXPECT_DEATH(cJsonParser::LoudnessRawDataParser(nullptr), "nullptr != pMessage");
}

}  // namespace
