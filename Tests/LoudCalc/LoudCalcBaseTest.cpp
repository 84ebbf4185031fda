// The calculator: life cycle, reset, the 400 ms sum and the schedule of a second.

#include "LoudCalcBase.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "DispatcherHook.h"
#include "EngineFixture.h"

namespace {

constexpr LoudnessData_t kSomeReadings = {-101, -102, -103, -104, 105, -106, -107, -108};

// The coded figures before the first calculator exists.
const LoudnessData_t kLuDataAtStart = LuData;
const LoudnessData_t kLuPausedDataAtStart = LuPausedData;
const float kProgramAtStart = LoudCalcResultsAll.Program;

float LkfsOf(std::uint64_t power) {
  return static_cast<float>(10.0 * std::log10(static_cast<double>(power)) - 152.6905962 - 0.6974);
}

class LoudCalcBaseTest : public EngineFixture {};

// --- Life cycle --------------------------------------------------------------------------------

TEST_F(LoudCalcBaseTest, InitBuildsRingsAndIntegratorsWithTheirWindows) {
  EXPECT_FALSE(LoudInitError);
  EXPECT_EQ(pCbBinMomLoud->MaxNumElements, 72001U);
  EXPECT_EQ(pCbBinLra->MaxNumElements, 10801U);
  const struct {
    const char* name;
    const cLoudInteg* integ;
    float gate;
    const cCircBuf* ring;
    std::uint32_t window;
  } kCases[] = {
      {"programme", pProgramLoud, -10.0F, pCbBinMomLoud, 72000},
      {"short-term", pShortTermLoud, -99.0F, pCbBinMomLoud, 30},
      {"range", pLraLoud, -20.0F, pCbBinLra, 9},
      {"integrated", pIntegLoud, -10.0F, pCbBinMomLoud, 30},
  };
  for (const auto& [name, integ, gate, ring, window] : kCases) {
    EXPECT_EQ(integ->RelativeGate, gate) << name;
    EXPECT_EQ(integ->pCircBuf, ring) << name;
    EXPECT_EQ(integ->IntegrationTimeSamples, window) << name;
  }
}

TEST_F(LoudCalcBaseTest, InitFillsTheTableOfBinPowers) {
  EXPECT_EQ(Cbin::BinCenters[0], 0U);
  EXPECT_GT(Cbin::BinCenters[1], 0U);
  EXPECT_GT(Cbin::BinCenters[4000], Cbin::BinCenters[3999]);
}

TEST_F(LoudCalcBaseTest, InitReportsSuccess) {
  LoudCalcCleanup();
  EXPECT_EQ(LoudCalcInit(), 0U);
  EXPECT_FALSE(LoudInitError);
}

TEST_F(LoudCalcBaseTest, InitAfterCleanupStartsAFreshCalculator) {
  FeedLevel(-23.0, 50);
  LoudCalcCleanup();
  LoudCalcInit();
  EXPECT_EQ(LuData, kCodesOfNoReadings);
  EXPECT_EQ(pShortTermLoud->Bins.NumBinnedValues, 0U);
}

int gFetches = 0;
int gDispatcherStandIn = 0;

cJsonParser* FetchStandIn() {
  ++gFetches;
  return reinterpret_cast<cJsonParser*>(&gDispatcherStandIn);
}

TEST_F(LoudCalcBaseTest, InitFetchesTheDispatcherOnce) {
  LoudCalcCleanup();
  gFetches = 0;
  gpFetchDispatcher = FetchStandIn;
  LoudCalcInit();
  EXPECT_EQ(gFetches, 1);
  EXPECT_EQ(gpFetchedDispatcher, reinterpret_cast<cJsonParser*>(&gDispatcherStandIn));
  LoudCalcReset();
  FeedPower(1, 20);
  EXPECT_EQ(gFetches, 1);
  gpFetchDispatcher = nullptr;
}

TEST_F(LoudCalcBaseTest, InitWithoutADispatcherLeavesNone) {
  EXPECT_EQ(gpFetchedDispatcher, nullptr);
}

TEST_F(LoudCalcBaseTest, CleanupLeavesThePointersAsTheyAre) {
  const cCircBuf* ring = pCbBinMomLoud;
  const cLoudInteg* integ = pIntegLoud;
  LoudCalcCleanup();
  EXPECT_EQ(pCbBinMomLoud, ring);
  EXPECT_EQ(pIntegLoud, integ);
  LoudCalcInit();
}

TEST(LoudCalcBaseStartTest, ThereAreNoReadingsBeforeTheFirstInit) {
  EXPECT_EQ(kLuDataAtStart, kCodesOfNoReadings);
  EXPECT_EQ(kLuPausedDataAtStart, kCodesOfNoReadings);
  EXPECT_EQ(kProgramAtStart, -99.0F);
}

TEST(LoudCalcBaseStartTest, CleanupWithoutACalculatorDoesNothing) {
  ASSERT_EQ(pCbBinMomLoud, nullptr);
  LoudCalcCleanup();
  EXPECT_EQ(pCbBinMomLoud, nullptr);
}

TEST_F(LoudCalcBaseTest, ChannelConfigurationIsCopiedWhole) {
  ChanConfig_s config;
  config.FirstChan = 3;
  config.LastChan = 8;
  for (std::size_t i = 0; i < config.ChanWeightCoeff.size(); ++i)
    config.ChanWeightCoeff[i] = static_cast<float>(i) * 0.1F;
  LoudSetChanConfig(&config);
  const ChanConfig_s sent = config;
  config = ChanConfig_s{};
  EXPECT_EQ(ChanConfig.FirstChan, 3);
  EXPECT_EQ(ChanConfig.LastChan, 8);
  EXPECT_EQ(ChanConfig.ChanWeightCoeff.size(), 16U);
  EXPECT_EQ(ChanConfig.ChanWeightCoeff, sent.ChanWeightCoeff);
}

TEST_F(LoudCalcBaseTest, ChannelConfigurationChangesNoFigure) {
  ChanConfig_s config;
  config.ChanWeightCoeff.fill(0.0F);
  LoudSetChanConfig(&config);
  FeedLevel(-23.0, 4);
  EXPECT_EQ(LuData.Momentary, -230);
}

// --- Reset -------------------------------------------------------------------------------------

TEST_F(LoudCalcBaseTest, ResetEmptiesEverything) {
  FeedPower(PowerOf(-20.0), 237, 20000);
  LoudCalcReset();
  EXPECT_EQ(pCbBinMomLoud->NumElementsInUse, 0U);
  EXPECT_EQ(pCbBinLra->NumElementsInUse, 0U);
  EXPECT_EQ(DspCircBufIndex, 0);
  EXPECT_THAT(DspCircBuf, testing::ElementsAre(0U, 0U, 0U, 0U));
  EXPECT_EQ(DspPowerSum, 0U);
  EXPECT_EQ(SampleCounts.DspSubSample, 0);
  EXPECT_EQ(SampleCounts.ShortTermSubSample, 0);
  EXPECT_EQ(SampleCounts.MomSample, 0);
  for (const cLoudInteg* integ : {pProgramLoud, pShortTermLoud, pLraLoud, pIntegLoud}) {
    EXPECT_EQ(integ->Bins.NumBinnedValues, 0U);
    EXPECT_EQ(integ->NumSamplesReceived, 0U);
  }
}

TEST_F(LoudCalcBaseTest, ResetClearsTheFiguresButNotTheProgramme) {
  FeedSeconds(-20.0, 30);
  FeedSeconds(-30.0, 10);
  const float program = LoudCalcResultsAll.Program;
  ASSERT_GT(program, -25.0F);
  LoudCalcReset();
  EXPECT_EQ(LoudCalcResultsAll.MaxMomentary, -99.0F);
  EXPECT_EQ(LoudCalcResultsAll.Momentary, -99.0F);
  EXPECT_EQ(LoudCalcResultsAll.ShortTerm, -99.0F);
  EXPECT_EQ(LoudCalcResultsAll.Integrated, -99.0F);
  EXPECT_EQ(LoudCalcResultsAll.TruePeak, -99.0F);
  EXPECT_EQ(LoudCalcResultsAll.MaxTruePeak, -99.0F);
  EXPECT_EQ(LoudCalcResultsAll.LRA, 0.0F);
  EXPECT_EQ(LoudCalcResultsAll.Program, program);
  EXPECT_EQ(LuData, kCodesOfNoReadings);
}

// The fourth block codes all figures, so the old programme loudness is published until its next
// reading.
TEST_F(LoudCalcBaseTest, ProgrammeOfBeforeTheResetStandsUntilItsNextReading) {
  FeedSeconds(-20.0, 10);
  LoudCalcReset();
  FeedLevel(-40.0, 3);
  EXPECT_EQ(LuData.Program, -990);
  FeedLevel(-40.0, 1);
  EXPECT_EQ(LuData.Program, -200);
  FeedLevel(-40.0, 2);
  EXPECT_EQ(LuData.Program, -200);
  FeedLevel(-40.0, 1);
  EXPECT_EQ(LuData.Program, -400);
}

TEST_F(LoudCalcBaseTest, ResetLeavesThePausedFigures) {
  LuPausedData = kSomeReadings;
  LoudCalcReset();
  FeedSeconds(-20.0, 2);
  EXPECT_EQ(LuPausedData, kSomeReadings);
}

TEST_F(LoudCalcBaseTest, WindowsOfTheUserTakeEffectAtReset) {
  SetIntegWinTime(60);
  SetLraWinTime(120);
  FeedSeconds(-20.0, 1);
  EXPECT_EQ(pIntegLoud->IntegrationTimeSamples, 30U);
  EXPECT_EQ(pLraLoud->IntegrationTimeSamples, 9U);
  LoudCalcReset();
  EXPECT_EQ(pIntegLoud->IntegrationTimeSamples, 600U);
  EXPECT_EQ(pLraLoud->IntegrationTimeSamples, 120U);
  EXPECT_EQ(pProgramLoud->IntegrationTimeSamples, 72000U);
  EXPECT_EQ(pShortTermLoud->IntegrationTimeSamples, 30U);
}

TEST_F(LoudCalcBaseTest, LongestWindowsFitTheRings) {
  RestartWithWindows(7200, 10800);
  EXPECT_EQ(pIntegLoud->IntegrationTimeSamples + 1, pCbBinMomLoud->MaxNumElements);
  EXPECT_EQ(pLraLoud->IntegrationTimeSamples + 1, pCbBinLra->MaxNumElements);
}

TEST_F(LoudCalcBaseTest, OtherSettingsChangeNoFigure) {
  FeedSeconds(-20.0, 15);
  FeedSeconds(-28.0, 15);
  const LoudnessData_t plain = LuData;
  SetLuWinType(LOUD_WIN_TYPE_INTEGRATED);
  SetLuMode(LOUD_MODE_START_STOP);
  SetClusterId(4);
  LoudCalcReset();
  FeedSeconds(-20.0, 15);
  FeedSeconds(-28.0, 15);
  EXPECT_EQ(LuData, plain);
}

// --- Momentary loudness ------------------------------------------------------------------------

TEST_F(LoudCalcBaseTest, WarmUpOnlyFillsTheSum) {
  for (int block = 1; block <= kWarmUpBlocks; ++block) {
    FeedPower(1000000000000, 1, 20000);
    EXPECT_EQ(SampleCounts.DspSubSample, block);
    EXPECT_EQ(SampleCounts.MomSample, 0);
    EXPECT_EQ(DspPowerSum, static_cast<std::uint64_t>(block) * 1000000000000);
    EXPECT_EQ(pCbBinMomLoud->NumElementsInUse, 0U);
    EXPECT_EQ(LuData, kCodesOfNoReadings);
    EXPECT_EQ(LoudCalcResultsAll.Momentary, -99.0F);
    EXPECT_EQ(LoudCalcResultsAll.MaxTruePeak, -99.0F);
  }
  FeedPower(1000000000000);
  EXPECT_EQ(SampleCounts.DspSubSample, 3);
  EXPECT_EQ(SampleCounts.MomSample, 1);
  EXPECT_EQ(pCbBinMomLoud->NumElementsInUse, 1U);
}

TEST_F(LoudCalcBaseTest, WarmUpMayRaiseTheMaximum) {
  FeedPower(1000000000000, 1);
  EXPECT_EQ(LoudCalcResultsAll.MaxMomentary, LkfsOf(250000000000));
  FeedPower(0, 7);
  EXPECT_EQ(LoudCalcResultsAll.MaxMomentary, LkfsOf(250000000000));
  EXPECT_EQ(LuData.MaxMomentary, std::lround(LkfsOf(250000000000) * 10));
  EXPECT_EQ(LuData.Momentary, -990);
}

TEST_F(LoudCalcBaseTest, FourEqualBlocksReadThePowersLoudness) {
  for (std::uint64_t power :
       {std::uint64_t{1000000007}, std::uint64_t{123456789012345}, PowerOf(-23.0), PowerOf(0.0)}) {
    LoudCalcReset();
    FeedPower(power, 4);
    const double exact = 10.0 * std::log10(static_cast<double>(power)) - 153.3879962;
    EXPECT_NEAR(LoudCalcResultsAll.Momentary, exact, 0.00001) << power;
    EXPECT_EQ(LuData.Momentary, std::lround(exact * 10)) << power;
  }
}

TEST_F(LoudCalcBaseTest, FourthBlockGivesMomentaryAndShortTerm) {
  FeedLevel(-23.0, 4);
  EXPECT_EQ(LuData.Momentary, -230);
  EXPECT_EQ(LuData.MaxMomentary, -230);
  EXPECT_EQ(LuData.ShortTerm, -230);
  EXPECT_EQ(LuData.Integrated, -990);
  EXPECT_EQ(LuData.Lra, 0);
}

TEST_F(LoudCalcBaseTest, SumIsDividedInIntegers) {
  EXPECT_EQ(MomLoudnessUpdate(19), LkfsOf(4));  // 19 / 4
  EXPECT_EQ(MomLoudnessUpdate(4), LkfsOf(5));   // 23 / 4
  EXPECT_EQ(MomLoudnessUpdate(1), LkfsOf(6));   // 24 / 4
}

TEST_F(LoudCalcBaseTest, SumBelowFourIsNoReading) {
  FeedPower(0, 3);
  FeedPower(3);
  EXPECT_EQ(DspPowerSum, 3U);
  EXPECT_EQ(LoudCalcResultsAll.Momentary, -99.0F);
  EXPECT_EQ(LuData.Momentary, -990);
  EXPECT_EQ(LuData.MaxMomentary, -990);
  EXPECT_EQ(LuData.ShortTerm, -990);
}

// A sum of 4 is 10 log10(1) - 153.388 LKFS: finite, but far below the lowest code.
TEST_F(LoudCalcBaseTest, FaintestSumIsComputedButCodedAsNoReading) {
  FeedPower(1, 4);
  EXPECT_FLOAT_EQ(LoudCalcResultsAll.Momentary, -153.3879962F);
  EXPECT_EQ(LuData.Momentary, -990);
  EXPECT_EQ(LoudCalcResultsAll.MaxMomentary, -99.0F);
}

TEST_F(LoudCalcBaseTest, SumSlidesOverTheLastFourBlocks) {
  for (std::uint64_t power : {10U, 20U, 30U, 40U})
    MomLoudnessUpdate(power);
  EXPECT_EQ(DspPowerSum, 100U);
  EXPECT_EQ(DspCircBufIndex, 0);
  EXPECT_EQ(MomLoudnessUpdate(50), LkfsOf(35));  // (20 + 30 + 40 + 50) / 4
  EXPECT_EQ(DspCircBufIndex, 1);
  EXPECT_THAT(DspCircBuf, testing::ElementsAre(50U, 20U, 30U, 40U));
}

TEST_F(LoudCalcBaseTest, MaximumHoldsTheLoudestBlock) {
  FeedLevel(-30.0, 10);
  FeedLevel(-12.0, 4);
  FeedLevel(-30.0, 10);
  EXPECT_EQ(LuData.MaxMomentary, -120);
  EXPECT_EQ(LuData.Momentary, -300);
}

// Two powers of 2^63 make the sum 0 modulo 2^64. Two blocks later the first of them must be
// subtracted, but the sum is only 2.
TEST_F(LoudCalcBaseTest, SumThatHasWrappedRestartsFromTheNewestPower) {
  const std::uint64_t half = std::uint64_t{1} << 63;
  for (std::uint64_t power : {half, half, std::uint64_t{1}, std::uint64_t{1}})
    MomLoudnessUpdate(power);
  EXPECT_EQ(DspPowerSum, 2U);
  testing::internal::CaptureStdout();
  EXPECT_EQ(MomLoudnessUpdate(4000), LkfsOf(1000));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "LOUD C ERR: DspCircBuf underflow.\n");
  EXPECT_EQ(DspPowerSum, 4000U);
  EXPECT_EQ(DspCircBuf[0], 4000U);
}

