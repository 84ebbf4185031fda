// Whole files through front end and meter.

#include "MeasureFile.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <numeric>
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
    return MeasureFile(file, {ProgrammeOf(LayoutFor(file, speakers))}, Series::kNone,
                       [](std::uint64_t) {})
        .front()
        .figures;
  }

  // A programme of both channels with its series.
  MeasuredProgramme MeasureSeries(const Samples& samples) {
    AudioFile file(mDirectory.Write("measured.wav", kFloatWav, kRate, 2, samples));
    return MeasureFile(file, {ProgrammeOf({"Left", "Right"})}, Series::kEveryBlock,
                       [](std::uint64_t) {})
        .front();
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

// EBU Tech 3341, case 3: the quiet ends are below the relative gate.
TEST_F(MeasureFileTest, QuietPassagesAreGated) {
  const Samples quiet = StereoTone(-36.0, 10.0);
  const Figures figures = Measure(2, Joined(Joined(quiet, StereoTone(-23.0, 60.0)), quiet));
  EXPECT_NEAR(figures.integrated.value(), -23.0, 0.1);
}

// EBU Tech 3341, case 6, with a signal on the LFE channel that must not count.
TEST_F(MeasureFileTest, SurroundSpeakersWeighMoreAndLowFrequencyEffectsNothing) {
  const Samples front = Tone(-28.0, 20.0);
  const Samples surround = Tone(-30.0, 20.0);
  const Samples effects = Tone(-6.0, 20.0);
  const Figures figures =
      Measure(6, Interleaved({front, front, Tone(-24.0, 20.0), effects, surround, surround}));
  EXPECT_NEAR(figures.integrated.value(), -23.0, 0.1);
  EXPECT_NEAR(figures.maxTruePeak.value(), -6.0, 0.2);  // every channel counts
}

// A tone of -23 dBFS on one channel reads 3.01 LU less than on two. As a surround speaker that
// channel reads 10 log10(1.41) = 1.49 LU more.
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

// Lengths before and after the fourth block, where loudness begins, each with a rest of one frame.
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

// The first reading of 400 ms comes with the fourth block; before that there is only a peak.
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

// EBU Tech 3341 and 3342 define these figures by readings of 3 s.
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

TEST_F(MeasureFileTest, ProgressIsReportedOnceABlockAndOfTheRest) {
  AudioFile file(mDirectory.Write("a.wav", kFloatWav, kRate, 1, Tone(-20.0, 0.35)));
  std::vector<std::uint64_t> told;
  MeasureFile(file, {ProgrammeOf({"Center"})}, Series::kNone,
              [&told](std::uint64_t frames) { told.push_back(frames); });
  EXPECT_EQ(told, (std::vector<std::uint64_t>{kBlock, 2 * kBlock, 3 * kBlock, 16800}));
}

TEST_F(MeasureFileTest, EveryBlockIsAPointAtItsEnd) {
  const MeasuredProgramme series = MeasureSeries(StereoTone(-23.0, 2.0625));
  ASSERT_EQ(series.points.size(), 21U);
  for (std::size_t i = 0; i < 20; ++i)
    EXPECT_NEAR(series.points[i].seconds, 0.1 * static_cast<double>(i + 1), 1e-9);
  EXPECT_NEAR(series.points.back().seconds, 2.0625, 1e-9);
  EXPECT_NEAR(series.figures.seconds, 2.0625, 1e-9);
}

TEST_F(MeasureFileTest, TheRestIsAPointWithATruePeakAndTheFiguresOfTheLastBlock) {
  const MeasuredProgramme series =
      MeasureSeries(Joined(StereoTone(-23.0, 2.0), StereoTone(-3.0, 0.0625)));
  const SeriesPoint& block = series.points[19];
  const SeriesPoint& rest = series.points[20];
  EXPECT_FALSE(rest.momentary);
  EXPECT_FALSE(rest.shortTerm);
  EXPECT_EQ(rest.integrated, block.integrated);
  EXPECT_EQ(rest.lra, block.lra);
  EXPECT_NEAR(rest.truePeak.value(), -3.0, 0.2);
  EXPECT_FLOAT_EQ(*rest.truePeak, static_cast<float>(series.figures.maxTruePeak.value()));
}

TEST_F(MeasureFileTest, AFileOfWholeBlocksHasNoRest) {
  EXPECT_EQ(MeasureSeries(StereoTone(-23.0, 2.0)).points.size(), 20U);
}

// 400 ms are four blocks, 3 s thirty.
TEST_F(MeasureFileTest, TruePeakBeginsWithTheFirstBlockAndLoudnessWhenItsTimeIsFull) {
  const MeasuredProgramme series = MeasureSeries(StereoTone(-23.0, 4.0));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_FALSE(series.points[i].momentary);
    EXPECT_FALSE(series.points[i].shortTerm);
    EXPECT_FALSE(series.points[i].integrated);
    EXPECT_FALSE(series.points[i].lra);
  }
  EXPECT_NEAR(series.points[0].truePeak.value(), -23.0, 0.2);
  EXPECT_NEAR(series.points[3].momentary.value(), -23.0, 0.1);
  EXPECT_FALSE(series.points[28].shortTerm);
  EXPECT_NEAR(series.points[29].shortTerm.value(), -23.0, 0.1);
  EXPECT_FALSE(series.points[31].lra);
  EXPECT_TRUE(series.points[32].lra);
}

