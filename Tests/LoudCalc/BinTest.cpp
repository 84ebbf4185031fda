// The histogram of loudness readings: coding, counting, gated means and the loudness range.

#include "Bin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// The lower edge of a bin in LKFS, and the loudness of a histogram with a reading in that bin
// alone. The constants of the table are 1857398385681617.0 = 10^15.2689051 and 0.7074, those of the
// conversion back 152.6905962 and 0.6974. The loudness is therefore 152.689051 + 0.7074 -
// 152.6905962 - 0.6974 = 0.0085 LU above the edge.
double LowerEdge(int code) {
  return -70.0 + 0.02 * (code - 1);
}
double ReadBack(int code) {
  return LowerEdge(code) + 0.0085;
}

double PowerOf(double lkfs) {
  return std::pow(10.0, lkfs / 10.0);
}
double LkfsOf(double power) {
  return 10.0 * std::log10(power);
}

class CbinTest : public testing::Test {
 protected:
  CbinTest() { Cbin::InitBinCenters(); }

  void Add(std::uint16_t code, int times = 1) {
    for (int i = 0; i < times; ++i)
      mBin.Increment(code);
  }

  std::string OutputOfDecrement(std::uint16_t code) {
    testing::internal::CaptureStdout();
    mBin.Decrement(code);
    return testing::internal::GetCapturedStdout();
  }

  Cbin mBin;
};

TEST_F(CbinTest, NewHistogramIsEmpty) {
  EXPECT_EQ(mBin.Bins.size(), 4001U);
  EXPECT_THAT(mBin.Bins, testing::Each(0U));
  EXPECT_EQ(mBin.NumBinnedValues, 0U);
}

TEST_F(CbinTest, ResetForgetsEveryReading) {
  Add(0);
  Add(2000, 3);
  Add(4000);
  mBin.Reset();
  EXPECT_THAT(mBin.Bins, testing::Each(0U));
  EXPECT_EQ(mBin.NumBinnedValues, 0U);
}

// --- The table of bin powers -------------------------------------------------------------------

// The offset is 0.6974 plus the single-precision 0.01. An offset of 0.7074 would multiply every
// entry by 10^(2.2e-11), and 0.7074 in single precision (0.70740002) by 10^(2.4e-9): a difference
// of one part in 2e10 or in 2e8, while doubles are accurate to one part in 1e14. Truncation lowers
// an entry by less than 1.
TEST_F(CbinTest, TableHoldsTheTruncatedPowerOfEachLowerEdge) {
  ASSERT_EQ(Cbin::BinCenters.size(), 4001U);
  EXPECT_EQ(Cbin::BinCenters[0], 0U);
  const long double offset = 0.6974L + static_cast<long double>(0.01F);
  for (int code = 1; code <= 4000; ++code) {
    const long double level = -70.0L + 0.02L * static_cast<long double>(code - 1) + offset;
    const long double power = 1857398385681617.0L * std::pow(10.0L, level / 10.0L);
    const auto entry = static_cast<long double>(Cbin::BinCenters[static_cast<std::size_t>(code)]);
    EXPECT_LE(entry, power * (1 + 5e-12L)) << "code " << code;
    EXPECT_GT(entry, power * (1 - 5e-12L) - 1) << "code " << code;
  }
}

TEST_F(CbinTest, TableSpansTheStatedRange) {
  EXPECT_NEAR(static_cast<double>(Cbin::BinCenters[1]), 2.19e8, 0.005e8);
  EXPECT_NEAR(static_cast<double>(Cbin::BinCenters[4000]), 2.18e16, 0.005e16);
}

// --- Loudness to code --------------------------------------------------------------------------

TEST_F(CbinTest, CodesBeginAtTheAbsoluteGateAndTheLastOneEndsAtPlusTen) {
  EXPECT_DOUBLE_EQ(LoudnessOfCode(1), -70.0);
  EXPECT_DOUBLE_EQ(LoudnessOfCode(kMaxLoudnessCode), 9.98);
  EXPECT_DOUBLE_EQ(kEndOfCodesLkfs, 10.0);
}

