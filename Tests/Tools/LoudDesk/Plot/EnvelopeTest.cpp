// Thinned-out series: extremes, gaps and the number of columns.

#include "Envelope.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace louddesk {
namespace {

// The envelope of points every 100 ms with these readings.
std::vector<EnvelopeRun> Envelope(const std::vector<std::optional<float>>& readings,
                                  std::size_t maxColumns) {
  const auto pointAt = [&readings](std::size_t i) {
    return PlotPoint{static_cast<double>(i + 1) / 10.0, readings[i]};
  };
  return EnvelopeOf(readings.size(), pointAt, maxColumns);
}

TEST(EnvelopeTest, AShortSeriesIsKeptAsItIs) {
  const auto runs = Envelope({-3.0F, -4.0F, -5.0F}, 3);
  ASSERT_EQ(runs.size(), 1U);
  ASSERT_EQ(runs[0].size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(runs[0][i].low, -3.0F - static_cast<float>(i));
    EXPECT_EQ(runs[0][i].high, runs[0][i].low);
    EXPECT_DOUBLE_EQ(runs[0][i].seconds, static_cast<double>(i + 1) / 10.0);
  }
}

// Seven blocks in at most three columns: three blocks per column, one in the last column.
TEST(EnvelopeTest, NeighbouringBlocksShareAColumn) {
  const auto runs = Envelope({-1.0F, -9.0F, -2.0F, -3.0F, -4.0F, -5.0F, -6.0F}, 3);
  ASSERT_EQ(runs.size(), 1U);
  ASSERT_EQ(runs[0].size(), 3U);
  EXPECT_EQ(runs[0][0].low, -9.0F);
  EXPECT_EQ(runs[0][0].high, -1.0F);
  EXPECT_DOUBLE_EQ(runs[0][0].seconds, 0.2);
  EXPECT_EQ(runs[0][1].low, -5.0F);
  EXPECT_EQ(runs[0][1].high, -3.0F);
  EXPECT_EQ(runs[0][2].low, -6.0F);
  EXPECT_DOUBLE_EQ(runs[0][2].seconds, 0.7);
}

TEST(EnvelopeTest, ASinglePeakOfTwoHoursIsKept) {
  std::vector<std::optional<float>> readings(72000, -20.0F);
  readings[54321] = 1.5F;
  readings[12345] = -60.0F;
  const auto runs = Envelope(readings, 900);
  ASSERT_EQ(runs.size(), 1U);
  EXPECT_EQ(runs[0].size(), 900U);
  float low = 0.0F;
  float high = -99.0F;
  for (const EnvelopeColumn& column : runs[0]) {
    low = std::min(low, column.low);
    high = std::max(high, column.high);
  }
  EXPECT_EQ(high, 1.5F);
  EXPECT_EQ(low, -60.0F);
}

TEST(EnvelopeTest, AColumnWithoutAReadingIsAGap) {
  const auto runs = Envelope({std::nullopt, -1.0F, std::nullopt, std::nullopt, -2.0F, -3.0F}, 6);
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].size(), 1U);
  EXPECT_EQ(runs[1].size(), 2U);
}

TEST(EnvelopeTest, ABlockWithoutAReadingInAColumnIsPassedOver) {
  const auto runs = Envelope({std::nullopt, -1.0F, -2.0F, std::nullopt}, 2);
  ASSERT_EQ(runs.size(), 1U);
  ASSERT_EQ(runs[0].size(), 2U);
  EXPECT_EQ(runs[0][0].low, -1.0F);
  EXPECT_EQ(runs[0][1].high, -2.0F);
}

TEST(EnvelopeTest, NothingToShowIsNotARun) {
  EXPECT_TRUE(Envelope({}, 10).empty());
  EXPECT_TRUE(Envelope({std::nullopt, std::nullopt}, 10).empty());
}

}  // namespace
}  // namespace louddesk
