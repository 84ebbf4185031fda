// Readings on the grid of blocks, compared with figures computed by hand.

#include "BlockGrid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace louddesk {
namespace {

constexpr double kRounding = 1e-9;

StepSignal Stereo(const std::vector<SignalStep>& steps) {
  return {{"Left", "Right"}, steps};
}

// A burst of 0 dBFS after silence of the given length, followed by a second of silence.
BlockGrid BurstGrid(int startMs, int lengthMs) {
  return BlockGrid(
      Stereo({{startMs / 1000.0, {kSilenceDb}}, {lengthMs / 1000.0, {0.0}}, {1.0, {kSilenceDb}}}));
}

double HighestMomentary(const BlockGrid& grid) {
  double highest = -std::numeric_limits<double>::infinity();
  for (int blocks = BlockGrid::kFirstReading; blocks <= grid.Blocks(); ++blocks)
    highest = std::max(highest, grid.Momentary(blocks));
  return highest;
}

double HighestShortTerm(const BlockGrid& grid) {
  double highest = -std::numeric_limits<double>::infinity();
  for (int blocks = BlockGrid::kFirstReading; blocks <= grid.Blocks(); ++blocks)
    highest = std::max(highest, grid.ShortTerm(blocks));
  return highest;
}

TEST(BlockGridTest, ASteadySineReadsItsPeakLevel) {
  const BlockGrid grid(Stereo({{5.0, {-23.0}}}));
  EXPECT_EQ(grid.Blocks(), 50);
  for (int blocks = BlockGrid::kFirstReading; blocks <= 50; ++blocks) {
    EXPECT_NEAR(grid.Momentary(blocks), -23.0, kRounding);
    EXPECT_NEAR(grid.ShortTerm(blocks), -23.0, kRounding);
  }
}

TEST(BlockGridTest, SilenceReadsNothing) {
  const BlockGrid grid(Stereo({{1.0, {kSilenceDb}}}));
  EXPECT_EQ(grid.Momentary(10), kSilenceDb);
  EXPECT_EQ(grid.ShortTerm(10), kSilenceDb);
}

TEST(BlockGridTest, PartOfABlockAtTheEndIsNotMeasured) {
  EXPECT_EQ(BlockGrid(Stereo({{0.45, {0.0}}, {0.149, {0.0}}})).Blocks(), 5);
}

// A burst of four blocks that begins the fraction d of a block away from a block border loses at
// least d of its four blocks: 10 log10(1 - d / 4) = 0, -0.22, -0.46, -0.46 and -0.22 LU for steps
// of 20 ms.
TEST(BlockGridTest, ABurstOf400MillisecondsLosesItsDistanceFromTheGrid) {
  for (int i = 0; i < 20; ++i) {
    const double share = i % 5 / 5.0;
    const double distance = std::min(share, 1.0 - share);
    EXPECT_NEAR(HighestMomentary(BurstGrid(20 * i, 400)), 10.0 * std::log10(1.0 - distance / 4.0),
                kRounding)
        << "i = " << i;
  }
}

// The readings 4 to 30 are full, and there are no others yet.
TEST(BlockGridTest, ABurstOf3SecondsAtTheBeginningIsReadInFull) {
  EXPECT_NEAR(HighestShortTerm(BurstGrid(0, 3000)), 0.0, kRounding);
}

// One and a half blocks later, reading 4 has 2.5 of its four blocks, reading 5 has 3.5, and the
// readings 6 to 31 are full: (0.625 + 0.875 + 26) / 28.
TEST(BlockGridTest, ABurstOf3SecondsShortlyBehindTheBeginningLosesItsFirstReadings) {
  EXPECT_NEAR(HighestShortTerm(BurstGrid(150, 3000)), 10.0 * std::log10(27.5 / 28.0), kRounding);
}

// A later burst that begins on a border fills 27 readings, and the best three partly filled ones
// have 3/4, 3/4 and 2/4. Half a block away from a border it fills 26, and the best four have 7/8,
// 7/8, 5/8 and 5/8. In both cases the best thirty readings have the power of 29.
TEST(BlockGridTest, ALaterBurstOf3SecondsLosesOneReadingInThirty) {
  for (int i = 2; i < 20; ++i)
    EXPECT_NEAR(HighestShortTerm(BurstGrid(150 * i, 3000)), 10.0 * std::log10(29.0 / 30.0),
                kRounding)
        << "i = " << i;
}

// 1.34 s of power 1 and 1.66 s of power 1/10 alternate: block 14 has 0.4 + 0.06. A block counts
// once for each reading that includes it: at 3 s these are 1, 2, 3, then 24 times 4, then 3, 2, 1.
TEST(BlockGridTest, ShortTermIsTheMeanOfTheReadingsThatThereAre) {
  const BlockGrid grid(Stereo({{1.34, {0.0}}, {1.66, {-10.0}}, {1.34, {0.0}}, {1.66, {-10.0}}}));
  const double loud = 1 + 2 + 3 + 4 * (10 + 0.46);
  EXPECT_NEAR(grid.ShortTerm(30), 10.0 * std::log10((loud + (4 * 13 + 6) * 0.1) / (4 * 27)),
              kRounding);
  // Block 31 is loud again.
  EXPECT_NEAR(grid.ShortTerm(31), 10.0 * std::log10((loud + (4 * 14 + 3 + 2) * 0.1 + 1) / (4 * 28)),
              kRounding);
  // From thirty readings on, the mean covers a whole period.
  const double period = 10.0 * std::log10((1.34 + 0.166) / 3.0);
  for (int blocks = 33; blocks <= 60; ++blocks)
    EXPECT_NEAR(grid.ShortTerm(blocks), period, kRounding) << blocks;
}

TEST(BlockGridTest, SilentReadingsDoNotCountInShortTerm) {
  const BlockGrid grid = BurstGrid(0, 400);
  // Readings of 4/4, 3/4, 2/4 and 1/4, then silent ones.
  EXPECT_NEAR(grid.ShortTerm(14), 10.0 * std::log10(2.5 / 4.0), kRounding);
}

}  // namespace
}  // namespace louddesk
