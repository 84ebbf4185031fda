// Presets: the programme and its weights, republications, invalid sources and refusals.

#include <cmath>

#include "WatchedService.h"

namespace {

using louddesk::LoudnessMessage;
using louddesk::Preset;

using Texts = std::vector<std::string>;

constexpr char kTopic[] = "AppProbeIOMatrixStream-1";
constexpr char kUnit[] = "JsonParser";

const Texts kRestart = {"0x103 --> 0x101", "0x101 --> 0x100"};

Preset Republished(Preset preset) {
  preset.isRepublished = true;
  return preset;
}

Preset WithoutClock(Preset preset) {
  preset.clock.reset();
  return preset;
}

/// The line about a meter that has a channel and an input.
std::string MeterLine(int meter, int ownCluster, int cluster, const char* weight,
                      const char* meters, const char* weightInForce) {
  return Printed(kUnit, "\"#" + std::to_string(meter) + " cl " + std::to_string(ownCluster) + "/" +
                            std::to_string(cluster) + "  " + weight + " -> " + meters +
                            " :: " + weightInForce + "\"");
}

/// Ten messages of a source without a meter; the first five are marked valid.
std::vector<MessageRun> InvalidSourceRuns(int cluster = 1) {
  MessageRun marked;
  marked.figures = kNoFigures;
  marked.cluster = cluster;
  marked.count = 5;
  MessageRun unmarked = marked;
  unmarked.validSource = 0;
  return {marked, unmarked};
}

/// A service with reporting on.
class PresetTest : public WatchedService {
 protected:
  using WatchedService::WatchedService;

  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartWatched());
    EnableReporting();
    Hear();
  }

  Speech SendPresetDocument(const Preset& preset) { return SayTo(kTopic, preset.Json()); }

  void ExpectRestart() {
    ExpectTransitions(kRestart);
    ExpectAcknowledged("Reset");
    ExpectAcknowledged("Start");
  }

  /// Publishes eight blocks in which all 32 meters have this level and meter n has the peak 1000 n.
  void FeedAllMeters(double lkfs) {
    louddesk::BlockReading block;
    for (std::size_t meter = 0; meter < block.powers.size(); ++meter) {
      block.powers[meter] = PowerOf(lkfs);
      block.peaks[meter] = static_cast<std::uint32_t>(1000 * (meter + 1));
    }
    for (int i = 0; i < 8; ++i)
      mUnit.SendRaw(block);
  }

  /// Code of a peak: its level relative to 32768, in hundredths of dBTP.
  static int PeakCode(double peak) {
    return static_cast<int>(std::lround(2000 * std::log10(peak / 32768)));
  }
};

// ---- Accepted ----

TEST_F(PresetTest, TakesTheMetersOfItsClusterWithTheWeightsOfTheirSpeakers) {
  Preset preset;
  preset.clusters = {{1, 5}, {6, 2}, {9, 0}};
  preset.meters = {{1, "Left", 1, "MADI"},
                   {2, "LowFrequencyEffects", 2, "AoIP"},
                   {3, "LeftSurround", 0, "AES"},    // no channel
                   {4, "RightSurround", 4, "None"},  // no input
                   {5, "Somewhere", 5, "Dolby"},
                   {6, "MonoSurround", 6, "SDI"},
                   {7, "BackSurroundLeft", 7, "TOSLINK"},
                   {32, "Right", -1, "Analog"}};
  const Speech speech = SendPresetDocument(preset);
  const Speech expected = {{MeterLine(0, 1, 0, "1.000000", "0x1", "1.000000"),
                            MeterLine(1, 1, 0, "0.000000", "0x3", "0.000000"),
                            MeterLine(4, 1, 0, "0.000000", "0x13", "0.000000"),
                            MeterLine(5, 1, 1, "1.000000", "0x13", "0.000000"),
                            MeterLine(6, 1, 1, "1.410000", "0x13", "0.000000"),
                            MeterLine(31, 1, -1, "1.000000", "0x13", "0.000000")},
                           {}};
  EXPECT_EQ(expected, speech);
  ExpectRestart();
}

