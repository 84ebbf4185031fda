// Whole files through front end, dispatcher and engine.

#include "MeasureFile.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "BlockMeter.h"
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

// The bins of the engine are 0.02 LU wide.
constexpr double kBin = 0.02;

Samples Tone(double levelDb, double seconds) {
  return Sine(Amplitude(levelDb), 1000.0, kRate, static_cast<std::size_t>(seconds * kRate));
}

Samples StereoTone(double levelDb, double seconds) {
  return Repeated(Tone(levelDb, seconds), 2);
}

// A reading with one power on all meters that carry a speaker here.
BlockReading ReadingOf(double loudness, std::uint32_t peak) {
  BlockReading reading;
  reading.powers[0] = static_cast<std::uint64_t>(std::pow(10.0, (loudness + 153.3879962) / 10.0));
  reading.peaks[0] = peak;
  return reading;
}

class MeasureFileTest : public testing::Test {
 protected:
  Figures Measure(std::size_t channels, const Samples& samples,
                  const std::optional<SpeakerLayout>& speakers = std::nullopt) {
    AudioFile file(mDirectory.Write("measured.wav", kFloatWav, kRate, channels, samples));
    return MeasureFile(mMeter, file, LayoutFor(file, speakers), [](std::uint64_t) {});
  }

  void FeedMono(const std::vector<BlockReading>& readings) {
    mMeter.Start({"Center"});
    for (const BlockReading& reading : readings)
      mMeter.Feed(reading);
  }

