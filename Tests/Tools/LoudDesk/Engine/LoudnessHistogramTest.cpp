// Gated figures of many readings: identical to those of the engine's integrator within its range,
// and equal to the formulas beyond it.

#include "LoudnessHistogram.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "Bin.h"
#include "LoudInteg.h"

namespace louddesk {
namespace {

constexpr float kIntegratedGate = -10.0F;  // ITU-R BS.1770
constexpr float kRangeGate = -20.0F;       // EBU Tech 3342

constexpr double kBin = 0.02;

std::uint16_t CodeOf(double lkfs) {
  return Cbin::GetBinIndx(static_cast<float>(lkfs));
}

void Count(LoudnessHistogram& histogram, double lkfs, int times) {
  for (int i = 0; i < times; ++i)
    histogram.Count(CodeOf(lkfs));
}

// The engine's integrator with the same readings, all within its window.
class WithEngine {
 public:
  explicit WithEngine(float gate)
      : mOurs(gate), mRing(kMaxWindowReadings + 1), mTheirs(gate, &mRing) {
    mTheirs.Reset(kMaxWindowReadings);
  }

  void Count(std::uint16_t code) {
    mOurs.Count(code);
    mRing.AddElement(code);
    mTheirs.AddNewSample(code);
  }

  void ExpectSame() const {
    const float loudness = mTheirs.GetGatedLkfsReading();
    EXPECT_EQ(mOurs.GatedLoudness().value_or(kNoLoudnessLkfs), loudness);
    const auto range = mOurs.Range();
    EXPECT_EQ(range.has_value(), mTheirs.GetLraGate() >= kAbsoluteGateLkfs);
    EXPECT_EQ(range ? range->lu : 0.0, mTheirs.GetLra());
  }

 private:
  LoudnessHistogram mOurs;
  cCircBuf mRing;
  cLoudInteg mTheirs;
};

TEST(LoudnessHistogramTest, FiguresAreThoseOfTheEngineToTheLastDigit) {
  std::mt19937 random(1);
  for (const float gate : {kIntegratedGate, kRangeGate})
    for (const double centre : {-66.0, -55.0, -45.0, -23.0, -5.0})
      for (const double spread : {0.5, 6.0, 18.0}) {
        SCOPED_TRACE(testing::Message() << gate << " " << centre << " " << spread);
        std::normal_distribution<float> loudness(static_cast<float>(centre),
                                                 static_cast<float>(spread));
        WithEngine both(gate);
        for (int i = 1; i <= 2000; ++i) {
          both.Count(Cbin::GetBinIndx(loudness(random)));
          if (i <= 50 || i % 100 == 0)
            both.ExpectSame();
        }
      }
}

TEST(LoudnessHistogramTest, WithoutReadingsThereAreNoFigures) {
  LoudnessHistogram histogram(kIntegratedGate);
  EXPECT_FALSE(histogram.GatedLoudness());
  EXPECT_FALSE(histogram.RelativeGate());
  EXPECT_FALSE(histogram.Range());
  Count(histogram, -99.0, 10);
  EXPECT_EQ(histogram.Counts()[0], 10U);
  EXPECT_FALSE(histogram.GatedLoudness());
  EXPECT_FALSE(histogram.RelativeGate());
  EXPECT_FALSE(histogram.Range());
}

// The power that stands for +9.9 LKFS is 2.1e16: the engine's 64 bits hold 860 of them.
TEST(LoudnessHistogramTest, SumsHoldTheLoudestProgrammeOfAnyLength) {
  LoudnessHistogram histogram(kIntegratedGate);
  Count(histogram, 9.9, 3'000'000);  // more than three days
  EXPECT_NEAR(histogram.GatedLoudness().value(), 9.9, kBin);
  EXPECT_EQ(histogram.Range().value().lu, 0.0);
}

// One third of the readings at -20 and two thirds at -26, all above the gate.
TEST(LoudnessHistogramTest, TheMeanIsThatOfAllReadings) {
  LoudnessHistogram histogram(kIntegratedGate);
  Count(histogram, -20.0, 1'000'000);
  Count(histogram, -26.0, 2'000'000);
  const double mean = 10.0 * std::log10((std::pow(10.0, -2.0) + 2.0 * std::pow(10.0, -2.6)) / 3.0);
  EXPECT_NEAR(histogram.GatedLoudness().value(), mean, kBin);
  EXPECT_NEAR(histogram.RelativeGate().value(), mean - 10.0, kBin);
}

// 2^32 readings would be 13 years of blocks. The engine's 32-bit percentages overflow at 43 million
// readings; these must not: 45 million at -30 and 5 million at -20 are 90 and 10 %.
TEST(LoudnessHistogramTest, PercentagesHoldManyReadings) {
  LoudnessHistogram histogram(kRangeGate);
  LoudnessHistogram part(kRangeGate);
  Count(part, -30.0, 90'000);
  Count(part, -20.0, 10'000);
  for (int i = 0; i < 500; ++i)
    histogram.Add(part);
  const auto range = histogram.Range();
  ASSERT_TRUE(range);
  EXPECT_NEAR(range->low, -30.0, kBin);
  EXPECT_NEAR(range->high, -20.0, kBin);
  EXPECT_NEAR(range->lu, 10.0, kBin);
}

TEST(LoudnessHistogramTest, AddedReadingsCountAsIfTheyHadBeenCountedHere) {
  LoudnessHistogram first(kIntegratedGate);
  LoudnessHistogram second(kIntegratedGate);
  LoudnessHistogram all(kIntegratedGate);
  for (LoudnessHistogram* histogram : {&first, &all})
    Count(*histogram, -23.0, 100);
  for (LoudnessHistogram* histogram : {&second, &all}) {
    Count(*histogram, -11.0, 50);
    Count(*histogram, -80.0, 7);
  }
  first.Add(second);
  EXPECT_EQ(first.Counts(), all.Counts());
  EXPECT_EQ(first.GatedLoudness(), all.GatedLoudness());
  EXPECT_EQ(first.RelativeGate(), all.RelativeGate());
}

}  // namespace
}  // namespace louddesk
