// The calculator's figures: true peak, coding, sliding windows and the test signals of the
// standards.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <utility>
#include <vector>

#include "EngineFixture.h"
#include "LoudCalcBase.h"

namespace {

class LoudCalcFiguresTest : public EngineFixture {};

// --- True peak ---------------------------------------------------------------------------------

TEST_F(LoudCalcFiguresTest, TruePeakIsTwentyLogarithmsBelowFullScale) {
  const struct {
    std::uint16_t peak;
    double dbtp;  // 20 log10(peak) - 90.3087
    int code;
  } kCases[] = {
      {32768, 0.0, 0},           // 20 * 4.515450 = 90.30900
      {16384, -6.0203, -602},    // 20 * 4.214420 = 84.28840
      {10000, -10.3087, -1031},  // 80
      {100, -50.3087, -5031},    // 40
      {2, -84.2881, -8429},      // 20 * 0.3010300 = 6.02060
      {1, -90.3087, -9031},      // 0
      {65535, 6.0207, 602},      // 20 * 4.816473 = 96.32947
  };
  for (const auto& [peak, dbtp, code] : kCases) {
    LoudCalcReset();
    WarmUp();
    FeedPeak(peak);
    EXPECT_NEAR(GetTruePeak(peak), dbtp, 0.0005) << peak;
    EXPECT_EQ(LoudCalcResultsAll.TruePeak, GetTruePeak(peak)) << peak;
    EXPECT_EQ(LuData.TruePeak, code) << peak;
    EXPECT_EQ(LuData.MaxTruePeak, code) << peak;
  }
}

TEST_F(LoudCalcFiguresTest, NoPeakIsNoTruePeak) {
  EXPECT_EQ(GetTruePeak(0), -99.0F);
  WarmUp();
  FeedPeak(0);
  EXPECT_EQ(LoudCalcResultsAll.TruePeak, -99.0F);
  EXPECT_EQ(LuData.TruePeak, -9900);
  EXPECT_EQ(LuData.MaxTruePeak, -9900);
}

// log10(5119) is 3.7091851, and 20 times that is 74.1837025. Single precision has steps of
// 0.0000076 there and rounds it to 74.1837006. Minus 90.3087 that is -16.1249994; with steps of
// 0.0000019 it becomes -16.125, an exact half, which is rounded away from zero. A product in double
// precision would end at -16.124998.
TEST_F(LoudCalcFiguresTest, TruePeakIsSinglePrecisionUpToTheSubtraction) {
  EXPECT_EQ(GetTruePeak(5119), -16.125F);
  WarmUp();
  FeedPeak(5119);
  EXPECT_EQ(LuData.TruePeak, -1613);
}

TEST_F(LoudCalcFiguresTest, MaximumTruePeakHoldsUntilReset) {
  WarmUp();
  FeedPeak(16384);
  FeedPeak(100);
  EXPECT_EQ(LuData.TruePeak, -5031);
  EXPECT_EQ(LuData.MaxTruePeak, -602);
  FeedPeak(0);
  EXPECT_EQ(LuData.TruePeak, -9900);
  EXPECT_EQ(LuData.MaxTruePeak, -602);
  FeedPeak(32768);
  EXPECT_EQ(LuData.MaxTruePeak, 0);
  LoudCalcReset();
  WarmUp();
  FeedPeak(100);
  EXPECT_EQ(LuData.MaxTruePeak, -5031);
}

// --- Coding ------------------------------------------------------------------------------------

// On a silent first block of a second only the momentary and short-term figures are computed. All
// others are coded with their previous values.
class CodingTest : public LoudCalcFiguresTest {
 protected:
  CodingTest() { WarmUp(); }

