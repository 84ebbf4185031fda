// Whole files through front end and meter.

#include "MeasureFile.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Amplitude;
using test_audio::AudioDirectory;
using test_audio::Interleaved;
using test_audio::Joined;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;

constexpr int kRate = 48000;
constexpr std::size_t kBlock = 4800;
constexpr int kFloatWav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

Samples Tone(double levelDb, double seconds) {
  return Sine(Amplitude(levelDb), 1000.0, kRate, static_cast<std::size_t>(seconds * kRate));
}

Samples StereoTone(double levelDb, double seconds) {
  return Repeated(Tone(levelDb, seconds), 2);
}

class MeasureFileTest : public testing::Test {
 protected:
  Figures Measure(std::size_t channels, const Samples& samples,
                  const std::optional<SpeakerLayout>& speakers = std::nullopt) {
    AudioFile file(mDirectory.Write("measured.wav", kFloatWav, kRate, channels, samples));
    ProgrammeMeter meter(ProgrammeOf(LayoutFor(file, speakers)), channels);
    return MeasureFile(meter, file, [](std::uint64_t) {});
  }

  AudioDirectory mDirectory;
};

// EBU Tech 3341, cases 1 and 2.
TEST_F(MeasureFileTest, ASteadyToneReadsItsLevelInEveryFigure) {
  for (const double level : {-23.0, -33.0}) {
    const Figures figures = Measure(2, StereoTone(level, 20.0));
    EXPECT_NEAR(figures.integrated.value(), level, 0.1);
    EXPECT_NEAR(figures.maxMomentary.value(), level, 0.1);
    EXPECT_NEAR(figures.maxShortTerm.value(), level, 0.1);
    EXPECT_NEAR(figures.maxTruePeak.value(), level, 0.2);
    EXPECT_EQ(figures.lra.value(), 0.0);
    EXPECT_DOUBLE_EQ(figures.seconds, 20.0);
  }
}

// EBU Tech 3341, case 3: the quiet ends lie below the relative gate.
TEST_F(MeasureFileTest, QuietPassagesAreGated) {
  const Samples quiet = StereoTone(-36.0, 10.0);
  const Figures figures = Measure(2, Joined(Joined(quiet, StereoTone(-23.0, 60.0)), quiet));
  EXPECT_NEAR(figures.integrated.value(), -23.0, 0.1);
}

// EBU Tech 3341, case 6, with something in the sixth channel that must not count.
TEST_F(MeasureFileTest, SurroundSpeakersWeighMoreAndLowFrequencyEffectsNothing) {
  const Samples front = Tone(-28.0, 20.0);
  const Samples surround = Tone(-30.0, 20.0);
  const Samples effects = Tone(-6.0, 20.0);
  const Figures figures =
      Measure(6, Interleaved({front, front, Tone(-24.0, 20.0), effects, surround, surround}));
  EXPECT_NEAR(figures.integrated.value(), -23.0, 0.1);
  EXPECT_NEAR(figures.maxTruePeak.value(), -6.0, 0.2);  // of every channel
}

// A tone of -23 dBFS in one channel instead of two reads 3.01 LU less, and 1.49 LU more than that
// as a surround speaker: 10 log10(1.41).
TEST_F(MeasureFileTest, ChosenSpeakersDecideTheWeights) {
  const Samples tone = Tone(-23.0, 5.0);
  const Samples silence(tone.size(), 0.0);
  const Samples stereo = Interleaved({tone, silence});
  EXPECT_NEAR(Measure(2, stereo).integrated.value(), -26.01, 0.05);
  EXPECT_NEAR(Measure(2, stereo, SpeakerLayout{"LeftSurround", "Right"}).integrated.value(), -24.52,
              0.05);
  EXPECT_FALSE(
      Measure(2, stereo, SpeakerLayout{"LowFrequencyEffects", "Right"}).integrated.has_value());
}

TEST_F(MeasureFileTest, OneChannelIsTheCenter) {
  EXPECT_NEAR(Measure(1, Tone(-23.0, 5.0)).integrated.value(), -26.01, 0.05);
}

// EBU Tech 3342, case 1.
TEST_F(MeasureFileTest, LoudnessRangeOfTwoStepsIsTheirDistance) {
  const Figures figures = Measure(2, Joined(StereoTone(-20.0, 20.0), StereoTone(-30.0, 20.0)));
  EXPECT_NEAR(figures.lra.value(), 10.0, 1.0);
}

TEST_F(MeasureFileTest, WhatIsLeftBehindTheLastBlockHasATruePeakAndNoLoudness) {
  const Samples whole = StereoTone(-23.0, 2.0);
  const Figures expected = Measure(2, whole);
  const Figures figures = Measure(2, Joined(whole, StereoTone(-1.0, 0.0999)));
  EXPECT_EQ(figures.integrated, expected.integrated);
  EXPECT_EQ(figures.lra, expected.lra);
  EXPECT_EQ(figures.maxMomentary, expected.maxMomentary);
  EXPECT_EQ(figures.maxShortTerm, expected.maxShortTerm);
  EXPECT_NEAR(figures.maxTruePeak.value(), -1.0, 0.2);
  EXPECT_NEAR(figures.truePeak.value(), -1.0, 0.2);
  EXPECT_NEAR(figures.seconds, 2.0999, 1.0 / kRate);
}

