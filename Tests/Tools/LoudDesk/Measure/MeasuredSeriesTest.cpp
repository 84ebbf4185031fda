// Series and distribution as the meter gives them.

#include "MeasuredSeries.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <numeric>

#include "Bin.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using test_audio::Amplitude;
using test_audio::AudioDirectory;
using test_audio::Joined;
using test_audio::Repeated;
using test_audio::Samples;
using test_audio::Sine;

constexpr int kRate = 48000;

Samples StereoTone(double levelDb, double seconds) {
  const auto frames = static_cast<std::size_t>(seconds * kRate);
  return Repeated(Sine(Amplitude(levelDb), 1000.0, kRate, frames), 2);
}

class MeasuredSeriesTest : public testing::Test {
 protected:
  MeasuredSeries Measure(const Samples& samples) {
    AudioFile file(
        mDirectory.Write("measured.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, kRate, 2, samples));
    ProgrammeMeter meter(ProgrammeOf({"Left", "Right"}), 2);
    return MeasureSeries(meter, file, [this](std::uint64_t) { ++mProgress; });
  }

  AudioDirectory mDirectory;
  int mProgress = 0;
};

TEST_F(MeasuredSeriesTest, EveryBlockIsAPointAtItsEnd) {
  const MeasuredSeries series = Measure(StereoTone(-23.0, 2.0625));
  ASSERT_EQ(series.points.size(), 21U);
  for (std::size_t i = 0; i < 20; ++i)
    EXPECT_NEAR(series.points[i].seconds, 0.1 * static_cast<double>(i + 1), 1e-9);
  EXPECT_NEAR(series.points.back().seconds, 2.0625, 1e-9);
  EXPECT_NEAR(series.figures.seconds, 2.0625, 1e-9);
  EXPECT_EQ(mProgress, 21);
}

TEST_F(MeasuredSeriesTest, TheRestIsAPointWithATruePeakAndTheFiguresOfTheLastBlock) {
  const MeasuredSeries series = Measure(Joined(StereoTone(-23.0, 2.0), StereoTone(-3.0, 0.0625)));
  const SeriesPoint& block = series.points[19];
  const SeriesPoint& rest = series.points[20];
  EXPECT_FALSE(rest.momentary);
  EXPECT_FALSE(rest.shortTerm);
  EXPECT_EQ(rest.integrated, block.integrated);
  EXPECT_EQ(rest.lra, block.lra);
  EXPECT_NEAR(rest.truePeak.value(), -3.0, 0.2);
  EXPECT_FLOAT_EQ(*rest.truePeak, static_cast<float>(series.figures.maxTruePeak.value()));
}

TEST_F(MeasuredSeriesTest, AFileOfWholeBlocksHasNoRest) {
  EXPECT_EQ(Measure(StereoTone(-23.0, 2.0)).points.size(), 20U);
}

// 400 ms are four blocks, 3 s thirty.
TEST_F(MeasuredSeriesTest, TruePeakBeginsWithTheFirstBlockAndLoudnessWhenItsTimeIsFull) {
  const MeasuredSeries series = Measure(StereoTone(-23.0, 4.0));
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

TEST_F(MeasuredSeriesTest, TruePeakIsThatOfItsOwnBlock) {
  const MeasuredSeries series = Measure(
      Joined(Joined(StereoTone(-6.0, 1.0), StereoTone(-30.0, 1.0)), Samples(2 * kRate, 0.0)));
  EXPECT_NEAR(series.points[5].truePeak.value(), -6.0, 0.2);
  EXPECT_NEAR(series.points[15].truePeak.value(), -30.0, 0.2);
  EXPECT_FALSE(series.points[25].truePeak);
}

TEST_F(MeasuredSeriesTest, TheLastPointAgreesWithTheFigures) {
  const MeasuredSeries series = Measure(Joined(StereoTone(-20.0, 10.0), StereoTone(-30.0, 10.0)));
  const SeriesPoint& last = series.points.back();
  EXPECT_FLOAT_EQ(last.integrated.value(), static_cast<float>(series.figures.integrated.value()));
  EXPECT_FLOAT_EQ(last.lra.value(), static_cast<float>(series.figures.lra.value()));
  EXPECT_FLOAT_EQ(last.momentary.value(), static_cast<float>(series.figures.momentary.value()));
  EXPECT_FLOAT_EQ(last.shortTerm.value(), static_cast<float>(series.figures.shortTerm.value()));
}

TEST_F(MeasuredSeriesTest, FiguresAreThoseOfAMeasurementWithoutSeries) {
  const Samples samples = Joined(StereoTone(-20.0, 4.0), StereoTone(-30.0, 3.0));
  const Figures withSeries = Measure(samples).figures;
  AudioFile file(mDirectory.Path("measured.wav"));
  ProgrammeMeter meter(ProgrammeOf({"Left", "Right"}), 2);
  const Figures alone = MeasureFile(meter, file, [](std::uint64_t) {});
  EXPECT_EQ(withSeries.integrated, alone.integrated);
  EXPECT_EQ(withSeries.lra, alone.lra);
  EXPECT_EQ(withSeries.maxMomentary, alone.maxMomentary);
  EXPECT_EQ(withSeries.maxShortTerm, alone.maxShortTerm);
  EXPECT_EQ(withSeries.maxTruePeak, alone.maxTruePeak);
}

// 20 blocks give 17 readings; a steady tone has them all within a bin of its level, and the
// relative gate lies 10 LU below (ITU-R BS.1770).
TEST_F(MeasuredSeriesTest, DistributionHoldsEveryReadingAndTheGate) {
  const MeasuredSeries series = Measure(StereoTone(-23.0, 2.0));
  const auto& readings = series.distribution.readings;
  ASSERT_EQ(readings.size(), kNumLoudnessCodes);
  EXPECT_EQ(std::accumulate(readings.begin(), readings.end(), std::uint64_t{0}), 17U);
  const std::size_t code = Cbin::GetBinIndx(-23.0F);
  EXPECT_EQ(std::accumulate(readings.begin() + static_cast<long>(code) - 6,
                            readings.begin() + static_cast<long>(code) + 6, std::uint64_t{0}),
            17U);
  EXPECT_NEAR(series.distribution.relativeGate.value(), -33.0, 0.1);
}

// EBU Tech 3342, case 1: 10 % of the readings lie at -30, 95 % up to -20.
TEST_F(MeasuredSeriesTest, EndsOfTheLoudnessRangeAreItsDistanceApart) {
  const MeasuredSeries series = Measure(Joined(StereoTone(-20.0, 20.0), StereoTone(-30.0, 20.0)));
  const LoudnessDistribution& distribution = series.distribution;
  EXPECT_NEAR(distribution.lraLow.value(), -30.0, 0.1);
  EXPECT_NEAR(distribution.lraHigh.value(), -20.0, 0.1);
  EXPECT_NEAR(*distribution.lraHigh - *distribution.lraLow, series.figures.lra.value(), 1e-6);
}

TEST_F(MeasuredSeriesTest, SilenceHasReadingsOfNoLoudnessOnly) {
  const MeasuredSeries series = Measure(Samples(2 * kRate * 2, 0.0));
  EXPECT_EQ(series.distribution.readings[0], 17U);
  EXPECT_FALSE(series.distribution.relativeGate);
  EXPECT_FALSE(series.distribution.lraLow);
  EXPECT_FALSE(series.distribution.lraHigh);
  for (const SeriesPoint& point : series.points)
    EXPECT_FALSE(point.momentary || point.shortTerm || point.integrated || point.lra ||
                 point.truePeak);
}

// Loudness below -60 LKFS: 10 LU below it is below the absolute gate.
TEST_F(MeasuredSeriesTest, AGateBelowTheAbsoluteOneHasNoEffect) {
  EXPECT_FALSE(Measure(StereoTone(-65.0, 2.0)).distribution.relativeGate);
}

TEST_F(MeasuredSeriesTest, AFileShorterThanABlockIsARest) {
  const MeasuredSeries series = Measure(StereoTone(-23.0, 0.05));
  ASSERT_EQ(series.points.size(), 1U);
  EXPECT_FALSE(series.points[0].integrated);
  EXPECT_NEAR(series.points[0].truePeak.value(), -23.0, 0.2);
  EXPECT_FALSE(series.figures.integrated);
}

}  // namespace
}  // namespace louddesk
