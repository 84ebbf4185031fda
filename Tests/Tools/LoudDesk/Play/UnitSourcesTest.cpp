// The sources other than files that the desk tool's subcommand `unit` plays to the shipped service.

#include "PlayedUnit.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class UnitSourcesTest : public PlayedUnit {};

// The gain of the weighting, 0.6910 dB at 997 Hz and 48 kHz, cancels the offset of -0.691 (ITU-R
// BS.1770). A sine has half the power of its peak, and two front channels double that: the loudness
// is the level of the peaks.
TEST_F(UnitSourcesTest, LoudnessOfAToneIsItsLevel) {
  StartProcess();
  StartDesk({"--tone", "997,-17.5", "--duration", "20", "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("", mDesk->StandardError());
  EXPECT_THAT(mDesk->StandardOutput(),
              HasSubstr("Playing tone 997,-17.5 (2 channels, 48000 Hz)\n"));
  EXPECT_EQ("-17.5", Final("Integrated loudness", "LKFS"));
  EXPECT_EQ("-17.5", Final("Short-term", "LKFS"));
  EXPECT_NEAR(-17.5, std::stod(Final("Maximum true peak", "dBTP")), 0.02);
  EXPECT_EQ("20.0", Final("Duration", "s"));
}

// The gain at 100 Hz and 48 kHz is -1.13 dB, so the loudness is 0.691 + 1.13 below the level of the
// peaks: -17 - 1.82 = -18.82.
TEST_F(UnitSourcesTest, LoudnessOfALowToneIsWeighted) {
  StartProcess();
  StartDesk({"--tone", "100,-17", "--duration", "20", "--speed", kQuick});
  ExpectEnd(0);
  EXPECT_EQ("-18.8", Final("Integrated loudness", "LKFS"));
}

// Both levels are rms: 20 dB between the levels are 20 LU between the readings. The second level is
// below the gate of the first one, so it shows only if it is measured separately.
TEST_F(UnitSourcesTest, LoudnessOfANoiseFollowsItsLevel) {
  double readings[2] = {};
  StartProcess();
  for (const int i : {0, 1}) {
    StartDesk({"--noise", i == 0 ? "-15" : "-35", "--duration", "20", "--speed", kQuick});
    ExpectEnd(0);
    readings[i] = std::stod(Final("Integrated loudness", "LKFS"));
  }
  EXPECT_NEAR(20, readings[0] - readings[1], 0.1001);
}

// EBU Tech 3341: -23 within 0.1 LU.
TEST_F(UnitSourcesTest, CaseReadsWhatItsStandardAsksFor) {
  StartProcess();
  StartDesk({"--case", "3341-5", "--speed", "100"});
  ExpectEnd(0);
  EXPECT_THAT(mDesk->StandardOutput(), HasSubstr("Playing case 3341-5 (2 channels, 48000 Hz)\n"));
  EXPECT_NEAR(-23, std::stod(Final("Integrated loudness", "LKFS")), 0.1001);
  EXPECT_EQ("60.1", Final("Duration", "s"));
}

// Five channels, with a higher weight for the surrounds. The preset comes with the signal.
TEST_F(UnitSourcesTest, CaseBringsItsSpeakers) {
  StartProcess();
  StartDesk({"--case", "3341-6", "--speed", "100"});
  ExpectEnd(0);
  EXPECT_THAT(mDesk->StandardOutput(), HasSubstr("Playing case 3341-6 (5 channels, 48000 Hz)\n"));
  EXPECT_NEAR(-23, std::stod(Final("Integrated loudness", "LKFS")), 0.1001);
}

// If the measurement continued, the tone would raise the figures of a case 30 dB below it.
TEST_F(UnitSourcesTest, CaseStartsANewMeasurement) {
  StartProcess();
  StartDesk({"--tone", "997,-3", "--duration", "5", "--case", "3341-2", "--speed", kQuick});
  ExpectEnd(0);
  const std::string output = mDesk->StandardOutput();
  EXPECT_EQ("-3.0", Final("Maximum momentary", "LKFS"));
  EXPECT_THAT(output, AllOf(HasSubstr("Maximum momentary       -33.0 LKFS\n"),
                            HasSubstr("Duration                 20.0 s\n")));
}

TEST_F(UnitSourcesTest, EverySignalOfACaseStartsANewMeasurement) {
  StartProcess();
  StartDesk({"--case", "3342-repeat", "--speed", "1000"});
  ExpectEnd(0);
  for (const int i : {1, 2, 3, 4})
    EXPECT_EQ(1u, LinesBeginningWith("Playing case 3342-repeat, " + std::to_string(i) + " of 4"));
  EXPECT_EQ(4u, LinesBeginningWith("Integrated loudness "));
  // 2 x 2 x 20 s for three of them, and 2 x 5 x 20 s for the last one.
  EXPECT_EQ(3u, LinesEqualTo("Duration                 80.0 s"));
  EXPECT_EQ(1u, LinesEqualTo("Duration                200.0 s"));
}

TEST_F(UnitSourcesTest, FilesComeFirstThenTonesThenNoises) {
  StartProcess();
  StartDesk({"--noise", "-30", "--tone", "997,-20", "--duration", "1", Tone("t.wav", 1, -30, 2),
             "--speed", kQuick});
  ExpectEnd(0);
  std::vector<std::string> played;
  for (const OutputLine& line : mDesk->Lines())
    if (line.text.rfind("Playing ", 0) == 0)
      played.push_back(line.text.substr(8, line.text.find(" (") - 8));
  EXPECT_THAT(played, testing::ElementsAre(mAudio.Path("t.wav"), "tone 997,-20", "noise -30"));
  // All three have the same speakers, so there is one measurement.
  EXPECT_EQ("3.0", Final("Duration", "s"));
}

TEST_F(UnitSourcesTest, LoopPlaysEverythingAgainAndAgain) {
  StartProcess();
  const std::string first = Tone("first.wav", 1, -23, 2);
  StartDesk({first, Tone("second.wav", 1, -23, 2), "--loop", "--speed", "10"});
  const auto playsOf = [&] { return LinesBeginningWith("Playing " + first); };
  for (std::size_t line = 0; playsOf() < 3; line = mDesk->LineCount())
    ASSERT_TRUE(mDesk->WaitForLine("", kPatience, line)) << mDesk->StandardError();
  mDesk->Signal(SIGINT);
  ExpectEnd(0);
  EXPECT_GE(LinesBeginningWith("Playing " + mAudio.Path("second.wav")), 2u);
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
  // Two rounds of 2 s have been played.
  EXPECT_GE(std::stod(Final("Duration", "s")), 4);
}

TEST_F(UnitSourcesTest, LoopOfNothingEnds) {
  StartProcess();
  StartDesk({Tone("short.wav", 0.05, -23, 2), "--loop"});
  ExpectEnd(1);
  EXPECT_EQ("LoudDesk: nothing to loop: there is not even one block of 100 ms\n",
            mDesk->StandardError());
}

TEST_F(UnitSourcesTest, ToneWithoutADurationLastsUntilCtrlC) {
  StartProcess();
  StartDesk({"--tone", "997,-23", "--speed", "100"});
  ASSERT_TRUE(mDesk->WaitForLine("Playing ", kPatience));
  // No file or default is that long: two minutes.
  const auto hasLasted = [this] {
    for (const OutputLine& line : mDesk->Lines())
      if (line.text.find(" LKFS  LRA") != std::string::npos && std::stod(line.text) >= 120)
        return true;
    return false;
  };
  for (std::size_t line = 0; !hasLasted(); line = mDesk->LineCount())
    ASSERT_TRUE(mDesk->WaitForLine("", kPatience, line)) << mDesk->StandardError();
  mDesk->Signal(SIGINT);
  ExpectEnd(0);
  EXPECT_EQ("-23.0", Final("Integrated loudness", "LKFS"));
}

// The service publishes a true peak even for silence, as the help text states.
TEST_F(UnitSourcesTest, SilenceReadsTheLowestTruePeak) {
  StartProcess();
  StartDesk({mAudio.Write("silence.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, kSampleRate, 1,
                          test_audio::Samples(2 * kSampleRate)),
             "--speed", kQuick});
  ExpectEnd(0);
  // 20 log10(1 / 32768)
  EXPECT_EQ("-90.31", Final("True peak", "dBTP"));
  EXPECT_EQ("-90.31", Final("Maximum true peak", "dBTP"));
}

TEST_F(UnitSourcesTest, HelpNamesEverySourceAndOrder) {
  StartDesk({"--help"});
  ExpectEnd(0);
  const std::string help = mDesk->StandardOutput();
  for (const char* text : {"--tone",
                           "--noise",
                           "--case",
                           "--duration",
                           "--loop",
                           "start (s)",
                           "pause (p)",
                           "play (y)",
                           "stop (t)",
                           "reset (r)",
                           "print (i)",
                           "reporting on (+)",
                           "reporting off (-)",
                           "help (h)",
                           "quit (q)",
                           "Without --duration they last until Ctrl-C",
                           "refreshed once a second",
                           "-90.31 dBTP",
                           "all of that document",
                           "quit print the figures so far and end with status 0"})
    EXPECT_THAT(help, HasSubstr(text));
}

struct SourceOptionCase {
  const char* name;
  std::vector<std::string> options;
  const char* text;
};

class UnitSourceOptionTest : public PlayedUnit,
                             public testing::WithParamInterface<SourceOptionCase> {};

TEST_P(UnitSourceOptionTest, IsRefused) {
  StartDesk(GetParam().options);
  const auto report = mDesk->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_NE(0, report->status);
  EXPECT_EQ("", mDesk->StandardOutput());
  EXPECT_THAT(mDesk->StandardError(), HasSubstr(GetParam().text));
}

constexpr char kToneText[] = "is not a tone; give FREQ,LEVEL of 1 to 20000 Hz and -120 to 0 dBFS";
constexpr char kNoiseText[] = "is not a noise level; give -120 to -5 dBFS rms";
constexpr char kCaseText[] =
    "is not a case that can be played; those are 1770-gain 1770-level 3341-1 ";

INSTANTIATE_TEST_SUITE_P(
    Options, UnitSourceOptionTest,
    testing::Values(
        SourceOptionCase{"Nothing", {}, "nothing to play; give a FILE, --tone, --noise or --case"},
        SourceOptionCase{"LoopOfNothing", {"--loop"}, "nothing to play; give a FILE, "},
        SourceOptionCase{
            "EndlessLoop",
            {"--noise", "-20", "--loop"},
            "a tone or noise without --duration never ends: nothing can follow or loop it"},
        SourceOptionCase{"ToneOfNoLevel", {"--tone", "997"}, kToneText},
        SourceOptionCase{"ToneTooLoud", {"--tone", "997,1"}, kToneText},
        SourceOptionCase{"NoiseTooLoud", {"--noise", "-4"}, kNoiseText},
        SourceOptionCase{"UnknownCase", {"--case", "3341-99"}, kCaseText},
        SourceOptionCase{"Recording", {"--case", "3341-7"}, kCaseText},
        SourceOptionCase{"NoDuration", {"--tone", "997,-20", "--duration", "0"}, "--duration: "},
        SourceOptionCase{
            "EndlessDuration", {"--tone", "997,-20", "--duration", "nan"}, "--duration: "},
        SourceOptionCase{"DurationOfAFile",
                         {"missing.wav", "--duration", "3"},
                         "--duration is for --tone and --noise"}),
    [](const auto& option) { return option.param.name; });

}  // namespace
