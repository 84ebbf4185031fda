// The desk tool's subcommand `unit` against the shipped service.

#include <sndfile.h>

#include <csignal>

#include "RunningService.h"
#include "TestAudio.h"

namespace {

using louddesk::Peer;
using test_audio::Samples;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

using Arguments = std::vector<std::string>;

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
constexpr int kSampleRate = 48000;

constexpr char kQuick[] = "50";  // times real time

class UnitCommandTest : public testing::Test {
 protected:
  void StartService() {
    mService = std::make_unique<ServiceProcess>(LOUDCALC_BINARY, Arguments{"-m", "1", "-c", "1"});
  }

  void StartUnit(Arguments arguments) {
    arguments.insert(arguments.begin(), "unit");
    mUnit = std::make_unique<ServiceProcess>(LOUDDESK_BINARY, arguments);
  }

  /// Waits for the end of the unit, which must come by itself, with that status.
  void ExpectEnd(int status) {
    const auto report = mUnit->WaitForExit(kPatience);
    ASSERT_TRUE(report) << "still running";
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(status, report->status) << mUnit->StandardError();
  }

  /// The unit ends with status 1 and says one line that contains `text`, nothing else.
  void ExpectRefusal(const std::string& text) {
    ExpectEnd(1);
    const std::string errors = mUnit->StandardError();
    EXPECT_THAT(errors, AllOf(testing::StartsWith("LoudDesk: "), HasSubstr(text)));
    EXPECT_EQ(1, std::count(errors.begin(), errors.end(), '\n')) << errors;
    EXPECT_EQ("", mUnit->StandardOutput());
  }

  /// The value of a final figure, as text.
  std::string Final(const std::string& name, const std::string& unit) {
    for (const OutputLine& line : mUnit->Lines()) {
      const std::string& text = line.text;
      if (line.isError || text.rfind(name + " ", 0) != 0)
        continue;
      const std::size_t begin = text.find_first_not_of(' ', name.size());
      const std::size_t end = text.find(' ', begin);
      EXPECT_EQ(unit, text.substr(end + 1));
      return text.substr(begin, end - begin);
    }
    ADD_FAILURE() << "no " << name << " in\n" << mUnit->StandardOutput();
    return "";
  }

  /// A sine of 997 Hz on all channels, peaks at `levelDb`.
  std::string Tone(const std::string& name, double seconds, double levelDb, std::size_t channels) {
    const auto frames = static_cast<std::size_t>(seconds * kSampleRate);
    const Samples tone = test_audio::Sine(test_audio::Amplitude(levelDb), 997, kSampleRate, frames);
    return mAudio.Write(name, kFloatWav, kSampleRate, channels,
                        test_audio::Repeated(tone, channels));
  }

