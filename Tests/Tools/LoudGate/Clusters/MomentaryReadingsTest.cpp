// The distribution of momentary readings, and its gates by the formulas of ITU-R BS.1770, Annex 1.

#include "MomentaryReadings.h"

#include <gtest/gtest.h>

#include <cmath>

#include "LoudnessData.h"

namespace {

using loudgate::MomentaryReadings;
using loudgate::ReadingHistogram;

// The engine counts in steps of 0.02 LU.
constexpr double kTolerance = 0.02;

void Take(MomentaryReadings& readings, std::size_t count, std::int16_t code) {
  for (std::size_t i = 0; i < count; ++i)
    readings.Take(code);
}

double PowerOf(double lkfs) {
  return std::pow(10.0, lkfs / 10.0);
}

TEST(MomentaryReadingsTest, WithoutReadingsThereIsNothing) {
  const ReadingHistogram histogram = MomentaryReadings().Histogram();
  EXPECT_EQ(0u, histogram.readings);
  EXPECT_FALSE(histogram.relativeGate);
  EXPECT_FALSE(histogram.gated);
  EXPECT_TRUE(histogram.counts.empty());
}

TEST(MomentaryReadingsTest, CountsEachCodeFromTheLowestUp) {
  MomentaryReadings readings;
  Take(readings, 3, -230);
  Take(readings, 1, -233);
  const ReadingHistogram histogram = readings.Histogram();
  EXPECT_EQ(-233, histogram.lowest);
  EXPECT_EQ((std::vector<unsigned>{1, 0, 0, 3}), histogram.counts);
}

// The absolute gate is -70 LKFS. The relative gate is 10 LU below the mean power of the readings
// that pass it.
TEST(MomentaryReadingsTest, GatesTwice) {
  MomentaryReadings readings;
  Take(readings, 300, -200);
  Take(readings, 100, -250);
  Take(readings, 100, -400);
  Take(readings, 40, -701);
  Take(readings, 10, kNoLoudnessCode);
  const ReadingHistogram histogram = readings.Histogram();
  EXPECT_EQ(550u, histogram.readings);
  EXPECT_EQ(50u, histogram.belowGate);
  const double power = 300 * PowerOf(-20.0) + 100 * PowerOf(-25.0);
  const double ungated = 10.0 * std::log10((power + 100 * PowerOf(-40.0)) / 500);
  ASSERT_TRUE(histogram.relativeGate);
  EXPECT_NEAR(ungated - 10.0, *histogram.relativeGate, kTolerance);
  ASSERT_TRUE(histogram.gated);
  EXPECT_NEAR(10.0 * std::log10(power / 400), *histogram.gated, kTolerance);
}

TEST(MomentaryReadingsTest, ARelativeGateBelowTheAbsoluteOneHasNoEffect) {
  MomentaryReadings readings;
  Take(readings, 10, -650);
  const ReadingHistogram histogram = readings.Histogram();
  EXPECT_FALSE(histogram.relativeGate);
  ASSERT_TRUE(histogram.gated);
  EXPECT_NEAR(-65.0, *histogram.gated, kTolerance);
}

TEST(MomentaryReadingsTest, SilenceHasNoLoudness) {
  MomentaryReadings readings;
  Take(readings, 10, kNoLoudnessCode);
  const ReadingHistogram histogram = readings.Histogram();
  EXPECT_EQ(10u, histogram.belowGate);
  EXPECT_FALSE(histogram.gated);
  EXPECT_TRUE(histogram.counts.empty());
}

TEST(MomentaryReadingsTest, TheLastOnesCanBeTakenBack) {
  MomentaryReadings readings;
  Take(readings, 3, -200);
  Take(readings, 2, -300);
  readings.DropLast(3);
  EXPECT_EQ(std::vector<unsigned>{2}, readings.Histogram().counts);
  EXPECT_EQ(-200, readings.Histogram().lowest);
  readings.DropLast(3);
  EXPECT_EQ(0u, readings.Histogram().readings);
}

TEST(MomentaryReadingsTest, TwentyMinutesAreKept) {
  MomentaryReadings readings;
  Take(readings, 1, -100);
  Take(readings, 12000, -300);
  const ReadingHistogram histogram = readings.Histogram();
  EXPECT_EQ(12000u, histogram.readings);
  EXPECT_EQ(std::vector<unsigned>{12000}, histogram.counts);
}

}  // namespace
