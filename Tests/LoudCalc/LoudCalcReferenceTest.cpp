// Compares the calculator with a second computation: every figure must agree on every block.

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <random>
#include <string>

#include "EngineFixture.h"
#include "LoudCalcBase.h"
#include "SecondComputation.h"

namespace {

// Random passages of sound of up to three seconds: mostly a programme of varying level, with
// silence in between and, on request, the extreme values that the DSP stage can deliver.
class RandomSound {
 public:
  RandomSound(std::uint32_t seed, double lowest, double highest, bool extremes)
      : mRandom(seed), mLowest(lowest), mHighest(highest), mExtremes(extremes) {}

  std::uint64_t NextPower() {
    if (mBlocksLeft == 0)
      StartStretch();
    --mBlocksLeft;
    if (mKind == 0)
      return Pick(0, 5);
    if (mKind == 1 && mExtremes)
      return Pick(0, 1) == 0 ? 1 : (std::uint64_t{1} << 62) - 1;
    return PowerOf(mLevel + std::uniform_real_distribution<double>(-3.0, 3.0)(mRandom));
  }

  std::uint16_t NextPeak() {
    const std::uint64_t kind = Pick(0, 9);
    if (kind == 0)
      return static_cast<std::uint16_t>(Pick(0, 2));
    return static_cast<std::uint16_t>(kind == 1 ? Pick(32000, 65535) : Pick(1, 32768));
  }

 private:
  void StartStretch() {
    mBlocksLeft = Pick(1, 30);
    mKind = Pick(0, 9);
    mLevel = std::uniform_real_distribution<double>(mLowest, mHighest)(mRandom);
  }

  std::uint64_t Pick(std::uint64_t low, std::uint64_t high) {
    return std::uniform_int_distribution<std::uint64_t>(low, high)(mRandom);
  }

  std::mt19937 mRandom;
  double mLowest;                 // lowest level of a passage, LKFS
  double mHighest;                // highest level of a passage, LKFS
  bool mExtremes;                 // some passages have extreme powers
  std::uint64_t mBlocksLeft = 0;  // blocks left of the current passage
  std::uint64_t mKind = 0;        // kind of the current passage, 0: silence
  double mLevel = 0.0;            // level of the current passage, LKFS
};

struct Scenario {
  const char* name;
  std::uint32_t integSecs;
  std::uint32_t lraSecs;
  double lowest;   // LKFS
  double highest;  // LKFS
  bool extremes;
  int blocks;
  int blocksToReset;  // 0: never
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
  *out << scenario.name;
}

class ReferenceTest : public EngineFixture, public testing::WithParamInterface<Scenario> {};

TEST_P(ReferenceTest, EveryFigureAgreesOnEveryBlock) {
  const Scenario& scenario = GetParam();
  RestartWithWindows(scenario.integSecs, scenario.lraSecs);
  SecondComputation second(scenario.integSecs, scenario.lraSecs);
  const SecondComputation::Figures& figures = second.Results();
  RandomSound sound(20240229, scenario.lowest, scenario.highest, scenario.extremes);
  for (int block = 0; block < scenario.blocks; ++block) {
    if (scenario.blocksToReset != 0 && block % scenario.blocksToReset == 0) {
      LoudCalcReset();
      second.Reset();
    }
    const std::uint64_t power = sound.NextPower();
    const std::uint16_t peak = sound.NextPeak();
    LoudCalcUpdate(power, peak);
    second.Add(power, peak);
    ASSERT_EQ(LuData, second.Coded()) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.Momentary, figures.momentary) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.MaxMomentary, figures.maxMomentary) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.ShortTerm, figures.shortTerm) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.Integrated, figures.integrated) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.Program, figures.program) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.LRA, figures.range) << "block " << block;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Sounds, ReferenceTest,
    testing::Values(Scenario{"ShortestWindows", 1, 9, -40.0, -5.0, false, 5000, 0},
                    Scenario{"StartWindows", 3, 9, -75.0, 0.0, false, 5000, 0},
                    Scenario{"LongerWindows", 60, 100, -45.0, -15.0, false, 5000, 0},
                    Scenario{"LongestWindows", 7200, 10800, -60.0, -10.0, false, 3000, 0},
                    Scenario{"NearTheAbsoluteGate", 10, 20, -80.0, -58.0, false, 5000, 0},
                    Scenario{"Extremes", 5, 15, -153.0, 12.0, true, 5000, 0},
                    Scenario{"Resets", 4, 9, -50.0, -5.0, true, 5000, 377}),
    [](const testing::TestParamInfo<Scenario>& scenario) {
      return std::string(scenario.param.name);
    });

}  // namespace
