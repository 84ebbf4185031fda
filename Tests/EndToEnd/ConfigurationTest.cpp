// Loudness configurations: restart, envelope, republication and refusals.

#include "WatchedService.h"

namespace {

using louddesk::LoudnessConfiguration;
using louddesk::Peer;

using Texts = std::vector<std::string>;

constexpr char kTopic[] = "AppProbeSetLuConf-1";
constexpr char kCommandRepublished[] = "IOQVHwmLoudnessCmd_Repub_1";
constexpr char kConfigurationRepublished[] = "IOQVHwmSetLoudnessConfiguration_Repub_1";

const Texts kRestart = {"0x103 --> 0x101", "0x101 --> 0x100"};

/// The lines about an accepted configuration.
Speech Accepted(int mode) {
  return {{Printed("JsonParser", "\"Mode " + std::to_string(mode) + "\"")}, {}};
}

/// The lines about a refused configuration.
Speech Refused() {
  return {{Printed("JsonParser", "\"AppProbeSetLuConf-1\\n\\ failed parsing\\n\"")}, {}};
}

std::string JsonOfUser(unsigned user) {
  LoudnessConfiguration configuration;
  configuration.userId = user;
  return configuration.Json();
}

/// A valid configuration with `from` replaced by `to`.
std::string Altered(const std::string& from, const std::string& to) {
  std::string json = JsonOfUser(3);
  const std::size_t place = json.find(from);
  EXPECT_NE(std::string::npos, place) << from;
  return json.replace(place, from.size(), to);
}

class ConfigurationTest : public WatchedService {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(StartWatched()); }

  /// Measures and drops all earlier output.
  void Measure() {
    StartMeasuring();
    ExpectTransitions(kRestart);
    Hear();
  }

  /// Expects the restart that an accepted configuration causes.
  void ExpectRestart(const std::string& json, unsigned user, unsigned timeStamp = 0) {
    ExpectTransitions(kRestart);
    ExpectAcknowledged("Reset", timeStamp, user);
    ExpectAnswer(ConfigurationTopic(), Envelope(json, user));
    ExpectAcknowledged("Start", timeStamp, user);
  }

  void ExpectRepublished(const std::string& topic, const std::string& json) {
    const auto state = NextRepublication(kPatience);
    ASSERT_TRUE(state) << "instead of " << topic;
    EXPECT_EQ(topic, state->topic);
    EXPECT_EQ(json, state->json);
  }
};

// ---- Accepted ----

TEST_F(ConfigurationTest, AcceptedOneRestartsAndIsPublishedInItsEnvelope) {
  Measure();
  ExpectMeasures(-20);
  const std::vector<int> measured = SettledFigures();
  EXPECT_EQ(Accepted(0), SayTo(kTopic, JsonOfUser(77)));
  ExpectRestart(JsonOfUser(77), 77);
  MessageRun before;
  before.figures = measured;
  before.command = LU_CMD_START;
  MessageRun after = before;
  after.figures = kNoFigures;
  std::vector<MessageRun> runs = RunsUntil(after);
  if (!runs.empty() && IsSameKind(before, runs.front()))
    runs.erase(runs.begin());  // sent before the configuration arrived
  ASSERT_EQ(1u, runs.size()) << testing::PrintToString(runs);
  EXPECT_TRUE(IsSameKind(after, runs.front())) << testing::PrintToString(runs);
}

TEST_F(ConfigurationTest, PayloadIsPublishedUnchanged) {
  Measure();
  const std::string json =
      "  { \"UserID\" : 3,\t\"Unknown\":[1, 2.50, {\"\\u00e4\":\"\xC3\xA4\"}],\n"
      "\"LoudnessWindowTime\":7200,\"Mode\":\"Continuous\",\"ReferenceLevel\":-23,"
      "\"Alarm\":\"Off\",\"AlarmTolerance\":-1,\"LoudnessWindow\":\"Custom\","
      "\"LoudnessStandard\":\"EBU R128 (+18)\",\"LraWindow\":0,\"ClusterId\":4} ";
  EXPECT_EQ(Accepted(0), SayTo(kTopic, json));
  ExpectRestart(json, 3);
}

