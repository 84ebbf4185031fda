// The integrator over a sliding window: its window on the shared ring, gating in two passes,
// loudness range.

#include "LoudInteg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr float kNoRelativeGate = -99.0F;

// The code of a level that is a multiple of 0.02 LU, from the lower edge -70 + 0.02 (code - 1).
std::uint16_t CodeOf(double lkfs) {
  return static_cast<std::uint16_t>(std::lround((lkfs + 70.0) / 0.02) + 1);
}

// The power of a bin converts to 0.0085 LU above its lower edge (see BinTest).
double ReadBack(double lkfs) {
  return lkfs + 0.0085;
}

class LoudIntegTest : public testing::Test {
 protected:
  LoudIntegTest() {
    Cbin::InitBinCenters();
    SetWindow(30);
  }

  void SetWindow(std::uint32_t readings) {
    mRing.Reset();
    for (cLoudInteg* integ : {&mUngated, &mGate10, &mGate20})
      integ->Reset(readings);
  }

  // Writes each reading into the ring once and hands it to every integrator, as the calculator
  // does.
  void Add(std::uint16_t code, int times = 1) {
    for (int i = 0; i < times; ++i) {
      mRing.AddElement(code);
      for (cLoudInteg* integ : {&mUngated, &mGate10, &mGate20})
        integ->AddNewSample(code);
    }
  }

  void AddLevel(double lkfs, int times = 1) { Add(CodeOf(lkfs), times); }

  cCircBuf mRing{101};
  cLoudInteg mUngated{kNoRelativeGate, &mRing};
  cLoudInteg mGate10{-10.0F, &mRing};
  cLoudInteg mGate20{-20.0F, &mRing};
};

TEST_F(LoudIntegTest, NewIntegratorIsEmptyWithAWindowOfOne) {
  const cLoudInteg integ(-10.0F, &mRing);
  EXPECT_EQ(integ.pCircBuf, &mRing);
  EXPECT_EQ(integ.Bins.NumBinnedValues, 0U);
  EXPECT_EQ(integ.MomLoudTail, 0U);
  EXPECT_EQ(integ.IntegrationTimeSamples, 1U);
  EXPECT_EQ(integ.NumSamplesReceived, 0U);
  EXPECT_EQ(integ.MaxNumElementsInCircBuf, 101U);
  EXPECT_EQ(integ.RelativeGate, -10.0F);
}

TEST_F(LoudIntegTest, DestructionLeavesTheRing) {
  mRing.AddElement(17);
  { const cLoudInteg integ(-10.0F, &mRing); }
  EXPECT_EQ(mRing.pCircBuf[0], 17);
  EXPECT_EQ(mRing.NumElementsInUse, 1U);
}

TEST_F(LoudIntegTest, ResetEmptiesTheWindowAndSetsItsLength) {
  Add(2000, 40);
  mGate10.Reset(50);
  EXPECT_EQ(mGate10.Bins.NumBinnedValues, 0U);
  EXPECT_EQ(mGate10.MomLoudTail, 0U);
  EXPECT_EQ(mGate10.IntegrationTimeSamples, 50U);
  EXPECT_EQ(mGate10.NumSamplesReceived, 0U);
  EXPECT_EQ(mGate10.RelativeGate, -10.0F);
}

TEST_F(LoudIntegTest, WindowIsCappedAtTwoHours) {
  mGate10.Reset(72000);
  EXPECT_EQ(mGate10.IntegrationTimeSamples, 72000U);
  mGate10.Reset(72001);
  EXPECT_EQ(mGate10.IntegrationTimeSamples, 72000U);
  mGate10.Reset(100000);
  EXPECT_EQ(mGate10.IntegrationTimeSamples, 72000U);
}

TEST_F(LoudIntegTest, WindowFillsWithoutRemovingAnything) {
  Add(100);
  Add(200, 29);
  EXPECT_EQ(mUngated.NumSamplesReceived, 30U);
  EXPECT_EQ(mUngated.Bins.NumBinnedValues, 30U);
  EXPECT_EQ(mUngated.Bins.Bins[100], 1U);
  EXPECT_EQ(mUngated.MomLoudTail, 0U);
}

TEST_F(LoudIntegTest, ThirtyFirstReadingRemovesTheFirst) {
  Add(100);
  Add(200, 29);
  Add(300);
  EXPECT_EQ(mUngated.Bins.Bins[100], 0U);
  EXPECT_EQ(mUngated.Bins.Bins[200], 29U);
  EXPECT_EQ(mUngated.Bins.Bins[300], 1U);
  EXPECT_EQ(mUngated.Bins.NumBinnedValues, 30U);
  EXPECT_EQ(mUngated.NumSamplesReceived, 30U);
  EXPECT_EQ(mUngated.MomLoudTail, 1U);
}