TEST_F(PresetTest, RestartsARunningMeasurement) {
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  ExpectMeasures(-20);
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  EXPECT_EQ(kNoFigures, SettledFigures());
  ExpectMeasures(-30);
}

TEST_F(PresetTest, ReplacesAPauseThatWaits) {
  SendPresetDocument(louddesk::PresetForSpeakers({"Left"}, 1));
  ExpectRestart();
  EnableReporting(false);
  SendCommand("Pause");
  SendPresetDocument(louddesk::PresetForSpeakers({"Left"}, 1));
  EnableReporting();
  ExpectRestart();
  ExpectNoAnswer();
}

TEST_F(PresetTest, StartsAfterAStop) {
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  louddesk::LoudnessConfiguration configuration;
  configuration.mode = "Manual";
  SendConfiguration(configuration);
  ExpectAcknowledgement("Start");
  SendCommand("Stop");
  ExpectAcknowledged("Stop");
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectAcknowledgement("Start");
  ExpectMeasures(-20);
}

struct SpeakerCase {
  const char* speaker;
  double weight;
};

void PrintTo(const SpeakerCase& speaker, std::ostream* stream) {
  *stream << speaker.speaker;
}

std::string NameOfSpeaker(const testing::TestParamInfo<SpeakerCase>& info) {
  return std::string(info.param.speaker) + (info.param.weight > 0 ? "Counts" : "DoesNotCount");
}

/// A programme of meter 3 alone, among meters of other clusters that are louder.
class SpeakerTest : public PresetTest, public testing::WithParamInterface<SpeakerCase> {};

TEST_P(SpeakerTest, WeighsInTheFigures) {
  Preset preset;
  preset.clusters = {{3, 1}, {1, 2}, {4, 29}};
  for (int meter = 1; meter <= 32; ++meter)
    preset.meters.push_back({meter, meter == 3 ? GetParam().speaker : "Left", meter});
  SendPresetDocument(preset);
  ExpectRestart();
  FeedAllMeters(-20);
  ExpectData([](const LoudnessMessage& message) { return message.data.TruePeak != -9900; },
             "the peak");
  const std::vector<int> figures = SettledFigures();
  const int momentary =
      GetParam().weight > 0
          ? static_cast<int>(std::lround(10 * (-20 + 10 * std::log10(GetParam().weight))))
          : -990;
  EXPECT_EQ(momentary, figures[1]);
  // The peak counts even if the power does not.
  EXPECT_EQ(PeakCode(3000), figures[7]);
}

// Surrounds have weight 1.41, that is 1.49 dB: -18.5 instead of -20 LKFS.
INSTANTIATE_TEST_SUITE_P(
    Speakers, SpeakerTest,
    testing::Values(SpeakerCase{"Left", 1}, SpeakerCase{"Right", 1}, SpeakerCase{"Center", 1},
                    SpeakerCase{"LowFrequencyEffects", 0}, SpeakerCase{"LeftSurround", 1.41},
                    SpeakerCase{"RightSurround", 1.41}, SpeakerCase{"BackSurroundLeft", 1.41},
                    SpeakerCase{"BackSurroundRight", 1.41}, SpeakerCase{"MonoSurround", 1},
                    SpeakerCase{"left", 0}),
    NameOfSpeaker);

TEST_F(PresetTest, ChannelsOfTheProgrammeAdd) {
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  FeedAllMeters(-30);
  ExpectData([](const LoudnessMessage& message) { return message.data.TruePeak != -9900; },
             "the peak");
  const std::vector<int> figures = SettledFigures();
  // Weights 3 x 1 + 0 + 2 x 1.41: 10 log10 5.82 = 7.65 above -30 LKFS, which is between two codes.
  EXPECT_THAT(figures[1], testing::AnyOf(-223, -224));
  EXPECT_EQ(PeakCode(6000), figures[7]);
}