TEST_F(ConfigurationTest, LongPayloadIsCutInItsEnvelope) {
  Measure();
  const std::string json = Altered("{", "{\"Comment\":\"" + std::string(2000, 'c') + "\",");
  SayTo(kTopic, json);
  ExpectAcknowledged("Reset", 0, 3);
  // 1023 bytes with the terminator.
  ExpectAnswer(ConfigurationTopic(), Envelope(json, 3).substr(0, 1022));
  ExpectAcknowledged("Start", 0, 3);
}

TEST_F(ConfigurationTest, MissingUserKeepsTheOneBefore) {
  Measure();
  SayTo(kTopic, JsonOfUser(9));
  ExpectRestart(JsonOfUser(9), 9);
  const std::string json = Altered(",\"UserID\":3", "");
  SayTo(kTopic, json);
  ExpectRestart(json, 9);
}

TEST_F(ConfigurationTest, MissingUserIsThatOfARefusedOneBefore) {
  Measure();
  SayTo(kTopic, JsonOfUser(9));
  ExpectRestart(JsonOfUser(9), 9);
  EXPECT_EQ(Refused(), SayTo(kTopic, Altered("\"LraWindow\":9,", "")));  // from user 3
  const std::string json = Altered(",\"UserID\":3", "");
  SayTo(kTopic, json);
  ExpectRestart(json, 3);
}

TEST_F(ConfigurationTest, KeepsTheStampOfTheLastCommand) {
  Measure();
  SayTo("AppIOQVLoudnessCmd-1", R"({"ClusterId":1,"Command":"Print","CmdTS":8,"UserID":4})");
  SayTo(kTopic, JsonOfUser(5));
  ExpectRestart(JsonOfUser(5), 5, 8);
}

TEST_F(ConfigurationTest, ModeDecidesWhetherAStopIsTaken) {
  Measure();
  struct {
    const char* mode;
    int value;
  } const cases[] = {
      {"Manual", 1}, {"Sometimes", 0}, {"NotManualAtAll", 1}, {"manual", 0}, {"", 0}};
  for (const auto& [mode, value] : cases) {
    SCOPED_TRACE(mode);
    const std::string json = Altered("Continuous", mode);
    EXPECT_EQ(Accepted(value), SayTo(kTopic, json));
    ExpectRestart(json, 3);
    SendCommand("Stop");
    Hear();
    if (value == 1) {
      ExpectTransitions({"0x4 --> 0x0"});
      ExpectAcknowledged("Stop", 0, 3);
    }
  }
  ExpectNoAnswer();
}

TEST_F(ConfigurationTest, WindowOfIntegratedLoudnessIsAtLeastASecond) {
  Measure();
  LoudnessConfiguration configuration;
  configuration.loudnessWindowTime = 0;
  SendConfiguration(configuration);
  ExpectAcknowledgement("Start");
  Feed(13, -20);  // three blocks of warm-up and a second
  Feed(20, -25);
  // The last second has readings of the second level only; the figure is refreshed at the seventh
  // block. -25 LKFS per channel, weights 3 x 1 + 2 x 1.41: 10 log10 5.82 = 7.65 above it.
  ExpectData([](const auto& message) { return std::abs(message.data.Integrated - -174) <= 1; },
             "the integrated loudness of the last second");
}

TEST_F(ConfigurationTest, WaitsWhileReportingIsOff) {
  EXPECT_EQ(Accepted(0), SayTo(kTopic, JsonOfUser(1)));
  EXPECT_EQ(Accepted(1), SayTo(kTopic, Altered("Continuous", "Manual")));
  ExpectNoAnswer();
  ExpectNoTransition();
  EnableReporting();
  ExpectRestart(Altered("Continuous", "Manual"), 3);
}

TEST_F(ConfigurationTest, StartsDataEvenBeforeAnyPreset) {
  EnableReporting();
  SayTo(kTopic, JsonOfUser(1));
  ExpectRestart(JsonOfUser(1), 1);
  MessageRun reset;
  reset.figures = kNoFigures;
  MessageRun running = reset;
  running.command = LU_CMD_START;
  auto runs = RunsUntil(running);
  ASSERT_FALSE(runs.empty());
  running.count = runs.back().count;
  EXPECT_EQ((std::vector<MessageRun>{reset, running}), runs);
}

// ---- Refused and for others ----