TEST_F(CbinTest, LoudnessIsCodedByItsBin) {
  const struct {
    float loudness;
    int code;
  } kCases[] = {
      {-kInfinity, 0},
      {-std::numeric_limits<float>::max(), 0},
      {-99.0F, 0},
      {std::nextafter(-70.0F, -71.0F), 0},
      {-70.0F, 1},
      {-69.99F, 1},
      {-69.97F, 2},    // the second bin begins at -69.98
      {-23.0F, 2351},  // 47 / 0.02 + 1
      {0.0F, 3501},    // 70 / 0.02 + 1
      {9.97F, 3999},   // 79.97 / 0.02 = 3998.5
      {std::nextafter(9.98F, 10.0F), 4000},
      {10.0F, 4000},
      {10.1F, 4000},
      {100.0F, 4000},
      {std::numeric_limits<float>::max(), 4000},
      {kInfinity, 4000},
  };
  for (const auto& [loudness, code] : kCases)
    EXPECT_EQ(Cbin::GetBinIndx(loudness), code) << loudness << " LKFS";
}

TEST_F(CbinTest, MiddleOfEveryBinHasItsCode) {
  for (int code = 1; code <= 4000; ++code)
    EXPECT_EQ(Cbin::GetBinIndx(static_cast<float>(LowerEdge(code) + 0.01)), code);
}

// The float nearest to -59.7 is -59.70000076, below the edge of bin 516. (-59.70000076 + 70) / 0.02
// is 514.99997: double precision would leave it in bin 515. Single precision has steps of 0.00006
// there and rounds it to 515.0.
TEST_F(CbinTest, CodingIsDoneInSinglePrecision) {
  EXPECT_EQ(Cbin::GetBinIndx(-59.7F), 516);
}

// The float nearest to 9.98 is 9.97999954, which does not reach the top bin's lower edge.
TEST_F(CbinTest, TheLastFloatBelowTheTopBinIsNotInIt) {
  ASSERT_LT(static_cast<double>(9.98F), 9.98);
  EXPECT_EQ(Cbin::GetBinIndx(9.98F), 3999);
}

