// Figures of recorded seconds, compared with the formulas.

#include "PeriodMeter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Profiles.h"
#include "RecordedSeconds.h"

namespace louddesk {
namespace {

// Half a loudness code.
constexpr double kHalfCode = 0.01;

// The loudness of the mean power of two levels, LKFS.
double MeanOf(double first, double second) {
  return 10.0 * std::log10((std::pow(10.0, first / 10.0) + std::pow(10.0, second / 10.0)) / 2.0);
}

std::vector<RecordedSecond> Seconds(std::initializer_list<std::pair<int, std::int16_t>> stretches) {
  std::vector<RecordedSecond> seconds;
  for (const auto& [count, tenths] : stretches)
    Append(seconds, count, tenths);
  return seconds;
}

const Figures& Shown(const PeriodFigures& figures) {
  return figures.programme.figures;
}

TEST(PeriodMeterTest, LoudnessIsTheMeanPowerOfWhatPassesTheRelativeGate) {
  const auto figures = FiguresOf(Seconds({{60, -200}, {60, -300}}));
  EXPECT_NEAR(Shown(figures).integrated.value(), MeanOf(-20.0, -30.0), kHalfCode);
}

// The mean of all readings is -22.97 LKFS, so the gate is at -32.97.
TEST(PeriodMeterTest, ReadingsBelowTheRelativeGateDoNotCount) {
  const auto figures = FiguresOf(Seconds({{60, -200}, {60, -400}}));
  EXPECT_NEAR(Shown(figures).integrated.value(), -20.0, kHalfCode);
}

TEST(PeriodMeterTest, ReadingsBelowTheAbsoluteGateDoNotMoveTheRelativeOne) {
  // If -71 LKFS counted, the mean would be -63.0 and the gate -73.0.
  const auto figures = FiguresOf(Seconds({{60, -600}, {60, -710}}));
  EXPECT_NEAR(Shown(figures).integrated.value(), -60.0, kHalfCode);
}

TEST(PeriodMeterTest, SilenceHasNoLoudness) {
  const auto figures = FiguresOf(Seconds({{60, kNoLoudnessCode}}));
  EXPECT_FALSE(Shown(figures).integrated);
  EXPECT_FALSE(Shown(figures).lra);
  EXPECT_FALSE(Shown(figures).maxMomentary);
  EXPECT_DOUBLE_EQ(Shown(figures).seconds, 60.0);
}

// Every tenth of the scale: the width of the codes must not bias any reading.
TEST(PeriodMeterTest, ASteadyReadingIsItsOwnMean) {
  for (std::int16_t tenths = -690; tenths <= 90; ++tenths) {
    const auto figures = FiguresOf(Seconds({{10, tenths}}));
    EXPECT_NEAR(Shown(figures).integrated.value(), tenths / 10.0, 0.005) << tenths;
  }
}

// EBU Tech 3342: two levels of a minute each, 10 LU apart.
TEST(PeriodMeterTest, TheRangeIsThatOfTheShortTermReadings) {
  const auto figures = FiguresOf(Seconds({{60, -200}, {60, -300}}));
  EXPECT_NEAR(Shown(figures).lra.value(), 10.0, 1e-5);
}

TEST(PeriodMeterTest, TheGateOfTheRangeLies20BelowTheLoudness) {
  const auto figures = FiguresOf(Seconds({{60, -200}, {60, -350}, {60, -450}}));
  EXPECT_NEAR(Shown(figures).lra.value(), 15.0, 1e-5);
}

TEST(PeriodMeterTest, MaximaHaveTheTimesAtWhichTheirReadingsEnd) {
  auto seconds = Seconds({{100, -300}});
  seconds[20].momentary[3] = -150;
  seconds[30].momentary[0] = -150;  // equally high, but later
  seconds[40].shortTerm = -180;
  seconds[50].truePeak = -105;
  const PeriodFigures period = FiguresOf(seconds);
  const Figures& figures = Shown(period);
  EXPECT_DOUBLE_EQ(figures.maxMomentary.value(), -15.0);
  EXPECT_NEAR(figures.maxMomentaryAt, 20.4, 1e-9);
  EXPECT_DOUBLE_EQ(figures.maxShortTerm.value(), -18.0);
  EXPECT_DOUBLE_EQ(figures.maxShortTermAt, 41.0);
  EXPECT_DOUBLE_EQ(figures.maxTruePeak.value(), -1.05);
  EXPECT_DOUBLE_EQ(figures.maxTruePeakAt, 51.0);
}

TEST(PeriodMeterTest, OnlyThePeriodCounts) {
  const auto seconds = Seconds({{60, -100}, {60, -230}, {60, -100}});
  const auto figures = FiguresOf(seconds, {{kTuesday + 60, kTuesday + 120}, {}});
  EXPECT_NEAR(Shown(figures).integrated.value(), -23.0, kHalfCode);
  EXPECT_DOUBLE_EQ(Shown(figures).maxMomentary.value(), -23.0);
  EXPECT_DOUBLE_EQ(Shown(figures).seconds, 60.0);
}

TEST(PeriodMeterTest, GapsAreNamedAtBothEndsAndBetween) {
  auto seconds = Seconds({{100, -230}});
  seconds.erase(seconds.begin() + 40, seconds.begin() + 50);
  const auto figures = FiguresOf(seconds, {{kTuesday - 5, kTuesday + 120}, {}});
  const std::vector<std::pair<int, int>> expected = {{-5, 0}, {40, 50}, {100, 120}};
  ASSERT_EQ(figures.gaps.first.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(figures.gaps.first[i].from - kTuesday, expected[i].first);
    EXPECT_EQ(figures.gaps.first[i].to - kTuesday, expected[i].second);
  }
  EXPECT_EQ(figures.gaps.count, 3U);
  EXPECT_EQ(figures.gaps.seconds, 35);
  EXPECT_DOUBLE_EQ(Shown(figures).seconds, 90.0);
}

TEST(PeriodMeterTest, APeriodWithoutAnySecondIsOneGap) {
  const auto figures = FiguresOf({}, {{kTuesday, kTuesday + 60}, {}});
  EXPECT_EQ(figures.gaps.seconds, 60);
  EXPECT_FALSE(Shown(figures).integrated);
}

TEST(PeriodMeterTest, OfManyGapsTheFirstAreNamedAndAllCounted) {
  std::vector<RecordedSecond> seconds;
  for (int i = 0; i < 3000; ++i)
    seconds.push_back(SecondAt(kTuesday + 2 * i, -230));
  const auto figures = FiguresOf(seconds);
  EXPECT_EQ(figures.gaps.first.size(), kMostSpans);
  EXPECT_EQ(figures.gaps.count, 2999U);
}

// A missed message is not silence.
TEST(PeriodMeterTest, MissedReadingsAreCountedAndNotMeasured) {
  auto seconds = Seconds({{60, -230}});
  seconds[10].momentary[5] = kMissedReading;
  seconds[11].momentary[0] = kMissedReading;
  const auto figures = FiguresOf(seconds);
  EXPECT_EQ(figures.missedReadings, 2U);
  EXPECT_EQ(figures.gaps.count, 0U);
  std::uint64_t counted = 0;
  for (const std::uint64_t count : figures.programme.readings.momentary.Counts())
    counted += count;
  EXPECT_EQ(counted, 598U);
}

// A measurement that is started and stopped within a second publishes only a part of its messages.
TEST(PeriodMeterTest, WhatWasNeverSentIsNotMissed) {
  auto seconds = Seconds({{10, kMissedReading}, {10, -230}, {10, kMissedReading}, {10, -230}});
  std::fill_n(seconds[10].momentary.begin(), 4, kMissedReading);
  std::fill_n(seconds[19].momentary.rbegin(), 7, kMissedReading);
  std::fill_n(seconds[30].momentary.begin(), 9, kMissedReading);
  EXPECT_EQ(FiguresOf(seconds).missedReadings, 0U);
  seconds.erase(seconds.begin() + 20, seconds.begin() + 30);  // nothing was recorded
  EXPECT_EQ(FiguresOf(seconds, {{kTuesday, kTuesday + 40}, {}}).missedReadings, 0U);
}

TEST(PeriodMeterTest, WhatIsMissedBetweenTwoSecondsAndAtTheEndsOfThePeriodCounts) {
  auto seconds = Seconds({{10, -230}});
  seconds.front().momentary.front() = kMissedReading;
  std::fill_n(seconds[4].momentary.rbegin(), 2, kMissedReading);
  std::fill_n(seconds[5].momentary.begin(), 4, kMissedReading);
  std::fill_n(seconds.back().momentary.rbegin(), 8, kMissedReading);
  EXPECT_EQ(FiguresOf(seconds).missedReadings, 15U);
}

// A service that receives no blocks publishes the same figures for ever.
TEST(PeriodMeterTest, WhereNoFigureChangesTheSpanIsNamed) {
  auto seconds = Seconds({{10, -200}, {2, -210}, {5, -220}, {6, kNoLoudnessCode}, {4, -230}});
  seconds[9].momentary[5] = -201;  // the last of the ten changes
  seconds[14].truePeak = -150;     // the third of the five changes
  seconds[25].shortTerm = -231;    // the third of the four changes
  const auto spans = FiguresOf(seconds).unchanged;
  ASSERT_EQ(spans.count, 1U);
  EXPECT_EQ(spans.first[0].from, kTuesday);
  EXPECT_EQ(spans.first[0].to, kTuesday + 9);
  EXPECT_EQ(spans.seconds, 9);
}

TEST(PeriodMeterTest, FiguresThatAreTheSameUpToTheEndAreNamedToo) {
  const auto spans = FiguresOf(Seconds({{7, -200}, {3, -210}})).unchanged;
  ASSERT_EQ(spans.count, 2U);
  EXPECT_EQ(spans.first[1].from, kTuesday + 7);
  EXPECT_EQ(spans.first[1].to, kTuesday + 10);
}

TEST(PeriodMeterTest, AGapEndsWhatIsTheSame) {
  auto seconds = Seconds({{10, -200}});
  seconds.erase(seconds.begin() + 4);
  const auto spans = FiguresOf(seconds).unchanged;
  ASSERT_EQ(spans.count, 2U);
  EXPECT_EQ(spans.first[0].to, kTuesday + 4);
  EXPECT_EQ(spans.first[1].from, kTuesday + 5);
  EXPECT_EQ(spans.seconds, 9);
}

// The time of a stopped measurement is not a gap in the record.
TEST(PeriodMeterTest, SecondsWithoutDataAreNeitherGapsNorSilence) {
  auto seconds = Seconds({{60, -230}, {30, kMissedReading}});
  for (auto second = seconds.begin() + 60; second != seconds.end(); ++second) {
    second->state = RecordedState::kStopped;
    second->shortTerm = kNoLoudnessCode;
    second->truePeak = kNoTruePeakCode;
  }
  const auto figures = FiguresOf(seconds);
  EXPECT_EQ(figures.quietSeconds, 30);
  EXPECT_EQ(figures.gaps.count, 0U);
  EXPECT_EQ(figures.missedReadings, 0U);
  EXPECT_DOUBLE_EQ(Shown(figures).seconds, 60.0);
  EXPECT_EQ(figures.programme.readings.shortTerm.Counts()[0], 0U);
}

TEST(PeriodMeterTest, ASecondThatComesTwiceCountsOnce) {
  auto seconds = Seconds({{60, -230}});
  seconds.insert(seconds.begin() + 30, SecondAt(seconds[29].time, -100));
  EXPECT_DOUBLE_EQ(Shown(FiguresOf(seconds)).maxMomentary.value(), -23.0);
}

TEST(PeriodMeterTest, TimeWithoutMetersIsCounted) {
  auto seconds = Seconds({{60, -230}});
  for (int i = 20; i < 27; ++i)
    seconds[static_cast<std::size_t>(i)].isSourceValid = false;
  EXPECT_EQ(FiguresOf(seconds).invalidSeconds, 7);
}

// -22.0 and -24.0 are exactly on the limits of the tolerance, and so within it.
TEST(PeriodMeterTest, TimeOutOfToleranceIsThatOfTheShortTermLoudness) {
  const auto seconds =
      Seconds({{10, -220}, {20, -219}, {30, -240}, {40, -241}, {5, kNoLoudnessCode}});
  PeriodQuestion question{PeriodOf(seconds), {}};
  question.aim = {-23.0, 1.0};
  const auto figures = FiguresOf(seconds, question);
  EXPECT_EQ(figures.aimedSeconds, 105);
  EXPECT_EQ(figures.aboveSeconds, 20);
  EXPECT_EQ(figures.belowSeconds, 45);
}

TEST(PeriodMeterTest, TheAimIsTheOneInForceAtTheTime) {
  const auto seconds = Seconds({{100, -230}});
  PeriodQuestion question{PeriodOf(seconds), {}};
  question.changes = {{kTuesday + 10, {-24.0, 0.0}}, {kTuesday + 40, {-23.0, 0.0}}};
  const auto figures = FiguresOf(seconds, question);
  EXPECT_EQ(figures.aimedSeconds, 90);
  EXPECT_EQ(figures.aboveSeconds, 30);
  EXPECT_EQ(figures.belowSeconds, 0);
}

TEST(PeriodMeterTest, AnAimFromBeforeThePeriodIsStillInForce) {
  const auto seconds = Seconds({{100, -230}});
  PeriodQuestion question{PeriodOf(seconds), {}};
  question.changes = {{kTuesday - 1000, {-20.0, 0.0}}, {kTuesday - 10, {-24.0, 0.0}}};
  EXPECT_EQ(FiguresOf(seconds, question).aboveSeconds, 100);
}

TEST(PeriodMeterTest, TimeWithoutMetersIsNotComparedWithAnAim) {
  auto seconds = Seconds({{10, -100}});
  seconds[4].isSourceValid = false;
  PeriodQuestion question{PeriodOf(seconds), {}};
  question.aim = {-23.0, 1.0};
  EXPECT_EQ(FiguresOf(seconds, question).aboveSeconds, 9);
}

TEST(PeriodMeterTest, PassagesAboveTheLimitsOfTheCriteriaAreFound) {
  auto seconds = Seconds({{60, -230}});
  seconds[20].truePeak = -50;
  seconds[21].truePeak = -40;
  const auto figures = FiguresOf(seconds, {PeriodOf(seconds), CriteriaOf(kUsualProfile)});
  ASSERT_EQ(figures.passages.size(), 1U);  // EBU R 128 limits the true peak, to -1 dBTP
  ASSERT_EQ(figures.passages[0].count, 1U);
  EXPECT_DOUBLE_EQ(figures.passages[0].first[0].begin, 20.0);
  EXPECT_DOUBLE_EQ(figures.passages[0].first[0].end, 22.0);
  EXPECT_DOUBLE_EQ(figures.passages[0].first[0].highest, -0.4);
}

// The scale of the peaks ends at +6.02 dBTP, that of the loudness codes at +10 LKFS.
TEST(PeriodMeterTest, FiguresAtTheEndsOfTheirScalesAreMarked) {
  auto seconds = Seconds({{60, -230}});
  EXPECT_FALSE(Shown(FiguresOf(seconds)).isPeakAtLeast);
  EXPECT_FALSE(Shown(FiguresOf(seconds)).isLoudnessAtLeast);
  seconds[5].truePeak = 602;
  seconds[6].momentary[2] = 100;
  EXPECT_TRUE(Shown(FiguresOf(seconds)).isPeakAtLeast);
  EXPECT_TRUE(Shown(FiguresOf(seconds)).isLoudnessAtLeast);
  EXPECT_FALSE(Shown(FiguresOf(seconds)).lra);
}

TEST(PeriodMeterTest, APlotOfAnyLengthHasTheExtremesAndTheEnd) {
  auto seconds = Seconds({{20000, -300}});
  seconds[7000].momentary[3] = -105;
  seconds[7001].momentary[3] = -405;
  seconds[7002].truePeak = -25;
  const auto points = FiguresOf(seconds).programme.points;
  EXPECT_LE(points.size(), 3600U);
  float highest = -99.0F;
  float lowest = 0.0F;
  double peakAt = 0.0;
  double last = 0.0;
  for (const SeriesPoint& point : points) {
    EXPECT_GE(point.seconds, last);
    last = point.seconds;
    highest = std::max(highest, point.momentary.value());
    lowest = std::min(lowest, point.momentary.value());
    if (point.truePeak.value() > -1.0F)
      peakAt = point.seconds;
  }
  EXPECT_FLOAT_EQ(highest, -10.5F);
  EXPECT_FLOAT_EQ(lowest, -40.5F);
  EXPECT_DOUBLE_EQ(peakAt, 7003.0);
  EXPECT_DOUBLE_EQ(last, 20000.0);
  EXPECT_NEAR(points.back().integrated.value(), -30.0, 0.05);
}

TEST(PeriodMeterTest, APlotHasNothingWhereNothingIsRecorded) {
  auto seconds = Seconds({{10000, -300}});
  seconds.erase(seconds.begin() + 3000, seconds.begin() + 4000);
  for (const SeriesPoint& point : FiguresOf(seconds).programme.points)
    if (point.seconds > 3010.0 && point.seconds < 3990.0) {
      EXPECT_FALSE(point.momentary) << point.seconds;
    }
}

}  // namespace
}  // namespace louddesk