TEST_F(MeasureFileTest, TruePeakIsThatOfItsOwnBlock) {
  const MeasuredProgramme series = MeasureSeries(
      Joined(Joined(StereoTone(-6.0, 1.0), StereoTone(-30.0, 1.0)), Samples(2 * kRate, 0.0)));
  EXPECT_NEAR(series.points[5].truePeak.value(), -6.0, 0.2);
  EXPECT_NEAR(series.points[15].truePeak.value(), -30.0, 0.2);
  EXPECT_FALSE(series.points[25].truePeak);
}

TEST_F(MeasureFileTest, TheLastPointAgreesWithTheFigures) {
  const MeasuredProgramme series =
      MeasureSeries(Joined(StereoTone(-20.0, 10.0), StereoTone(-30.0, 10.0)));
  const SeriesPoint& last = series.points.back();
  EXPECT_FLOAT_EQ(last.integrated.value(), static_cast<float>(series.figures.integrated.value()));
  EXPECT_FLOAT_EQ(last.lra.value(), static_cast<float>(series.figures.lra.value()));
  EXPECT_FLOAT_EQ(last.momentary.value(), static_cast<float>(series.figures.momentary.value()));
  EXPECT_FLOAT_EQ(last.shortTerm.value(), static_cast<float>(series.figures.shortTerm.value()));
}

TEST_F(MeasureFileTest, SilenceHasPointsWithoutReadings) {
  const MeasuredProgramme series = MeasureSeries(Samples(2 * kRate * 2, 0.0));
  EXPECT_EQ(series.points.size(), 20U);
  for (const SeriesPoint& point : series.points)
    EXPECT_FALSE(point.momentary || point.shortTerm || point.integrated || point.lra ||
                 point.truePeak);
}

TEST_F(MeasureFileTest, AFileShorterThanABlockIsARest) {
  const MeasuredProgramme series = MeasureSeries(StereoTone(-23.0, 0.05));
  ASSERT_EQ(series.points.size(), 1U);
  EXPECT_FALSE(series.points[0].integrated);
  EXPECT_NEAR(series.points[0].truePeak.value(), -23.0, 0.2);
  EXPECT_FALSE(series.figures.integrated);
}

TEST_F(MeasureFileTest, FiguresAreTheSameWithAndWithoutASeries) {
  const Samples samples = Joined(StereoTone(-20.0, 4.0), StereoTone(-30.0, 3.0));
  const Figures withSeries = MeasureSeries(samples).figures;
  const Figures alone = Measure(2, samples);
  EXPECT_EQ(withSeries.integrated, alone.integrated);
  EXPECT_EQ(withSeries.lra, alone.lra);
  EXPECT_EQ(withSeries.maxMomentary, alone.maxMomentary);
  EXPECT_EQ(withSeries.maxShortTerm, alone.maxShortTerm);
  EXPECT_EQ(withSeries.maxTruePeak, alone.maxTruePeak);
}

// 20 blocks give 17 momentary readings.
TEST_F(MeasureFileTest, ReadingsAreThoseOfTheWholeFile) {
  const MeasuredProgramme series = MeasureSeries(StereoTone(-23.0, 2.0));
  const auto& counts = series.readings.momentary.Counts();
  EXPECT_EQ(std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}), 17U);
  EXPECT_EQ(series.readings.momentary.GatedLoudness(), series.figures.integrated);
}

// One pass over three channels: a tone on the first two, another tone on the third.
TEST_F(MeasureFileTest, SeveralProgrammesOfAFileHaveFiguresOfTheirOwn) {
  const Samples tone = Tone(-23.0, 5.0);
  AudioFile file(mDirectory.Write("three.wav", kFloatWav, kRate, 3,
                                  Interleaved({tone, tone, Tone(-30.0, 5.0)})));
  const auto measured = MeasureFile(
      file, {ProgrammeOf({"Left", "Right"}), {{2, "Center"}}, AsDualMono({{2, "Center"}})},
      Series::kNone, [](std::uint64_t) {});
  ASSERT_EQ(measured.size(), 3U);
  EXPECT_NEAR(measured[0].figures.integrated.value(), -23.0, 0.05);
  EXPECT_NEAR(measured[1].figures.integrated.value(), -33.01, 0.05);
  EXPECT_NEAR(measured[2].figures.integrated.value(), -30.0, 0.05);
  EXPECT_NEAR(measured[1].figures.maxTruePeak.value(), -30.0, 0.2);
  for (const MeasuredProgramme& programme : measured) {
    EXPECT_DOUBLE_EQ(programme.figures.seconds, 5.0);
    EXPECT_TRUE(programme.points.empty());
  }
}

// A sine of a quarter of the sample rate at 45 degrees has its crests between the samples.
TEST_F(MeasureFileTest, EachChannelHasItsPeaks) {
  const Samples crests = Sine(0.5, kRate / 4.0, kRate, kRate, 45.0);
  const Samples quiet = Tone(-40.0, 1.0);
  AudioFile file(mDirectory.Write("two.wav", kFloatWav, kRate, 2, Interleaved({crests, quiet})));
  const auto channels =
      MeasureFile(file, {ProgrammeOf({"Left", "Right"})}, Series::kNone, [](std::uint64_t) {})
          .front()
          .channels;
  ASSERT_EQ(channels.size(), 2U);
  EXPECT_NEAR(channels[0].samplePeak.value(), -9.03, 0.01);
  EXPECT_NEAR(channels[0].truePeak.value(), -6.02, 0.2);
  EXPECT_NEAR(channels[1].samplePeak.value(), -40.0, 0.1);
}

}  // namespace
}  // namespace louddesk