  test_audio::AudioDirectory mAudio;
  std::unique_ptr<ServiceProcess> mService;
  std::unique_ptr<ServiceProcess> mUnit;
};

TEST_F(UnitCommandTest, ShowsTheFiguresOfTheService) {
  StartService();
  // A sine has half the power of its peak; two front channels double it: the loudness is the level
  // of the peaks (EBU Tech 3341, case 1).
  StartUnit({Tone("tone.wav", 20, -23, 2), "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("", mUnit->StandardError());
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
  EXPECT_EQ("-23.0", Final("Programme loudness", "LKFS"));
  EXPECT_EQ("-23.0", Final("Momentary", "LKFS"));
  EXPECT_EQ("-23.0", Final("Maximum momentary", "LKFS"));
  EXPECT_EQ("-23.0", Final("Short-term", "LKFS"));
  EXPECT_EQ("0.0", Final("Loudness range", "LU"));
  EXPECT_NEAR(-23.0, std::stod(Final("True peak", "dBTP")), 0.02);
  EXPECT_NEAR(-23.0, std::stod(Final("Maximum true peak", "dBTP")), 0.02);
  EXPECT_EQ("20.0", Final("Duration", "s"));
}

TEST_F(UnitCommandTest, ShowsALineASecondIntoAPipe) {
  StartService();
  StartUnit({Tone("tone.wav", 2.5, -23, 2)});
  ExpectEnd(0);
  std::vector<std::string> live;
  for (const OutputLine& line : mUnit->Lines())
    if (line.text.find("LKFS  LRA") != std::string::npos)
      live.push_back(line.text);
  // 2.5 s of material and half a second in which the last blocks are waited for.
  EXPECT_THAT(live.size(), testing::AllOf(testing::Ge(3u), testing::Le(5u)));
  EXPECT_THAT(live.back(), MatchesRegex(" +[0-9.]+ s  M -23.0  S -23.0  I -23.0 LKFS  LRA  0.0 LU  "
                                        "TP -2[23].[0-9]+ dBTP"));
  EXPECT_THAT(mUnit->StandardOutput(), Not(HasSubstr("\r")));
}

TEST_F(UnitCommandTest, SilenceHasNoReadings) {
  StartService();
  StartUnit({mAudio.Write("silence.wav", kFloatWav, kSampleRate, 1, Samples(5 * kSampleRate)),
             "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("-", Final("Integrated loudness", "LKFS"));
  EXPECT_EQ("-", Final("Short-term", "LKFS"));
  EXPECT_EQ("0.0", Final("Loudness range", "LU"));
}

TEST_F(UnitCommandTest, SpeakersDecideTheWeights) {
  StartService();
  // Two surrounds weigh 1.41 each: 10 log10 1.41 = 1.49 above two front speakers.
  StartUnit(
      {Tone("tone.wav", 5, -23, 2), "--speed", kQuick, "--speakers", "LeftSurround,RightSurround"});
  ExpectEnd(0);
  EXPECT_EQ("-21.5", Final("Integrated loudness", "LKFS"));
}

TEST_F(UnitCommandTest, FilesOfTheSameSpeakersAreMeasuredOn) {
  StartService();
  const std::string tone = Tone("tone.wav", 3, -23, 2);
  StartUnit({tone, tone, "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("6.0", Final("Duration", "s"));
}

TEST_F(UnitCommandTest, FilesOfOtherSpeakersStartAnew) {
  StartService();
  StartUnit({Tone("loud.wav", 3, -10, 2), Tone("soft.wav", 4, -30, 1), "--speed", kQuick});
  ExpectEnd(0);
  const std::string output = mUnit->StandardOutput();
  EXPECT_EQ("-10.0", Final("Integrated loudness", "LKFS"));
  // One channel reads 3.01 below two.
  EXPECT_THAT(output, HasSubstr("Integrated loudness     -33.0 LKFS"));
  EXPECT_THAT(output, HasSubstr("Maximum momentary       -33.0 LKFS"));
  EXPECT_THAT(output, HasSubstr("Duration                  4.0 s"));
}

TEST_F(UnitCommandTest, ServiceCanBePlayedToAgain) {
  StartService();
  for (const double level : {-20.0, -30.0}) {
    StartUnit({Tone("tone.wav", 3, level, 2), "--speed", kQuick});
    ExpectEnd(0);
    EXPECT_EQ(level, std::stod(Final("Maximum momentary", "LKFS")));
  }
}

TEST_F(UnitCommandTest, OtherClustersAreServed) {
  mService = std::make_unique<ServiceProcess>(LOUDCALC_BINARY, Arguments{"-m", "1", "-c", "8"});
  StartUnit({Tone("tone.wav", 3, -23, 2), "--speed", kQuick, "--cluster", "8"});
  ExpectEnd(0);
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
}

TEST_F(UnitCommandTest, InterruptEndsWithTheFiguresSoFar) {
  StartService();
  StartUnit({Tone("long.wav", 60, -23, 2)});
  ASSERT_TRUE(mUnit->WaitForLine("M -23.0", kPatience));
  mUnit->Signal(SIGINT);
  ExpectEnd(0);
  EXPECT_EQ("-23.0", Final("Momentary", "LKFS"));
  EXPECT_LT(std::stod(Final("Duration", "s")), 59);
}

TEST_F(UnitCommandTest, MissingFileIsOneLine) {
  StartUnit({mAudio.Path("missing.wav")});
  ExpectRefusal("missing.wav: ");
}

TEST_F(UnitCommandTest, NonAudioFileIsOneLine) {
  StartUnit({mAudio.WriteBytes("words.wav", "no audio at all")});
  ExpectRefusal("words.wav: ");
}

TEST_F(UnitCommandTest, ChannelsWithoutUsualSpeakersNeedThemNamed) {
  StartUnit({Tone("three.wav", 1, -23, 3)});
  ExpectRefusal("--speakers");
}

TEST_F(UnitCommandTest, NothingIsPlayedWhenOneFileIsBad) {
  StartService();
  StartUnit({Tone("tone.wav", 1, -23, 2), mAudio.Path("missing.wav")});
  ExpectRefusal("missing.wav: ");
}

TEST_F(UnitCommandTest, MissingServiceIsOneLine) {
  StartUnit({Tone("tone.wav", 1, -23, 2), "--wait", "0.2"});
  ExpectRefusal("no service has subscribed in time; start LoudCalc -m 1 -c 1");
}

TEST_F(UnitCommandTest, ServiceOfAnotherClusterIsOneLine) {
  StartService();
  ASSERT_TRUE(mService->WaitForLine("addQVAppserverMq", kPatience));
  StartUnit({Tone("tone.wav", 1, -23, 2), "--wait", "2", "--cluster", "2"});
  ExpectRefusal("no publisher of loudness data");
}

TEST_F(UnitCommandTest, HeldPlaceIsOneLineThatNamesTheHolder) {
  louddesk::UnitStandIn holder(1, 1);
  holder.Open(Peer::kMainAppServer);
  StartUnit({Tone("tone.wav", 1, -23, 2)});
  ExpectRefusal("cannot bind " + holder.EndpointOf(Peer::kMainAppServer) +
                ": held by UnitCommandTest (process " + std::to_string(getpid()) + ")");
}

TEST_F(UnitCommandTest, HeldIpcPlaceIsNotTakenOver) {
  louddesk::UnitStandIn holder(1, 1);
  holder.Open(Peer::kLogSink);
  StartUnit({Tone("tone.wav", 1, -23, 2)});
  ExpectRefusal("loggerSinkMq.ipc: held by UnitCommandTest (process ");
}

TEST_F(UnitCommandTest, EndOfTheServiceIsOneLine) {
  StartService();
  StartUnit({Tone("long.wav", 60, -23, 2)});
  ASSERT_TRUE(mUnit->WaitForLine("M -23.0", kPatience));
  mService->Signal(SIGKILL);
  ExpectEnd(1);
  EXPECT_EQ("LoudDesk: the service has fallen silent\n", mUnit->StandardError());
}

struct OptionCase {
  const char* name;
  Arguments options;
};

class UnitOptionTest : public UnitCommandTest, public testing::WithParamInterface<OptionCase> {};

TEST_P(UnitOptionTest, IsRefused) {
  Arguments arguments = GetParam().options;
  arguments.push_back(mAudio.Path("missing.wav"));
  StartUnit(arguments);
  const auto report = mUnit->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_NE(0, report->status);
  EXPECT_THAT(mUnit->StandardError(), HasSubstr(GetParam().options.front()));
  EXPECT_THAT(mUnit->StandardError(), Not(HasSubstr("missing.wav")));
}

INSTANTIATE_TEST_SUITE_P(Options, UnitOptionTest,
                         testing::Values(OptionCase{"SpeedZero", {"--speed", "0"}},         //
                                         OptionCase{"SpeedNegative", {"--speed", "-1"}},    //
                                         OptionCase{"SpeedWord", {"--speed", "fast"}},      //
                                         OptionCase{"ClusterZero", {"--cluster", "0"}},     //
                                         OptionCase{"ClusterNine", {"--cluster", "9"}},     //
                                         OptionCase{"MeterSetZero", {"--meter-set", "0"}},  //
                                         OptionCase{"MeterSetTwo", {"--meter-set", "2"}},   //
                                         OptionCase{"UnknownSpeaker",
                                                    {"--speakers", "Left,Middle"}}),
                         [](const auto& option) { return option.param.name; });

}  // namespace