TEST_F(LoudIntegTest, SlidingWindowHoldsExactlyTheLastReadings) {
  testing::internal::CaptureStdout();
  for (int i = 0; i < 1000; ++i) {
    Add(static_cast<std::uint16_t>(i));
    ASSERT_EQ(mUngated.Bins.NumBinnedValues, static_cast<std::uint32_t>(std::min(i + 1, 30)));
    ASSERT_EQ(mUngated.Bins.Bins[static_cast<std::size_t>(i)], 1U) << i;
    if (i >= 29) {
      ASSERT_EQ(mUngated.Bins.Bins[static_cast<std::size_t>(i - 29)], 1U) << i;
    }
    if (i >= 30) {
      ASSERT_EQ(mUngated.Bins.Bins[static_cast<std::size_t>(i - 30)], 0U) << i;
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(LoudIntegTest, TailWrapsAtTheEndOfTheRing) {
  Add(1, 30 + 100);
  EXPECT_EQ(mUngated.MomLoudTail, 100U);
  Add(1);
  EXPECT_EQ(mUngated.MomLoudTail, 0U);
}

TEST_F(LoudIntegTest, WindowsOfSeveralLengthsShareOneRing) {
  mRing.Reset();
  mUngated.Reset(3);
  mGate10.Reset(10);
  mGate20.Reset(100);
  testing::internal::CaptureStdout();
  Add(500, 250);
  Add(600, 7);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(mUngated.Bins.Bins[600], 3U);
  EXPECT_EQ(mUngated.Bins.Bins[500], 0U);
  EXPECT_EQ(mGate10.Bins.Bins[600], 7U);
  EXPECT_EQ(mGate10.Bins.Bins[500], 3U);
  EXPECT_EQ(mGate20.Bins.Bins[600], 7U);
  EXPECT_EQ(mGate20.Bins.Bins[500], 93U);
}

TEST_F(LoudIntegTest, TwoHourWindowSlidesOnItsRing) {
  cCircBuf ring(72001);
  cLoudInteg integ(-10.0F, &ring);
  integ.Reset(100000);
  testing::internal::CaptureStdout();
  const auto add = [&](std::uint16_t code, int times) {
    for (int i = 0; i < times; ++i) {
      ring.AddElement(code);
      integ.AddNewSample(code);
    }
  };
  add(3000, 1000);
  add(2000, 71000);
  EXPECT_EQ(integ.Bins.Bins[3000], 1000U);
  add(2000, 999);
  EXPECT_EQ(integ.Bins.Bins[3000], 1U);
  add(2000, 1);
  EXPECT_EQ(integ.Bins.Bins[3000], 0U);
  add(1000, 150000);
  EXPECT_EQ(integ.Bins.Bins[1000], 72000U);
  EXPECT_EQ(integ.Bins.NumBinnedValues, 72000U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(LoudIntegTest, TailBeyondTheRingRemovesSilence) {
  Add(2000, 30);
  mRing.MaxNumElements = 20;  // the memory beyond this end still contains a code of 2000
  mUngated.MomLoudTail = 20;
  testing::internal::CaptureStdout();
  mUngated.AddNewSample(2000);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "LOUD C ERR: Tried to decrement bin 0 when it was empty.\n");
  EXPECT_EQ(mUngated.MomLoudTail, 21U);
  EXPECT_EQ(mUngated.Bins.Bins[2000], 31U);
}

// --- Gated loudness ----------------------------------------------------------------------------

TEST_F(LoudIntegTest, EmptyWindowReadsNoLoudness) {
  EXPECT_EQ(mUngated.GetGatedLkfsReading(), -99.0F);
  EXPECT_EQ(mGate10.GetGatedLkfsReading(), -99.0F);
}

TEST_F(LoudIntegTest, SilenceReadsNoLoudness) {
  Add(0, 30);
  EXPECT_EQ(mGate10.GetGatedLkfsReading(), -99.0F);
}

// Half at -20 and half at -40 LKFS: the ungated mean is -20 + 10 log10(0.505) = -22.967 LKFS. A
// gate 10 LU below it drops the lower half, a gate 20 LU below it (-42.967) keeps it.
TEST_F(LoudIntegTest, ReadingsBelowTheRelativeGateDoNotCount) {
  AddLevel(-20.0, 15);
  AddLevel(-40.0, 15);
  const double ungated = ReadBack(-20.0 + 10.0 * std::log10(0.505));
  EXPECT_NEAR(mUngated.GetGatedLkfsReading(), ungated, 0.0001);
  EXPECT_NEAR(mGate10.GetGatedLkfsReading(), ReadBack(-20.0), 0.0001);
  EXPECT_NEAR(mGate20.GetGatedLkfsReading(), ungated, 0.0001);
}

// One reading at +9 and 27 at -70 LKFS: mean 9 - 10 log10(28) = -5.47 LKFS. Silence (code 0) does
// not count, although a gate 99 LU below the mean is far under it.
TEST_F(LoudIntegTest, GateOfMinus99ReportsTheAbsolutelyGatedMean) {
  AddLevel(9.0, 1);
  AddLevel(-70.0, 27);
  Add(0, 2);
  EXPECT_NEAR(mUngated.GetGatedLkfsReading(), ReadBack(9.0 - 10.0 * std::log10(28.0)), 0.0001);
}

// One reading at -50.5 and 24 at -69 LKFS: the mean is 10 log10((10^-5.05 + 24 * 10^-6.9) / 25) =
// -63.21 LKFS. The gate 10 LU lower is below -70, so this mean is the result although the loud
// reading alone is far higher. Silence (code 0) still does not count: the histogram never sums it.
TEST_F(LoudIntegTest, BelowMinus60TheRelativeGateHasNoEffect) {
  AddLevel(-50.5, 1);
  AddLevel(-69.0, 24);
  Add(0, 5);
  const double mean =
      10.0 * std::log10((std::pow(10.0, -5.05) + 24.0 * std::pow(10.0, -6.9)) / 25.0);
  ASSERT_LT(mean, -60.0);
  EXPECT_NEAR(mGate10.GetGatedLkfsReading(), ReadBack(mean), 0.001);
}

TEST_F(LoudIntegTest, ReadingsThatLeaveTheWindowNoLongerCount) {
  AddLevel(-10.0, 30);
  AddLevel(-30.0, 29);
  EXPECT_GT(mUngated.GetGatedLkfsReading(), -26.0F);
  AddLevel(-30.0);
  EXPECT_NEAR(mUngated.GetGatedLkfsReading(), ReadBack(-30.0), 0.0001);
}

// --- Loudness range ----------------------------------------------------------------------------

TEST_F(LoudIntegTest, EmptyWindowHasNoRange) {
  EXPECT_EQ(mGate20.GetLra(), 0.0F);
}

TEST_F(LoudIntegTest, TwoLevelsTenApartHaveARangeOfTen) {
  AddLevel(-20.0, 15);
  AddLevel(-30.0, 15);
  EXPECT_EQ(mGate20.GetLra(), 10.0F);
}

TEST_F(LoudIntegTest, BelowMinus50ThereIsNoRange) {
  AddLevel(-60.0, 15);
  AddLevel(-51.0, 15);  // mean about -53.6, the range's gate below -70
  EXPECT_EQ(mGate20.GetLra(), 0.0F);
}

// Four readings at -57.54 and one at -43.68 LKFS: 10 log10((4 * 10^-5.754 + 10^-4.368) / 5) is
// -50.0085 LKFS and reads back as -50, exactly so in single precision with its steps of 0.0000038.
// The range's gate is then -70, which is not below the absolute gate: all five readings count.
TEST_F(LoudIntegTest, AtMinus50ThereIsARange) {
  AddLevel(-57.54, 4);
  AddLevel(-43.68, 1);
  ASSERT_EQ(mGate20.GetGatedLkfsReading(), -50.0F);
  EXPECT_EQ(mGate20.GetLra(), 13.86F);
}

TEST_F(LoudIntegTest, JustAboveMinus50ThereIsARange) {
  AddLevel(-58.0, 15);
  AddLevel(-46.0, 15);  // mean about -48.7, the range's gate about -68.7
  EXPECT_EQ(mGate20.GetLra(), 12.0F);
}

// 3 readings at -20, 24 at -60 and 3 at -45 LKFS. The ungated mean is 10 log10((3 * 10^-2 + 3 *
// 10^-4.5) / 30) = -29.99 LKFS. A gate 20 LU below that leaves a mean of 10 log10((10^-2 + 10^-4.5)
// / 2) = -23.00 LKFS. The range's gate is 20 LU below this, at -43.00, above the readings at -45:
// one level is left. Relative to the ungated mean the gate would be at -49.99 and the range 25 LU.
TEST_F(LoudIntegTest, RangeIsGatedTwice) {
  AddLevel(-20.0, 3);
  AddLevel(-60.0, 24);
  AddLevel(-45.0, 3);
  EXPECT_NEAR(mGate20.GetLraGate(), ReadBack(-43.0), 0.01);
  EXPECT_EQ(mGate20.GetLra(), 0.0F);
}

// The same readings in an integrator without a relative gate: -29.99 - 20 keeps those at -45 LKFS.
TEST_F(LoudIntegTest, RangeFollowsTheIntegratorsOwnGate) {
  AddLevel(-20.0, 3);
  AddLevel(-60.0, 24);
  AddLevel(-45.0, 3);
  EXPECT_EQ(mUngated.GetLra(), 25.0F);
}

}  // namespace