  AudioDirectory mDirectory;
  EngineMeter mMeter;
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

// The integrated loudness once more, straight from the definition: 400 ms every 100 ms, gated at
// -70 LKFS and then at 10 LU below the mean of what is left.
double PlainIntegrated(const std::vector<double>& blockPowers) {
  std::vector<double> powers;
  for (std::size_t i = 3; i < blockPowers.size(); ++i)
    powers.push_back(
        (blockPowers[i - 3] + blockPowers[i - 2] + blockPowers[i - 1] + blockPowers[i]) / 4.0);
  double gate = -70.0;
  double mean = 0.0;
  for (const double nextGate : {-10.0, 0.0}) {
    double sum = 0.0;
    int count = 0;
    for (const double power : powers)
      if (10.0 * std::log10(power) - 153.3879962 >= gate) {
        sum += power;
        ++count;
      }
    mean = 10.0 * std::log10(sum / count) - 153.3879962;
    gate = std::max(-70.0, mean + nextGate);
  }
  return mean;
}

TEST_F(MeasureFileTest, IntegratedLoudnessCountsEveryBlockToTheLast) {
  std::vector<double> powers;
  std::vector<BlockReading> readings;
  // A loud end, whose last block changes the figure by 0.1 LU and more at each of these lengths.
  for (int block = 0; block < 60; ++block) {
    readings.push_back(ReadingOf(block < 40 ? -40.0 + block % 7 : -25.0 + block % 5, 100));
    powers.push_back(static_cast<double>(readings.back().powers[0]));
    if (block < 45)
      continue;
    FeedMono(readings);
    EXPECT_NEAR(mMeter.Read().integrated.value(), PlainIntegrated(powers), kBin)
        << readings.size() << " blocks";
  }
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

// Before the fourth block, where the engine looks at no peaks, and behind it; a rest of one frame.
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

TEST_F(MeasureFileTest, ARestIsForgottenInTheNextProgramme) {
  Measure(2, Joined(StereoTone(-40.0, 1.0), StereoTone(0.0, 0.05)));
  const Figures figures = Measure(2, StereoTone(-40.0, 1.0));
  EXPECT_NEAR(figures.maxTruePeak.value(), -40.0, 0.2);
  EXPECT_TRUE(figures.momentary.has_value());
}

// Full scale 32768 in sixteen bits: 20 log10(65535 / 32768) = 6.02 dBTP is the end.
TEST_F(MeasureFileTest, APeakAtTheEndOfItsScaleIsMarked) {
  for (const std::uint32_t peak : {65534U, 65535U}) {
    FeedMono({ReadingOf(-40.0, 10), ReadingOf(-40.0, peak), ReadingOf(-40.0, 10)});
    EXPECT_EQ(mMeter.Read().isPeakAtLeast, peak == 65535U) << peak;
    EXPECT_FALSE(mMeter.Read().isLoudnessAtLeast) << peak;
  }
  EXPECT_TRUE(Measure(1, Tone(18.0, 0.05)).isPeakAtLeast) << "in a rest";
}

// Codes end at +10 LKFS. A reading beyond is among them as if it were there.
TEST_F(MeasureFileTest, ReadingsBeyondTheLastCodeMarkWhatIsMadeFromCodes) {
  FeedMono(std::vector<BlockReading>(20, ReadingOf(9.95, 60000)));
  EXPECT_FALSE(mMeter.Read().isLoudnessAtLeast);
  EXPECT_TRUE(mMeter.Read().lra.has_value());
  FeedMono(std::vector<BlockReading>(20, ReadingOf(15.0, 60000)));
  const Figures figures = mMeter.Read();
  EXPECT_TRUE(figures.isLoudnessAtLeast);
  EXPECT_FALSE(figures.isMomentaryAtLeast);
  EXPECT_NEAR(figures.maxMomentary.value(), 15.0, 0.01);
  EXPECT_NEAR(figures.integrated.value(), 10.0, kBin);
  EXPECT_FALSE(figures.lra.has_value());
  EXPECT_FALSE(mMeter.ReadDistribution().lraLow.has_value());
}

// One block in the middle, long gone from the last four.
TEST_F(MeasureFileTest, APowerAtTheEndOfItsScaleMarksAllLoudness) {
  std::vector<BlockReading> readings(30, ReadingOf(-40.0, 10));
  readings[10].powers[0] = LargestBlockPower(1);
  FeedMono(readings);
  EXPECT_TRUE(mMeter.Read().isMomentaryAtLeast);
  EXPECT_TRUE(mMeter.Read().isLoudnessAtLeast);
  FeedMono(std::vector<BlockReading>(30, ReadingOf(-40.0, 10)));
  EXPECT_FALSE(mMeter.Read().isMomentaryAtLeast) << "not forgotten";
  EXPECT_FALSE(mMeter.Read().isLoudnessAtLeast) << "not forgotten";
}

// Shared by 32 channels, the scale of each ends at +15 LKFS, so that the four-block mean of a short
// sound stays within the codes: 15.0 - 6.02.
TEST_F(MeasureFileTest, APowerAtTheEndOfItsScaleIsMarkedWhereTheReadingIsNotBeyondTheCodes) {
  std::vector<BlockReading> readings(20, ReadingOf(-40.0, 10));
  readings[10].powers[0] = LargestBlockPower(32);
  mMeter.Start(SpeakerLayout(32, "Left"));
  for (const BlockReading& reading : readings)
    mMeter.Feed(reading);
  EXPECT_LT(mMeter.Read().maxMomentary.value(), 9.9);
  EXPECT_TRUE(mMeter.Read().isMomentaryAtLeast);
  EXPECT_TRUE(mMeter.Read().isLoudnessAtLeast);
}

TEST_F(MeasureFileTest, APowerThatDoesNotCountIsNeverAtAnEnd) {
  std::vector<BlockReading> readings(20, ReadingOf(-40.0, 10));
  for (BlockReading& reading : readings)
    reading.powers[1] = LargestBlockPower(2);
  mMeter.Start({"Center", "LowFrequencyEffects"});
  for (const BlockReading& reading : readings)
    mMeter.Feed(reading);
  EXPECT_FALSE(mMeter.Read().isMomentaryAtLeast);
  EXPECT_FALSE(mMeter.Read().isLoudnessAtLeast);
}

TEST_F(MeasureFileTest, ProgrammesDoNotInfluenceEachOther) {
  const Samples quiet = StereoTone(-40.0, 3.0);
  const Figures before = Measure(2, quiet);
  Measure(6, Repeated(Tone(-3.0, 5.0), 6));
  const Figures after = Measure(2, quiet);
  EXPECT_EQ(after.integrated, before.integrated);
  EXPECT_EQ(after.maxMomentary, before.maxMomentary);
  EXPECT_EQ(after.maxShortTerm, before.maxShortTerm);
  EXPECT_EQ(after.maxTruePeak, before.maxTruePeak);
  EXPECT_EQ(after.lra, before.lra);
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
  EXPECT_TRUE(figures.maxShortTerm.has_value());
}

TEST_F(MeasureFileTest, APeakInAnyBlockCounts) {
  for (std::size_t block = 0; block < 6; ++block) {
    std::vector<BlockReading> readings(6, ReadingOf(-40.0, 10));
    readings[block].peaks[0] = 16384;
    FeedMono(readings);
    // 20 log10(16384) - 90.3087
    EXPECT_NEAR(mMeter.Read().maxTruePeak.value(), -6.02, 0.005) << "block " << block;
  }
}

TEST_F(MeasureFileTest, ProgrammeBelowTheAbsoluteGateHasOnlyMaximumMomentaryAndPeak) {
  FeedMono(std::vector<BlockReading>(50, ReadingOf(-80.0, 3)));
  const Figures figures = mMeter.Read();
  EXPECT_FALSE(figures.integrated.has_value());
  EXPECT_FALSE(figures.maxShortTerm.has_value());
  EXPECT_FALSE(figures.lra.has_value());
  EXPECT_NEAR(figures.maxMomentary.value(), -80.0, 0.01);
  EXPECT_TRUE(figures.maxTruePeak.has_value());
}

// The lower gate of the range lies 20 LU below the loudness and must not lie below -70 LKFS.
TEST_F(MeasureFileTest, LoudnessRangeNeedsALowerGateAboveMinus70) {
  FeedMono(std::vector<BlockReading>(50, ReadingOf(-51.0, 3)));
  EXPECT_FALSE(mMeter.Read().lra.has_value());
  FeedMono(std::vector<BlockReading>(50, ReadingOf(-49.0, 3)));
  EXPECT_EQ(mMeter.Read().lra.value(), 0.0);
}

TEST_F(MeasureFileTest, LoudnessRangeNeedsAReadingOfASecond) {
  FeedMono(std::vector<BlockReading>(12, ReadingOf(-23.0, 3)));
  EXPECT_FALSE(mMeter.Read().lra.has_value());
  FeedMono(std::vector<BlockReading>(13, ReadingOf(-23.0, 3)));
  EXPECT_TRUE(mMeter.Read().lra.has_value());
}

// A block of +9.9 LKFS counts 2.1e16, so that 64 bits hold 860 of them.
TEST_F(MeasureFileTest, FiguresWhoseSumsHaveWrappedAreLeftOut) {
  FeedMono(std::vector<BlockReading>(800, ReadingOf(9.9, 60000)));
  EXPECT_FALSE(mMeter.Read().overflowed);
  EXPECT_NEAR(mMeter.Read().integrated.value(), 9.9, kBin);
  FeedMono(std::vector<BlockReading>(900, ReadingOf(9.9, 60000)));
  EXPECT_TRUE(mMeter.Read().overflowed);
  EXPECT_FALSE(mMeter.Read().integrated.has_value());
  EXPECT_EQ(mMeter.Read().lra.value(), 0.0);
}

// The window holds 72000 readings of 400 ms, one a block: the loud beginning has left it when as
// many readings without it have come.
TEST_F(MeasureFileTest, IntegratedLoudnessIsThatOfTheLastTwoHours) {
  mMeter.Start({"Center"});
  for (int block = 0; block < 20; ++block)
    mMeter.Feed(ReadingOf(-10.0, 3));
  for (int block = 0; block < 3 + 72000 - 1; ++block)
    mMeter.Feed(ReadingOf(-50.0, 3));
  // One reading with a quarter of its power from the beginning, -10 + 10 log10(1/4) = -16.02, is
  // left among 71999 of -50: 10 log10((10^-1.602 + 71999 x 10^-5) / 72000) = -49.852, no reading
  // gated.
  EXPECT_NEAR(mMeter.Read().integrated.value(), -49.852, kBin);
  mMeter.Feed(ReadingOf(-50.0, 3));
  EXPECT_NEAR(mMeter.Read().integrated.value(), -50.0, kBin);
}

TEST_F(MeasureFileTest, ProgressIsToldOnceABlockAndOfTheRest) {
  AudioFile file(mDirectory.Write("a.wav", kFloatWav, kRate, 1, Tone(-20.0, 0.35)));
  std::vector<std::uint64_t> told;
  MeasureFile(mMeter, file, {"Center"}, [&told](std::uint64_t frames) { told.push_back(frames); });
  EXPECT_EQ(told, (std::vector<std::uint64_t>{kBlock, 2 * kBlock, 3 * kBlock, 16800}));
}

}  // namespace
}  // namespace louddesk
