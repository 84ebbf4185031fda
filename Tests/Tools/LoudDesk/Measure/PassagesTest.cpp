// The passages in which a series is above a limit.

#include "Passages.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

// Points every 100 ms with these true peaks.
std::vector<SeriesPoint> PeaksOf(const std::vector<float>& peaks) {
  std::vector<SeriesPoint> points;
  for (const float peak : peaks) {
    points.emplace_back();
    points.back().seconds = 0.1 * static_cast<double>(points.size());
    points.back().truePeak = peak;
  }
  return points;
}

std::vector<Passage> Above(const std::vector<SeriesPoint>& points, double limit) {
  return PassagesAbove(points, &SeriesPoint::truePeak, limit, 0.1);
}

TEST(PassagesTest, APassageLastsFromItsFirstBlockToItsLast) {
  const auto passages = Above(PeaksOf({-9.F, -0.5F, -0.25F, -9.F}), -1.0);
  ASSERT_EQ(passages.size(), 1U);
  EXPECT_DOUBLE_EQ(passages[0].begin, 0.1);
  EXPECT_NEAR(passages[0].end, 0.3, 1e-9);
  EXPECT_DOUBLE_EQ(passages[0].highest, -0.25);
}

// -0.996 is written as -1.00.
TEST(PassagesTest, OnTheLimitIsNotAboveItAsItIsWritten) {
  EXPECT_TRUE(Above(PeaksOf({-1.0F, -0.996F}), -1.0).empty());
  EXPECT_EQ(Above(PeaksOf({-1.0F, -0.99F}), -1.0).size(), 1U);
}

// The first passage ends at 0.1 s; the next one begins 0.9 s or 1.0 s later.
TEST(PassagesTest, PassagesLessThanASecondApartAreOne) {
  std::vector<float> peaks(20, -9.0F);
  peaks[0] = 0.0F;
  peaks[10] = 0.0F;
  EXPECT_EQ(Above(PeaksOf(peaks), -1.0).size(), 1U);
  peaks[10] = -9.0F;
  peaks[12] = 0.0F;
  EXPECT_EQ(Above(PeaksOf(peaks), -1.0).size(), 2U);
}

TEST(PassagesTest, AReadingCoversTheTimeBeforeItsPoint) {
  std::vector<SeriesPoint> points = PeaksOf(std::vector<float>(100, -9.0F));
  points[49].shortTerm = -10.0F;
  const auto passages = PassagesAbove(points, &SeriesPoint::shortTerm, -18.0, 3.0);
  ASSERT_EQ(passages.size(), 1U);
  EXPECT_NEAR(passages[0].begin, 2.0, 1e-9);
  EXPECT_NEAR(passages[0].end, 5.0, 1e-9);
}

TEST(PassagesTest, NoPassageBeginsBeforeTheProgramme) {
  std::vector<SeriesPoint> points = PeaksOf({0.0F});
  points[0].seconds = 0.04;
  EXPECT_DOUBLE_EQ(Above(points, -1.0).front().begin, 0.0);
}

TEST(PassagesTest, WhereThereIsNoReadingThereIsNoPassage) {
  EXPECT_TRUE(Above(std::vector<SeriesPoint>(10), -90.0).empty());
}

// A day may have tens of thousands of passages.
TEST(PassagesTest, OfManyPassagesTheFirstAreKeptAndAllCounted) {
  PassageGatherer gatherer(-1.0, 0.1, 2);
  for (int i = 1; i <= 5; ++i)
    gatherer.Take(10.0 * i, -0.5);
  EXPECT_EQ(gatherer.Count(), 5U);
  ASSERT_EQ(gatherer.First().size(), 2U);
  EXPECT_DOUBLE_EQ(gatherer.First()[1].end, 20.0);
}

TEST(PassagesTest, TheLastOfThoseKeptGoesOnAsLongAsItDoes) {
  PassageGatherer gatherer(-1.0, 0.1, 2);
  for (const double seconds : {10.0, 20.0, 20.5})
    gatherer.Take(seconds, -0.5);
  ASSERT_EQ(gatherer.First().size(), 2U);
  EXPECT_DOUBLE_EQ(gatherer.First()[1].end, 20.5);
}

}  // namespace
}  // namespace louddesk