TEST_F(ConfigurationTest, RefusedOnesArePrintedAndChangeNothing) {
  SayTo(kTopic, JsonOfUser(6));
  Measure();
  ExpectMeasures(-20);
  const std::vector<int> measured = SettledFigures();
  mUnit.DropStates();
  const std::optional<std::string> payloads[] = {
      std::nullopt,
      "",
      "[]",
      "{}",
      "null",
      JsonOfUser(3) + "}",
      "[" + JsonOfUser(3) + "]",
      Altered("\"ClusterId\":1,", ""),
      Altered("\"ClusterId\":1", "\"ClusterId\":-1"),
      Altered("\"LraWindow\":9,", ""),
      Altered("\"LraWindow\":9", "\"LraWindow\":9.0"),
      Altered("\"LoudnessStandard\":\"ITU BS1770-3\"", "\"LoudnessStandard\":7"),
      Altered("\"LoudnessWindow\":\"Momentary\",", ""),
      Altered("\"LoudnessWindow\":\"Momentary\"", "\"LoudnessWindow\":null"),
      Altered("\"AlarmTolerance\":2,", ""),
      Altered("\"AlarmTolerance\":2", "\"AlarmTolerance\":\"2\""),
      Altered("\"Alarm\":\"Both\",", ""),
      Altered("\"Alarm\":\"Both\"", "\"Alarm\":true"),
      Altered("\"ReferenceLevel\":-24,", ""),
      Altered("\"ReferenceLevel\":-24", "\"ReferenceLevel\":-23.0"),
      Altered("\"Mode\"", "\"mode\""),
      Altered("\"LoudnessWindowTime\":3,", ""),
      Altered("\"LoudnessWindowTime\":3", "\"LoudnessWindowTime\":4294967296"),
  };
  for (const auto& payload : payloads) {
    SCOPED_TRACE(payload.value_or("no payload"));
    EXPECT_EQ(Refused(), SayTo(kTopic, payload));
  }
  ExpectNoAnswer();
  ExpectNoTransition();
  EXPECT_EQ(measured, SettledFigures());
  // The last valid configuration is still in force: the next start publishes it.
  SendCommand("Start");
  ExpectRestart(JsonOfUser(6), 6);
}

TEST_F(ConfigurationTest, ForeignAndLookAlikeTopicsAreIgnoredSilently) {
  Measure();
  for (const char* topic :
       {"AppProbeSetLuConf-12", "AppProbeSetLuConf-1 ", "AppProbeSetLuConf-1AppProbeSetLuConf-1",
        "AppLoudnessCmdAppProbeSetLuConf-1", "HbAppCmd AppProbeSetLuConf-2"}) {
    SCOPED_TRACE(topic);
    EXPECT_EQ(Speech{}, SayTo(topic, JsonOfUser(3)));
  }
  ExpectNoAnswer();
  ExpectNoTransition();
}

TEST_F(ConfigurationTest, ClusterInsideIsNotAnAddress) {
  Measure();
  const std::string json = Altered("\"ClusterId\":1", "\"ClusterId\":7");
  EXPECT_EQ(Accepted(0), SayTo(kTopic, json));
  ExpectRestart(json, 3);
}

// ---- Republication ----

TEST_F(ConfigurationTest, FollowsTheCommandEveryFifthSecondUnlessTheSourceIsInvalid) {
  SayTo(kTopic, JsonOfUser(4));
  SendPreset(louddesk::PresetForSpeakers({"Left"}, 2).Json());
  Hear();
  mUnit.DropStates();  // republished earlier
  ExpectRepublished(kCommandRepublished, Acknowledgement("None", 0, 4));
  TakeHeartbeats();
  EXPECT_FALSE(mUnit.NextState(4 * kPeriod)) << "the configuration, too";
  Measure();
  ExpectRepublished(kCommandRepublished, Acknowledgement("Start", 0, 4));
  ExpectRepublished(kConfigurationRepublished, Envelope(JsonOfUser(4), 4));
  EXPECT_NEAR(5, TakeHeartbeats(), 1);  // on a busy machine one may fall before or after a state
  const auto state = mUnit.NextState(4 * kPeriod);
  EXPECT_FALSE(state) << state->topic;
}

}  // namespace