TEST_F(CbinTest, WhatIsNotANumberCountsAsSilence) {
  EXPECT_EQ(Cbin::GetBinIndx(std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(Cbin::GetBinIndx(-std::numeric_limits<float>::quiet_NaN()), 0);
}

// --- Counting ----------------------------------------------------------------------------------

TEST_F(CbinTest, IncrementCountsTheReadingInItsBin) {
  Add(0);
  Add(1234, 2);
  EXPECT_EQ(mBin.Bins[0], 1U);
  EXPECT_EQ(mBin.Bins[1234], 2U);
  EXPECT_EQ(mBin.NumBinnedValues, 3U);
}

TEST_F(CbinTest, CodesAboveTheTopCountInTheTopBin) {
  Add(4000);
  Add(4001);
  Add(5000);
  Add(65535);
  EXPECT_EQ(mBin.Bins[4000], 4U);
  EXPECT_EQ(mBin.NumBinnedValues, 4U);
  EXPECT_EQ(OutputOfDecrement(5000), "");
  EXPECT_EQ(mBin.Bins[4000], 3U);
}

TEST_F(CbinTest, DecrementRemovesOneReadingSilently) {
  Add(1234, 2);
  EXPECT_EQ(OutputOfDecrement(1234), "");
  EXPECT_EQ(mBin.Bins[1234], 1U);
  EXPECT_EQ(mBin.NumBinnedValues, 1U);
}

TEST_F(CbinTest, DecrementOfAnEmptyBinNamesTheBinAndLeavesItAtZero) {
  Add(2000);
  EXPECT_EQ(OutputOfDecrement(1999),
            "LOUD C ERR: Tried to decrement bin 1999 when it was empty.\n");
  EXPECT_EQ(mBin.Bins[1999], 0U);
  EXPECT_EQ(mBin.Bins[2000], 1U);
  EXPECT_EQ(mBin.NumBinnedValues, 0U);
}

TEST_F(CbinTest, DecrementOfAnEmptyTopBinNamesTheTopBin) {
  Add(1);
  EXPECT_EQ(OutputOfDecrement(5000),
            "LOUD C ERR: Tried to decrement bin 4000 when it was empty.\n");
}

TEST_F(CbinTest, DecrementOfAnEmptyHistogramSaysSoAndStillLowersTheBin) {
  Add(7, 2);
  OutputOfDecrement(0);
  OutputOfDecrement(0);
  EXPECT_EQ(OutputOfDecrement(7), "LOUD C ERR: Tried to decrement when bins are empty.\n");
  EXPECT_EQ(mBin.NumBinnedValues, 0U);
  EXPECT_EQ(mBin.Bins[7], 1U);
}

TEST_F(CbinTest, DecrementOfNothingAtAllPrintsBothLines) {
  EXPECT_EQ(OutputOfDecrement(0),
            "LOUD C ERR: Tried to decrement when bins are empty.\n"
            "LOUD C ERR: Tried to decrement bin 0 when it was empty.\n");
  EXPECT_EQ(mBin.NumBinnedValues, 0U);
  EXPECT_EQ(mBin.Bins[0], 0U);
}

// Removing readings that were never added can lower the count to 0 while other readings remain. All
// figures then treat the histogram as empty.
TEST_F(CbinTest, CountOfZeroIsAnEmptyHistogramWhateverItsBinsHold) {
  Add(1000);
  Add(3000);
  OutputOfDecrement(0);
  OutputOfDecrement(0);
  ASSERT_EQ(mBin.Bins[1000] + mBin.Bins[3000], 2U);
  ASSERT_EQ(mBin.NumBinnedValues, 0U);
  EXPECT_EQ(mBin.GetLoudnessLkfs(-70.0F), -99.0F);
  EXPECT_EQ(mBin.GetLra(1), 0.0F);
}

// --- Gated loudness ----------------------------------------------------------------------------

TEST_F(CbinTest, EmptyHistogramReadsNoLoudness) {
  EXPECT_EQ(mBin.GetLoudnessLkfs(-70.0F), -99.0F);
  EXPECT_EQ(mBin.GetLoudnessLkfs(-99.0F), -99.0F);
}

TEST_F(CbinTest, SilenceReadsNoLoudnessWhateverTheGate) {
  Add(0, 100);
  for (float gate : {-kInfinity, -99.0F, -70.1F, -70.0F, -23.0F, 9.99F, kInfinity})
    EXPECT_EQ(mBin.GetLoudnessLkfs(gate), -99.0F) << "gate " << gate;
}

TEST_F(CbinTest, SingleReadingReadsBackInsideItsOwnBin) {
  for (int code = 1; code <= 4000; ++code) {
    mBin.Reset();
    Add(static_cast<std::uint16_t>(code));
    const float loudness = mBin.GetLoudnessLkfs(-70.0F);
    EXPECT_NEAR(loudness, ReadBack(code), 0.0001) << "code " << code;
    EXPECT_EQ(Cbin::GetBinIndx(loudness), code);
  }
}

TEST_F(CbinTest, MeanIsTakenOverPowersNotLevels) {
  Add(2501, 1);  // -20 LKFS
  Add(2001, 3);  // -30 LKFS
  const double mean = LkfsOf((PowerOf(ReadBack(2501)) + 3.0 * PowerOf(ReadBack(2001))) / 4.0);
  EXPECT_NEAR(mBin.GetLoudnessLkfs(-70.0F), mean, 0.0001);
}

TEST_F(CbinTest, MeanDividesInIntegers) {
  Add(1, 1);
  Add(2, 2);
  const std::uint64_t mean = (Cbin::BinCenters[1] + 2 * Cbin::BinCenters[2]) / 3;
  const double loudness = 10.0 * std::log10(static_cast<double>(mean)) - 152.6905962 - 0.6974;
  EXPECT_EQ(mBin.GetLoudnessLkfs(-70.0F), static_cast<float>(loudness));
}

TEST_F(CbinTest, GateKeepsItsOwnBinAndDropsTheOneBelow) {
  Add(2001);
  Add(2000);
  EXPECT_NEAR(mBin.GetLoudnessLkfs(-29.99F), ReadBack(2001), 0.0001);
  Add(2000, 1000);
  EXPECT_NEAR(mBin.GetLoudnessLkfs(-29.99F), ReadBack(2001), 0.0001);
}

TEST_F(CbinTest, GateAboveEveryReadingReadsNoLoudness) {
  Add(2000, 10);
  EXPECT_EQ(mBin.GetLoudnessLkfs(-20.0F), -99.0F);
}

TEST_F(CbinTest, GateAtTheTopOfTheRangeKeepsOnlyTheTopBin) {
  Add(3999, 50);
  Add(4000, 1);
  for (float gate : {std::nextafter(9.98F, 10.0F), 10.0F, 99.0F})
    EXPECT_NEAR(mBin.GetLoudnessLkfs(gate), ReadBack(4000), 0.0001) << "gate " << gate;
}

TEST_F(CbinTest, ReadingsBelowTheAbsoluteGateNeverDiluteTheMean) {
  Add(2000);
  Add(0, 999);
  for (float gate : {-99.0F, -70.1F, -70.0F, -60.0F})
    EXPECT_NEAR(mBin.GetLoudnessLkfs(gate), ReadBack(2000), 0.0001) << "gate " << gate;
}

// The bins above a gate are summed group by group. Readings that were added and removed leave no
// trace in any of the sums, even if a sum has wrapped.
TEST_F(CbinTest, EveryGateReadsTheSumsOfTheBinsAboveIt) {
  std::mt19937 random(1770);
  for (int i = 0; i < 20000; ++i)
    Add(static_cast<std::uint16_t>(random() % 4001));
  for (int code = 1; code <= 4000; code += 3)
    if (mBin.Bins[static_cast<std::size_t>(code)] > 1)
      mBin.Decrement(static_cast<std::uint16_t>(code));
  std::uint32_t count = 0;
  std::uint64_t power = 0;
  for (std::size_t code = 4000; code >= 1; --code) {
    count += mBin.Bins[code];
    power += mBin.Bins[code] * Cbin::BinCenters[code];
    const float gate = static_cast<float>(LowerEdge(static_cast<int>(code)) + 0.01);
    ASSERT_EQ(Cbin::GetBinIndx(gate), code);
    const float expected = count == 0 ? -99.0F : LoudnessOfPower(power / count);
    EXPECT_EQ(mBin.GetLoudnessLkfs(gate), expected) << "code " << code;
  }
}

// 1000 readings at the top are about 2.18e19, beyond 2^64 = 1.84e19: the sum wraps.
TEST_F(CbinTest, SumOfPowersWrapsAtSixtyFourBits) {
  Add(4000, 1000);
  const auto exact = static_cast<long double>(Cbin::BinCenters[4000]) * 1000.0L;
  ASSERT_GT(exact, std::pow(2.0L, 64.0L));
  const long double wrapped = exact - std::pow(2.0L, 64.0L);
  EXPECT_NEAR(mBin.GetLoudnessLkfs(-70.0F),
              LkfsOf(static_cast<double>(wrapped / 1000.0L)) - 153.3879962, 0.0001);
}

// 800 readings in the top bin are 1.744e19 and 200 in the bin below 4.34e18: each fits, but their
// sum is beyond 2^64 and wraps.
TEST_F(CbinTest, SumOfPowersWrapsBetweenBinsToo) {
  Add(4000, 800);
  Add(3999, 200);
  const long double top = static_cast<long double>(Cbin::BinCenters[4000]) * 800.0L;
  const long double next = static_cast<long double>(Cbin::BinCenters[3999]) * 200.0L;
  const long double range = std::pow(2.0L, 64.0L);
  ASSERT_LT(top, range);
  ASSERT_LT(next, range);
  const long double wrapped = top - range + next;
  ASSERT_GT(wrapped, 0.0L);
  EXPECT_NEAR(mBin.GetLoudnessLkfs(-70.0F),
              LkfsOf(static_cast<double>(wrapped / 1000.0L)) - 153.3879962, 0.0001);
}

// About 8400 readings at 0 LKFS fit into the sum; bin 3501 is 1857398385681617 * 10^0.07074
// = 2.186e15 and 2^64 / 2.186e15 = 8438.
TEST_F(CbinTest, EightThousandFourHundredReadingsAtZeroLkfsFit) {
  Add(3501, 8400);
  EXPECT_NEAR(mBin.GetLoudnessLkfs(-70.0F), ReadBack(3501), 0.0001);
  Add(3501, 100);
  EXPECT_LT(mBin.GetLoudnessLkfs(-70.0F), -10.0F);
}

TEST_F(CbinTest, SumOfPowersBelowTheCountReadsNoLoudness) {
  Cbin::BinCenters[2000] = 2;
  Cbin::BinCenters[2001] = 0;
  Add(2000, 1);
  Add(2001, 2);
  EXPECT_EQ(mBin.GetLoudnessLkfs(-70.0F), -99.0F);  // 3 readings, sum 2
  mBin.Decrement(2001);
  EXPECT_NEAR(mBin.GetLoudnessLkfs(-70.0F), -153.388, 0.0001);  // 2 readings, sum 2: log10(1)
  Cbin::InitBinCenters();
}

// --- Loudness range ----------------------------------------------------------------------------

TEST_F(CbinTest, EmptyHistogramHasNoRange) {
  EXPECT_EQ(mBin.GetLra(1), 0.0F);
  EXPECT_EQ(mBin.GetLra(65535), 0.0F);
}

TEST_F(CbinTest, ReadingsOfOneBinHaveNoRange) {
  for (const std::uint16_t code : std::initializer_list<std::uint16_t>{1, 2, 2345, 3999, 4000}) {
    mBin.Reset();
    Add(code, 37);
    EXPECT_EQ(mBin.GetLra(1), 0.0F) << "code " << code;
  }
}

// One reading in each of 100 bins: the 10th from below is code 1009, the 5th from above 1095.
TEST_F(CbinTest, RangeRunsFromTheTenthToTheNinetyFifthPercentile) {
  for (std::uint16_t code = 1000; code < 1100; ++code)
    Add(code);
  EXPECT_EQ(mBin.GetLra(1), 1.72F);  // 86 bins of 0.02 LU
}

TEST_F(CbinTest, EndsOfTheRangeAreTheirOwnCodes) {
  for (std::uint16_t code = 1001; code <= 1100; ++code)
    Add(code);
  // Of a hundred readings, the tenth from below is the first with ten percent at or below it, and
  // the fifth from above the first with five percent at or above it.
  const LraEnds ends = mBin.GetLraEnds(1);
  EXPECT_EQ(ends.low, 1010);
  EXPECT_EQ(ends.high, 1096);
  EXPECT_FLOAT_EQ(mBin.GetLra(1), 1.72F);
}

TEST_F(CbinTest, WithoutReadingsARangeHasNoEnds) {
  EXPECT_EQ(mBin.GetLraEnds(1).low, 0);
  EXPECT_EQ(mBin.GetLraEnds(1).high, 0);
}

TEST_F(CbinTest, LowPointIsTheFirstToReachTenPercent) {
  Add(1000, 9);
  Add(2000, 91);
  EXPECT_EQ(mBin.GetLra(1), 0.0F);  // 9 % below: the range begins at code 2000
  mBin.Decrement(2000);
  Add(1000);
  EXPECT_EQ(mBin.GetLra(1), 20.0F);  // 10 %
}

TEST_F(CbinTest, OneTopReadingOfNineteenIsFivePercent) {
  Add(1000, 18);
  Add(2000);
  EXPECT_EQ(mBin.GetLra(1), 20.0F);  // 100 / 19 = 5
}

TEST_F(CbinTest, OneTopReadingOfTwentyOneIsFourPercent) {
  Add(1000, 20);
  Add(2000);
  EXPECT_EQ(mBin.GetLra(1), 0.0F);  // 100 / 21 = 4
}

TEST_F(CbinTest, OneLowReadingOfElevenIsNinePercent) {
  Add(1000);
  Add(2000, 10);
  EXPECT_EQ(mBin.GetLra(1), 0.0F);  // 100 / 11 = 9
  mBin.Decrement(2000);
  EXPECT_EQ(mBin.GetLra(1), 20.0F);  // 100 / 10 = 10
}

TEST_F(CbinTest, ReadingsBelowTheLowestCodeDoNotCount) {
  Add(999, 1000);
  Add(1000, 10);
  Add(1500, 90);
  EXPECT_EQ(mBin.GetLra(1000), 10.0F);
  EXPECT_EQ(mBin.GetLra(1001), 0.0F);
}

TEST_F(CbinTest, LowestCodeAboveEveryReadingYieldsNoRangeAndDoesNotDivideByZero) {
  Add(1000, 10);
  EXPECT_EQ(mBin.GetLra(1001), 0.0F);
  EXPECT_EQ(mBin.GetLra(4000), 0.0F);
  EXPECT_EQ(mBin.GetLra(4001), 0.0F);
  EXPECT_EQ(mBin.GetLra(65535), 0.0F);
}

// Counted from code 0, half of the readings are silence; yet the range begins no lower than code 1.
TEST_F(CbinTest, CodeZeroIsNeverTheLowPoint) {
  Add(0, 50);
  Add(101, 50);
  EXPECT_EQ(mBin.GetLra(0), 2.0F);  // 101 - 1 bins
}

// Of 101 readings the only one above silence is 0 %. The search from the top ends at code 0 and the
// low point is code 1, so the distance is one bin downward.
TEST_F(CbinTest, NoHighPointEndsBelowTheLowPoint) {
  Add(0, 100);
  Add(4000);
  EXPECT_EQ(mBin.GetLra(0), -0.02F);
}

TEST_F(CbinTest, RangeSpansTheWholeScale) {
  Add(1, 10);
  Add(4000, 10);
  EXPECT_EQ(mBin.GetLra(1), 79.98F);  // 3999 bins
}

// 43 000 000 * 100 is 5 032 704 modulo 2^32, which is 0 % of 53 000 000. For all 53 000 000 it is
// 1 005 032 704, or 18 %. So the search upward passes code 1000 and ends at 2000, where the search
// downward also ends.
TEST_F(CbinTest, PercentagesAreComputedInThirtyTwoBits) {
  mBin.Bins[1000] = 43000000;
  mBin.Bins[2000] = 10000000;
  mBin.NumBinnedValues = 53000000;
  EXPECT_EQ(mBin.GetLra(1), 0.0F);
}

// ----- how long a programme may be loud: the sum of powers is kept modulo 2^64

struct LoudProgramme {
  double lkfs;
  int longestReadings;  // number of readings whose sum still fits
  int tooManyReadings;  // number of readings whose sum does not fit
};

constexpr int kReadingsPerMinute = 600;
constexpr int kTwoHours = 72000;

// The sum fits while readings x 10^((level + 0.0085 + 152.6905962 + 0.6974) / 10) < 2^64, that is
// up to 8,438 readings at 0 LKFS, 67,030 at -9 and 73,497 at -9.4.
constexpr LoudProgramme kLoudProgrammes[] = {
    {0.0, 8400, 8500},
    {-9.0, 111 * kReadingsPerMinute, 112 * kReadingsPerMinute},
    {-9.4, kTwoHours, kTwoHours + 3 * kReadingsPerMinute},
};

TEST_F(CbinTest, SumOfPowersWrapsAfterTheReadingsThatTheDocumentsName) {
  for (const LoudProgramme& programme : kLoudProgrammes) {
    const auto code = static_cast<std::uint16_t>(std::lround((programme.lkfs + 70.0) / 0.02) + 1);
    mBin.Reset();
    Add(code, programme.longestReadings);
    EXPECT_NEAR(mBin.GetLoudnessLkfs(-70.0F), ReadBack(code), 0.001) << programme.lkfs;
    Add(code, programme.tooManyReadings - programme.longestReadings);
    EXPECT_LT(mBin.GetLoudnessLkfs(-70.0F), programme.lkfs - 10.0) << programme.lkfs;
  }
}

}  // namespace