// ---- Republished ----

TEST_F(PresetTest, RepublishedOneKeepsTheProgrammeAndRestarts) {
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  ExpectMeasures(-20);
  const Speech speech = SendPresetDocument(Republished(louddesk::PresetForSpeakers({"Left"}, 2)));
  EXPECT_EQ((Speech{{Printed(kUnit, "\"Preset republished!\\n\"")}, {}}), speech);
  ExpectRestart();
  EXPECT_EQ(kNoFigures, SettledFigures());
  ExpectMeasures(-20);
}

TEST_F(PresetTest, RepublishedOneDoesNotEndAnInvalidSource) {
  SendPresetDocument(louddesk::PresetForSpeakers({"Left"}, 2));
  EXPECT_EQ(InvalidSourceRuns(), RunsUntilSilence());
  SendPresetDocument(Republished(louddesk::PresetForSpeakers({"Left"}, 1)));
  ExpectNoData();
  ExpectNoTransition();
}

TEST_F(PresetTest, RepublishedOneBeforeAnyOtherStartsWithoutAProgramme) {
  const Speech speech =
      SendPresetDocument(Republished(louddesk::PresetForSpeakers(SurroundSpeakers(), 1)));
  EXPECT_EQ((Speech{{Printed(kUnit, "\"Preset republished!\\n\"")}, {}}), speech);
  ExpectRestart();
  Feed(8, -20);
  EXPECT_EQ(kNoFigures, SettledFigures());
}

// ---- Of another cluster, refused, for others ----

TEST_F(PresetTest, OneOfAnotherClusterMakesTheSourceInvalidUntilAGoodOne) {
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  ExpectMeasures(-20);
  const std::vector<int> measured = SettledFigures();

  const Speech speech = SendPresetDocument(louddesk::PresetForSpeakers({"Left", "Right"}, 2));
  EXPECT_EQ((Speech{{MeterLine(0, 1, 1, "1.000000", "0x0", "0.000000"),
                     MeterLine(1, 1, 1, "1.000000", "0x0", "0.000000")},
                    {}}),
            speech);
  std::vector<MessageRun> runs = RunsUntilSilence();
  if (!runs.empty() && runs.front().figures == measured)
    runs.erase(runs.begin());  // published before the preset arrived
  EXPECT_EQ(InvalidSourceRuns(), runs);
  ExpectNoTransition();
  ExpectNoAnswer();

  // The pending actions are carried out now; the last command is None.
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  MessageRun reset;
  reset.figures = kNoFigures;
  MessageRun running = reset;
  running.command = LU_CMD_START;
  runs = RunsUntil(running);
  ASSERT_FALSE(runs.empty());
  running.count = runs.back().count;
  EXPECT_EQ((std::vector<MessageRun>{reset, running}), runs);
  ExpectRestart();
  ExpectMeasures(-25);
}

TEST_F(PresetTest, EveryInvalidOneIsReportedByTenMessages) {
  for (int i = 1; i <= 3; ++i) {
    SendPresetDocument(louddesk::PresetForSpeakers({"Left"}, 3));
    EXPECT_EQ(InvalidSourceRuns(), RunsUntilSilence());
  }
}

TEST_F(PresetTest, CommandsWaitWhileTheSourceIsInvalid) {
  SendPresetDocument(louddesk::PresetForSpeakers({"Left"}, 2));
  EXPECT_EQ(InvalidSourceRuns(), RunsUntilSilence());
  SendCommand("Pause");
  Hear();
  ExpectNoAnswer();
  ExpectNoTransition();
}