// Before the fourth block, with which loudness begins, and behind it; a rest of one frame.
TEST_F(MeasureFileTest, ThePeakOfTheVeryLastSampleCounts) {
  for (const std::size_t blocks : {0U, 1U, 3U, 4U, 20U}) {
    Samples samples(2 * (blocks * kBlock + 1), 0.0);
    samples.back() = 0.5;
    EXPECT_NEAR(Measure(2, samples).maxTruePeak.value(), -6.02, 0.005) << blocks << " blocks";
  }
}

TEST_F(MeasureFileTest, AQuietRestLeavesTheMaximumAndIsTheLastTruePeak) {
  const Samples loud = Joined(StereoTone(-6.0, 1.0), Samples(2 * kBlock, 0.0));
  const Figures figures = Measure(2, Joined(loud, StereoTone(-40.0, 0.05)));
  EXPECT_NEAR(figures.maxTruePeak.value(), -6.0, 0.2);
  EXPECT_NEAR(figures.truePeak.value(), -40.0, 0.5);
}

TEST_F(MeasureFileTest, BehindARestThereIsNoLast400MillisecondsOr3Seconds) {
  EXPECT_TRUE(Measure(2, StereoTone(-23.0, 1.0)).momentary.has_value());
  const Figures figures = Measure(2, StereoTone(-23.0, 1.05));
  EXPECT_FALSE(figures.momentary.has_value());
  EXPECT_FALSE(figures.shortTerm.has_value());
  EXPECT_TRUE(figures.integrated.has_value());
}

TEST_F(MeasureFileTest, MaximumShortTermIsTheLargestOfAnyBlock) {
  const Figures figures = Measure(
      2, Joined(Joined(StereoTone(-40.0, 5.0), StereoTone(-20.0, 5.0)), StereoTone(-40.0, 5.0)));
  EXPECT_NEAR(figures.maxShortTerm.value(), -20.0, 0.1);
}

TEST_F(MeasureFileTest, SilenceHasNoReadings) {
  const Figures figures = Measure(2, Samples(2 * kRate * 5, 0.0));
  EXPECT_FALSE(figures.integrated.has_value());
  EXPECT_FALSE(figures.lra.has_value());
  EXPECT_FALSE(figures.maxMomentary.has_value());
  EXPECT_FALSE(figures.maxShortTerm.has_value());
  EXPECT_FALSE(figures.maxTruePeak.has_value());
  EXPECT_DOUBLE_EQ(figures.seconds, 5.0);
}

// The first reading of 400 ms comes with the fourth block; until then a peak is all there is.
TEST_F(MeasureFileTest, LessThan400MillisecondsHaveAPeakAndNoLoudness) {
  const Figures figures = Measure(2, StereoTone(-10.0, 0.399));
  EXPECT_FALSE(figures.integrated.has_value());
  EXPECT_FALSE(figures.maxMomentary.has_value());
  EXPECT_FALSE(figures.maxShortTerm.has_value());
  EXPECT_NEAR(figures.maxTruePeak.value(), -10.0, 0.2);
}

TEST_F(MeasureFileTest, FourBlocksHaveLoudness) {
  const Figures figures = Measure(2, StereoTone(-10.0, 0.4));
  EXPECT_TRUE(figures.integrated.has_value());
  EXPECT_TRUE(figures.maxMomentary.has_value());
}

// EBU Tech 3341 and 3342 mean readings of 3 s.
TEST_F(MeasureFileTest, LessThan3SecondsHaveNoShortTermLoudnessAndNoRange) {
  const Figures shorter = Measure(2, StereoTone(-10.0, 2.99));
  EXPECT_TRUE(shorter.integrated.has_value());
  EXPECT_FALSE(shorter.maxShortTerm.has_value());
  EXPECT_FALSE(shorter.lra.has_value());
  EXPECT_NEAR(Measure(2, StereoTone(-10.0, 3.0)).maxShortTerm.value(), -10.0, 0.1);
}

// The rest is 50 ms long and ends with the file.
TEST_F(MeasureFileTest, APeakInTheRestIsReachedAtTheEndOfTheFile) {
  const Figures figures = Measure(2, Joined(StereoTone(-40.0, 1.0), StereoTone(-6.0, 0.05)));
  EXPECT_NEAR(figures.maxTruePeakAt, 1.05, 1e-9);
}

TEST_F(MeasureFileTest, ProgressIsToldOnceABlockAndOfTheRest) {
  AudioFile file(mDirectory.Write("a.wav", kFloatWav, kRate, 1, Tone(-20.0, 0.35)));
  std::vector<std::uint64_t> told;
  ProgrammeMeter meter(ProgrammeOf({"Center"}), 1);
  MeasureFile(meter, file, [&told](std::uint64_t frames) { told.push_back(frames); });
  EXPECT_EQ(told, (std::vector<std::uint64_t>{kBlock, 2 * kBlock, 3 * kBlock, 16800}));
}

}  // namespace
}  // namespace louddesk
