// The desk tool's subcommand `unit` against the shipped service.

#include <csignal>

#include "PlayedUnit.h"

namespace {

using louddesk::Peer;
using test_audio::Samples;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

class UnitCommandTest : public PlayedUnit {};

// A service of the last cluster.
class LastClusterTest : public PlayedUnit {
 protected:
  LastClusterTest() : PlayedUnit(1, 8) {}
};

TEST_F(UnitCommandTest, ShowsTheFiguresOfTheService) {
  StartProcess();
  // A sine has half the power of its peak; two front channels double it: the loudness is the level
  // of the peaks (EBU Tech 3341, case 1).
  StartDesk({Tone("tone.wav", 20, -23, 2), "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("", mDesk->StandardError());
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
  StartProcess();
  StartDesk({Tone("tone.wav", 2.5, -23, 2)});
  ExpectEnd(0);
  std::vector<std::string> live;
  for (const OutputLine& line : mDesk->Lines())
    if (line.text.find("LKFS  LRA") != std::string::npos)
      live.push_back(line.text);
  // 2.5 s of material, and half a second of waiting for the last blocks.
  EXPECT_THAT(live.size(), testing::AllOf(testing::Ge(3u), testing::Le(5u)));
  EXPECT_THAT(live.back(), MatchesRegex(" +[0-9.]+ s  M -23.0  S -23.0  I -23.0 LKFS  LRA  0.0 LU  "
                                        "TP -2[23].[0-9]+ dBTP"));
  EXPECT_THAT(mDesk->StandardOutput(), Not(HasSubstr("\r")));
}

TEST_F(UnitCommandTest, SilenceHasNoReadings) {
  StartProcess();
  StartDesk({mAudio.Write("silence.wav", kFloatWav, kSampleRate, 1, Samples(5 * kSampleRate)),
             "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("-", Final("Integrated loudness", "LKFS"));
  EXPECT_EQ("-", Final("Short-term", "LKFS"));
  EXPECT_EQ("-", Final("Loudness range", "LU"));
}

TEST_F(UnitCommandTest, SpeakersDecideTheWeights) {
  StartProcess();
  // Two surrounds weigh 1.41 each: 10 log10 1.41 = 1.49 above two front speakers.
  StartDesk(
      {Tone("tone.wav", 5, -23, 2), "--speed", kQuick, "--speakers", "LeftSurround,RightSurround"});
  ExpectEnd(0);
  EXPECT_EQ("-21.5", Final("Integrated loudness", "LKFS"));
}

TEST_F(UnitCommandTest, FilesOfTheSameSpeakersAreMeasuredOn) {
  StartProcess();
  const std::string tone = Tone("tone.wav", 3, -23, 2);
  StartDesk({tone, tone, "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("6.0", Final("Duration", "s"));
}

TEST_F(UnitCommandTest, FilesOfOtherSpeakersStartAnew) {
  StartProcess();
  StartDesk({Tone("loud.wav", 3, -10, 2), Tone("soft.wav", 4, -30, 1), "--speed", kQuick});
  ExpectEnd(0);
  const std::string output = mDesk->StandardOutput();
  EXPECT_EQ("-10.0", Final("Integrated loudness", "LKFS"));
  // One channel reads 3.01 LU less than two.
  EXPECT_THAT(output, HasSubstr("Integrated loudness     -33.0 LKFS"));
  EXPECT_THAT(output, HasSubstr("Maximum momentary       -33.0 LKFS"));
  EXPECT_THAT(output, HasSubstr("Duration                  4.0 s"));
}

TEST_F(UnitCommandTest, ServiceCanBePlayedToAgain) {
  StartProcess();
  for (const double level : {-20.0, -30.0}) {
    StartDesk({Tone("tone.wav", 3, level, 2), "--speed", kQuick});
    ExpectEnd(0);
    EXPECT_EQ(level, std::stod(Final("Maximum momentary", "LKFS")));
  }
}

TEST_F(LastClusterTest, IsServed) {
  StartProcess();
  StartDesk({Tone("tone.wav", 3, -23, 2), "--speed", kQuick, "--cluster", "8"});
  ExpectEnd(0);
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
}

TEST_F(UnitCommandTest, InterruptEndsWithTheFiguresSoFar) {
  StartProcess();
  StartDesk({Tone("long.wav", 60, -23, 2)});
  ASSERT_TRUE(mDesk->WaitForLine("M -23.0", kPatience));
  mDesk->Signal(SIGINT);
  ExpectEnd(0);
  EXPECT_EQ("-23.0", Final("Momentary", "LKFS"));
  EXPECT_LT(std::stod(Final("Duration", "s")), 59);
}

TEST_F(UnitCommandTest, MissingFileIsOneLine) {
  StartDesk({mAudio.Path("missing.wav")});
  ExpectRefusal("missing.wav: ");
}

TEST_F(UnitCommandTest, NonAudioFileIsOneLine) {
  StartDesk({mAudio.WriteBytes("words.wav", "no audio at all")});
  ExpectRefusal("words.wav: ");
}

TEST_F(UnitCommandTest, ChannelsWithoutUsualSpeakersNeedThemNamed) {
  StartDesk({Tone("three.wav", 1, -23, 3)});
  ExpectRefusal("--speakers");
}

TEST_F(UnitCommandTest, NothingIsPlayedWhenOneFileIsBad) {
  StartProcess();
  StartDesk({Tone("tone.wav", 1, -23, 2), mAudio.Path("missing.wav")});
  ExpectRefusal("missing.wav: ");
}

TEST_F(UnitCommandTest, MissingServiceIsOneLine) {
  StartDesk({Tone("tone.wav", 1, -23, 2), "--wait", "0.2"});
  ExpectRefusal("no service has subscribed in 0.2 s; start LoudCalc -m 1 -c 1");
}

TEST_F(UnitCommandTest, ServiceOfAnotherClusterIsOneLine) {
  StartProcess();
  ASSERT_TRUE(mService->WaitForLine("addQVAppserverMq", kPatience));
  StartDesk({Tone("tone.wav", 1, -23, 2), "--wait", "2", "--cluster", "2"});
  ExpectRefusal("no publisher of loudness data");
}

TEST_F(UnitCommandTest, EndpointInUseIsOneLine) {
  mUnit.Open(Peer::kMainAppServer);
  StartDesk({Tone("tone.wav", 1, -23, 2)});
  ExpectRefusal("cannot bind " + mUnit.EndpointOf(Peer::kMainAppServer) + ": the port is in use; ");
}

TEST_F(UnitCommandTest, OneAddressForBothBoardsIsOneLine) {
  mDesk = std::make_unique<ServiceProcess>(
      LOUDDESK_BINARY, Arguments{"unit", Tone("tone.wav", 1, -23, 2)},
      std::map<std::string, std::string>{{"LOUDCALC_MAIN_BOARD_ADDRESS", "127.0.0.1"},
                                         {"LOUDCALC_OPTICAL_BOARD_ADDRESS", "127.0.0.1"}});
  ExpectRefusal(
      "cannot bind tcp://127.0.0.1:7000: "
      "LOUDCALC_MAIN_BOARD_ADDRESS and LOUDCALC_OPTICAL_BOARD_ADDRESS must differ");
}

TEST_F(UnitCommandTest, IpcFileInUseIsNotTakenOver) {
  mUnit.Open(Peer::kLogSink);
  StartDesk({Tone("tone.wav", 1, -23, 2)});
  ExpectRefusal("loggerSinkMq.ipc: is in use; ");
}

TEST_F(UnitCommandTest, EndOfTheServiceIsOneLine) {
  StartProcess();
  StartDesk({Tone("long.wav", 60, -23, 2)});
  ASSERT_TRUE(mDesk->WaitForLine("M -23.0", kPatience));
  mService->Signal(SIGKILL);
  ExpectEnd(1);
  EXPECT_EQ("LoudDesk: the service has stopped publishing\n", mDesk->StandardError());
}

struct OptionCase {
  const char* name;
  std::vector<std::string> options;
};

class UnitOptionTest : public UnitCommandTest, public testing::WithParamInterface<OptionCase> {};

TEST_P(UnitOptionTest, IsRefused) {
  Arguments arguments = GetParam().options;
  arguments.push_back(mAudio.Path("missing.wav"));
  StartDesk(arguments);
  const auto report = mDesk->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_NE(0, report->status);
  EXPECT_THAT(mDesk->StandardError(), HasSubstr(GetParam().options.front()));
  EXPECT_THAT(mDesk->StandardError(), Not(HasSubstr("missing.wav")));
}

INSTANTIATE_TEST_SUITE_P(Options, UnitOptionTest,
                         testing::Values(OptionCase{"SpeedZero", {"--speed", "0"}},         //
                                         OptionCase{"SpeedNegative", {"--speed", "-1"}},    //
                                         OptionCase{"SpeedWord", {"--speed", "fast"}},      //
                                         OptionCase{"SpeedNoNumber", {"--speed", "nan"}},   //
                                         OptionCase{"WaitNoNumber", {"--wait", "nan"}},     //
                                         OptionCase{"ClusterZero", {"--cluster", "0"}},     //
                                         OptionCase{"ClusterNine", {"--cluster", "9"}},     //
                                         OptionCase{"MeterSetZero", {"--meter-set", "0"}},  //
                                         OptionCase{"MeterSetTwo", {"--meter-set", "2"}},   //
                                         OptionCase{"UnknownSpeaker",
                                                    {"--speakers", "Left,Middle"}}),
                         [](const auto& option) { return option.param.name; });

}  // namespace