TEST_F(PresetTest, RefusedOneIsLoggedAndMakesTheSourceInvalid) {
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  ExpectMeasures(-20);
  const std::vector<int> measured = SettledFigures();
  const Speech speech =
      SendPresetDocument(WithoutClock(louddesk::PresetForSpeakers(SurroundSpeakers(), 1)));
  EXPECT_EQ(
      (Speech{{},
              {Failed(kUnit, "\"Preset parsing failed so preset is reset to initial state\"")}}),
      speech);
  std::vector<MessageRun> runs = RunsUntilSilence();
  if (!runs.empty() && runs.front().figures == measured)
    runs.erase(runs.begin());
  EXPECT_EQ(InvalidSourceRuns(), runs);
  SendPresetDocument(louddesk::PresetForSpeakers(SurroundSpeakers(), 1));
  ExpectRestart();
  ExpectMeasures(-25);
}

TEST_F(PresetTest, RefusedOneIsNotARepublicationWhateverItSays) {
  const Speech speech =
      SendPresetDocument(Republished(WithoutClock(louddesk::PresetForSpeakers({"Left"}, 1))));
  EXPECT_EQ(
      (Speech{{},
              {Failed(kUnit, "\"Preset parsing failed so preset is reset to initial state\"")}}),
      speech);
  EXPECT_EQ(InvalidSourceRuns(), RunsUntilSilence());
}

TEST_F(PresetTest, OneWithoutPayloadIsRefused) {
  EXPECT_EQ(
      (Speech{{},
              {Failed(kUnit, "\"Preset parsing failed so preset is reset to initial state\"")}}),
      SayTo(kTopic, std::nullopt));
  EXPECT_EQ(InvalidSourceRuns(), RunsUntilSilence());
}

TEST_F(PresetTest, ForeignAndLookAlikeTopicsAreIgnoredSilently) {
  const std::string json = louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json();
  for (const char* topic : {"AppProbeIOMatrixStream-12", "AppProbeIOMatrixStream-1 ",
                            "AppProbeIOMatrixStream-1AppProbeIOMatrixStream-1",
                            "AppLoudnessCmdAppProbeIOMatrixStream-1"}) {
    SCOPED_TRACE(topic);
    EXPECT_EQ(Speech{}, SayTo(topic, json));
  }
  ExpectNoTransition();
  ExpectNoData();
}

// ---- The second cluster of the same preset ----

class SecondClusterTest : public PresetTest {
 protected:
  SecondClusterTest() : PresetTest(1, 2) {}
};

TEST_F(SecondClusterTest, TakesItsOwnMeters) {
  Preset preset;
  preset.clusters = {{1, 2}, {3, 1}};
  preset.meters = {{1, "Left", 1}, {2, "Right", 2}, {3, "LeftSurround", 3}};
  const Speech speech = SendPresetDocument(preset);
  EXPECT_EQ((Speech{{MeterLine(0, 2, 0, "1.000000", "0x0", "0.000000"),
                     MeterLine(1, 2, 0, "1.000000", "0x0", "0.000000"),
                     MeterLine(2, 2, 1, "1.410000", "0x4", "1.410000")},
                    {}}),
            speech);
  ExpectRestart();
  FeedAllMeters(-20);
  ExpectData(
      [](const LoudnessMessage& message) {
        // 10 log10 1.41 = 1.49 above -20 LKFS.
        return message.data.Momentary == -185 && message.cluster == 2 && message.validSource == 1;
      },
      "the level of its meter");
}

TEST_F(SecondClusterTest, LaterClusterTakesTheMetersItShares) {
  Preset preset;
  preset.clusters = {{1, 3}, {3, 1}};
  preset.meters = {{1, "Left", 1}, {2, "Right", 2}, {3, "Center", 3}};
  SendPresetDocument(preset);
  ExpectRestart();
  FeedAllMeters(-20);
  ExpectData([](const LoudnessMessage& message) { return message.data.Momentary == -200; },
             "the level of its meter");
}

TEST_F(SecondClusterTest, TellsItsClusterWhileTheSourceIsInvalid) {
  SendPresetDocument(louddesk::PresetForSpeakers({"Left"}, 1));
  EXPECT_EQ(InvalidSourceRuns(2), RunsUntilSilence());
}

}  // namespace