TEST_F(LoudCalcBaseTest, SumEqualToTheOldestPowerIsNotAnUnderflow) {
  MomLoudnessUpdate(100);
  for (int i = 0; i < 3; ++i)
    MomLoudnessUpdate(0);
  testing::internal::CaptureStdout();
  MomLoudnessUpdate(8);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(DspPowerSum, 8U);
}

TEST_F(LoudCalcBaseTest, HighestPowersDoNoHarm) {
  testing::internal::CaptureStdout();
  FeedPower(std::numeric_limits<std::uint64_t>::max(), 100, 65535);
  FeedPower(0, 100, 0);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::StartsWith("LOUD C ERR: DspCircBuf underflow.\n"));
  FeedLevel(-23.0, 40);
  EXPECT_EQ(LuData.Momentary, -230);
  EXPECT_EQ(LuData.ShortTerm, -230);
}

// --- The schedule of a second ------------------------------------------------------------------

// Overwrites each figure with a wrong value before every block. A figure that is correct after the
// block has been computed in that block.
TEST_F(LoudCalcBaseTest, SlowFiguresAreRefreshedOnBlocksOfTheirOwn) {
  constexpr float kSpoilt = 77.0F;
  WarmUp();
  for (int second = 0; second < 3; ++second) {
    for (unsigned block = 1; block <= kBlocksPerSecond; ++block) {
      LoudCalcResultsAll.LRA = LoudCalcResultsAll.Program = LoudCalcResultsAll.Integrated = kSpoilt;
      const std::uint32_t lraReadings = pCbBinLra->NumElementsInUse;
      FeedLevel(-23.0, 1);
      EXPECT_EQ(LoudCalcResultsAll.LRA != kSpoilt, block == 2) << block;
      EXPECT_EQ(LoudCalcResultsAll.Program != kSpoilt, block == 4) << block;
      EXPECT_EQ(LoudCalcResultsAll.Integrated != kSpoilt, block == 7) << block;
      EXPECT_EQ(pCbBinLra->NumElementsInUse - lraReadings, block == 10 ? 1U : 0U) << block;
      EXPECT_EQ(SampleCounts.MomSample, block % kBlocksPerSecond);
    }
  }
}