  static std::vector<int> CodesOf(float loudness) {
    LoudCalcResultsAll.MaxMomentary = loudness;
    LoudCalcResultsAll.Integrated = loudness;
    LoudCalcResultsAll.Program = loudness;
    FeedPower(0);
    return {LuData.MaxMomentary, LuData.Integrated, LuData.Program};
  }
};

class LoudnessCodingTest : public CodingTest,
                           public testing::WithParamInterface<std::pair<float, int>> {};

TEST_P(LoudnessCodingTest, TenthsAreRoundedWithHalvesAwayFromZero) {
  const auto [loudness, code] = GetParam();
  EXPECT_THAT(CodesOf(loudness), testing::Each(code)) << loudness << " LKFS";
}

INSTANTIATE_TEST_SUITE_P(Values, LoudnessCodingTest,
                         testing::Values(std::pair(-23.46F, -235), std::pair(-23.44F, -234),
                                         // -23.049999: ten times that is -230.49999 in double
                                         // precision, -230.5 in single
                                         std::pair(-23.05F, -231), std::pair(-0.25F, -3),
                                         std::pair(-0.75F, -8), std::pair(0.25F, 3),
                                         std::pair(0.0F, 0), std::pair(9.99F, 100),
                                         std::pair(-98.99F, -990), std::pair(-98.9F, -989),
                                         std::pair(-98.0F, -980)));

// -6.0149999: a hundred times that is -601.49999 in double precision, -601.5 in single.
TEST_F(CodingTest, HundredthsOfPeaksAreProductsInSinglePrecision) {
  LoudCalcResultsAll.MaxTruePeak = -6.015F;
  FeedPower(0);
  EXPECT_EQ(LuData.MaxTruePeak, -602);
}

TEST_F(CodingTest, MinusNinetyNineAndBelowIsNoReading) {
  for (float loudness : {-99.0F, -99.04F, -153.4F, -1000.0F}) {
    LoudCalcReset();
    WarmUp();
    EXPECT_THAT(CodesOf(loudness), testing::Each(-990)) << loudness << " LKFS";
  }
}

class LraCodingTest : public CodingTest,
                      public testing::WithParamInterface<std::pair<float, int>> {};

TEST_P(LraCodingTest, TenthsAreTruncatedTowardZero) {
  const auto [lra, code] = GetParam();
  LoudCalcResultsAll.LRA = lra;
  FeedPower(0);
  EXPECT_EQ(LuData.Lra, code) << lra << " LU";
}

INSTANTIATE_TEST_SUITE_P(Values, LraCodingTest,
                         testing::Values(std::pair(3.47F, 34), std::pair(3.49F, 34),
                                         std::pair(3.5F, 35), std::pair(0.08F, 0),
                                         std::pair(-0.02F, 0), std::pair(-0.98F, -9),
                                         std::pair(79.98F, 799)));

// A range of n bins is 0.02 n LU, which is n / 5 tenths. Float rounding must not lose a tenth.
TEST_F(CodingTest, EveryPossibleRangeIsCodedAsItsWholeTenths) {
  Cbin bin;
  for (std::uint16_t bins = 0; bins < 4000; ++bins) {
    bin.Reset();
    bin.Increment(1);
    bin.Increment(static_cast<std::uint16_t>(1 + bins));
    LoudCalcReset();
    WarmUp();
    LoudCalcResultsAll.LRA = bin.GetLra(1);
    FeedPower(0);
    ASSERT_EQ(LuData.Lra, bins / 5) << bins;
  }
}

TEST_F(CodingTest, ShortTermAndMomentaryAreCodedEveryBlock) {
  FeedLevel(-23.46, 34);
  EXPECT_EQ(LuData.Momentary, -235);
  EXPECT_EQ(LuData.ShortTerm, -235);
}

// --- The start ---------------------------------------------------------------------------------

// From the fourth block on, the momentary loudness is that of the mean power of four blocks.
// Programme and integrated loudness have their first readings on the fourth and the seventh block
// after the three blocks of warm-up.
TEST_F(LoudCalcFiguresTest, FirstSixBlocksAfterTheStart) {
  const std::vector<double> levels = {-20.0, -30.0, -23.0, -40.0, -26.0, -33.0};
  const auto power = [&](std::size_t block) { return std::pow(10.0, levels[block] / 10.0); };
  for (std::size_t block = 0; block < levels.size(); ++block) {
    FeedLevel(levels[block], 1);
    SCOPED_TRACE(testing::Message() << "block " << block + 1);
    EXPECT_EQ(LoudCalcResultsAll.Program, -99.0F);
    EXPECT_EQ(LuData.Program, -990);
    EXPECT_EQ(LoudCalcResultsAll.Integrated, -99.0F);
    EXPECT_EQ(LuData.Integrated, -990);
    if (block < kWarmUpBlocks) {
      EXPECT_EQ(LoudCalcResultsAll.Momentary, -99.0F);
      EXPECT_EQ(LuData.Momentary, -990);
      continue;
    }
    const double mean = (power(block) + power(block - 1) + power(block - 2) + power(block - 3)) / 4;
    EXPECT_NEAR(LoudCalcResultsAll.Momentary, 10.0 * std::log10(mean), 0.0001);
    EXPECT_EQ(LuData.Momentary, std::lround(100.0 * std::log10(mean)));
  }
}

// --- Windows -----------------------------------------------------------------------------------

TEST_F(LoudCalcFiguresTest, ShortTermForgetsWhatIsOlderThanThreeSeconds) {
  FeedLevel(-10.0, 3);
  FeedLevel(-30.0, 3);  // the last momentary readings that include a loud block
  FeedLevel(-30.0, 29);
  EXPECT_GT(LuData.ShortTerm, -299);
  FeedLevel(-30.0, 1);
  EXPECT_EQ(LuData.ShortTerm, -300);
}

TEST_F(LoudCalcFiguresTest, IntegratedForgetsWhatIsOlderThanItsWindow) {
  RestartWithWindows(10, 9);
  FeedSeconds(-20.0, 10);
  FeedSeconds(-28.0, 8);
  EXPECT_GT(LuData.Integrated, -270);
  FeedSeconds(-28.0, 4);
  EXPECT_EQ(LuData.Integrated, -280);
}

TEST_F(LoudCalcFiguresTest, ProgrammeForgetsWhatIsOlderThanTwoHours) {
  constexpr int kTwoHours = 72000;
  FeedLevel(-14.0, 600 + kWarmUpBlocks);
  FeedLevel(-20.0, kTwoHours - 600);
  // 600 readings at -14 and 71400 at -20: -20 + 10 log10((600 * 10^0.6 + 71400) / 72000) = -19.89.
  EXPECT_NEAR(LoudCalcResultsAll.Program, -19.89, 0.02);
  EXPECT_EQ(pProgramLoud->NumSamplesReceived, 72000U);
  FeedLevel(-20.0, 600 + 20);
  EXPECT_NEAR(LoudCalcResultsAll.Program, -20.0, 0.011);
  EXPECT_EQ(LuData.Program, -200);
}

// --- Test signals of the standards -------------------------------------------------------------

struct Segment {
  double lkfs;
  double seconds;
};

struct SignalCase {
  const char* name;
  std::vector<Segment> segments;
  double expected;
  double tolerance;
};

void PrintTo(const SignalCase& signal, std::ostream* out) {
  *out << signal.name;
}

class SignalTest : public LoudCalcFiguresTest, public testing::WithParamInterface<SignalCase> {
 protected:
  SignalTest() {
    RestartWithWindows(7200, 10800);
    for (const Segment& segment : GetParam().segments)
      FeedSeconds(segment.lkfs, segment.seconds);
  }
};

class IntegratedSignalTest : public SignalTest {};

TEST_P(IntegratedSignalTest, IntegratedAndProgrammeLoudnessMeetTheTolerance) {
  EXPECT_NEAR(LoudCalcResultsAll.Integrated, GetParam().expected, GetParam().tolerance);
  EXPECT_NEAR(LoudCalcResultsAll.Program, GetParam().expected, GetParam().tolerance);
}

// EBU Tech 3341, minimum requirements test signals 1 to 5.
INSTANTIATE_TEST_SUITE_P(
    Tech3341, IntegratedSignalTest,
    testing::Values(SignalCase{"1", {{-23, 20}}, -23.0, 0.1},
                    SignalCase{"2", {{-33, 20}}, -33.0, 0.1},
                    SignalCase{"3", {{-36, 10}, {-23, 60}, {-36, 10}}, -23.0, 0.1},
                    SignalCase{
                        "4", {{-72, 10}, {-36, 10}, {-23, 60}, {-36, 10}, {-72, 10}}, -23.0, 0.1},
                    SignalCase{"5", {{-26, 20}, {-20, 20.1}, {-26, 20}}, -23.0, 0.1}));

class RangeSignalTest : public SignalTest {};

TEST_P(RangeSignalTest, LoudnessRangeMeetsTheTolerance) {
  EXPECT_NEAR(LoudCalcResultsAll.LRA, GetParam().expected, GetParam().tolerance);
}

// EBU Tech 3342, minimum requirements test signals 1 to 4.
INSTANTIATE_TEST_SUITE_P(
    Tech3342, RangeSignalTest,
    testing::Values(SignalCase{"1", {{-20, 20}, {-30, 20}}, 10.0, 1.0},
                    SignalCase{"2", {{-20, 20}, {-15, 20}}, 5.0, 1.0},
                    SignalCase{"3", {{-40, 20}, {-20, 20}}, 20.0, 1.0},
                    SignalCase{
                        "4", {{-50, 20}, {-35, 20}, {-20, 20}, {-35, 20}, {-50, 20}}, 15.0, 1.0}));

// EBU Tech 3341, test signal 9: the short-term loudness is constant while the level alternates with
// a period of three seconds. 1.34 s at -20 and 1.66 s at -30 LKFS, in whole blocks 1.3 s and 1.7 s:
// 10 log10((13 * 10^-2 + 17 * 10^-3) / 30) = -23.10 LKFS.
TEST_F(LoudCalcFiguresTest, ShortTermIsConstantOverAPeriodOfItsWindow) {
  for (int period = 0; period < 5; ++period) {
    for (int block = 0; block < 30; ++block) {
      FeedLevel(block < 13 ? -20.0 : -30.0, 1);
      if (period >= 2) {
        EXPECT_NEAR(LoudCalcResultsAll.ShortTerm, -23.10, 0.1) << "block " << block;
      }
    }
  }
}

}  // namespace