TEST_F(LoudCalcBaseTest, EveryBlockFeedsTheMomentaryRingAndItsThreeIntegrators) {
  RestartWithWindows(7200, 9);
  WarmUp();
  for (std::uint32_t block = 1; block <= 25; ++block) {
    FeedLevel(-23.0, 1);
    EXPECT_EQ(pCbBinMomLoud->NumElementsInUse, block);
    for (const cLoudInteg* integ : {pProgramLoud, pShortTermLoud, pIntegLoud})
      EXPECT_EQ(integ->Bins.NumBinnedValues, block);
  }
}

TEST_F(LoudCalcBaseTest, RangeIsFedTheShortTermCodeOfTheSecondsLastBlock) {
  WarmUp();
  FeedLevel(-23.0, 9);
  EXPECT_EQ(pLraLoud->Bins.NumBinnedValues, 0U);
  FeedLevel(-13.0, 1);
  const std::uint16_t code = Cbin::GetBinIndx(LoudCalcResultsAll.ShortTerm);
  EXPECT_EQ(pCbBinLra->pCircBuf[0], code);
  EXPECT_EQ(pLraLoud->Bins.Bins[code], 1U);
  EXPECT_EQ(pLraLoud->Bins.NumBinnedValues, 1U);
}

TEST_F(LoudCalcBaseTest, CountOfRangeReadingsStopsAtFiftyNine) {
  WarmUp();
  for (int second = 1; second <= 300; ++second) {
    FeedLevel(-23.0, kBlocksPerSecond);
    ASSERT_EQ(SampleCounts.ShortTermSubSample, std::min(second, 59));
  }
}

TEST_F(LoudCalcBaseTest, RangeIsStillReadAfterItsCountHasStopped) {
  FeedSeconds(-23.0, 70);
  ASSERT_EQ(SampleCounts.ShortTermSubSample, 59);
  EXPECT_EQ(LuData.Lra, 0);
  FeedSeconds(-33.0, 7);
  EXPECT_GE(LuData.Lra, 90);
  FeedSeconds(-33.0, 20);
  EXPECT_EQ(LuData.Lra, 0);
}

}  // namespace
