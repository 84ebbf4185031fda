// The calculator against a second computation of the same figures. The model below keeps every
// block since the reset and works each figure out anew from the formulas: no sliding sums, rings,
// histograms or tables. It shares no code with the engine; every figure must agree on every block.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "EngineFixture.h"
#include "LoudCalcBase.h"

namespace {

using Codes = std::vector<int>;

float LkfsOf(std::uint64_t power) {
  return static_cast<float>(10.0 * std::log10(static_cast<double>(power)) - 152.6905962 - 0.6974);
}

// Bins of 0.02 LU from -70 LKFS up, in single precision.
int CodeOf(float lkfs) {
  const float position = (lkfs + 70.0F) / 0.02F;
  if (position < 0.0F)
    return 0;
  return static_cast<int>(std::min(position + 1.0F, 4000.0F));
}

std::uint64_t CenterOf(int code) {
  const double decades = (-70.0 + 0.02 * (code - 1) + 0.7073999997764826) / 10.0;
  return static_cast<std::uint64_t>(decades < 0.0 ? 1857398385681617.0 / std::pow(10.0, -decades)
                                                  : 1857398385681617.0 * std::pow(10.0, decades));
}

Codes Last(const Codes& codes, std::size_t count) {
  return {codes.end() - static_cast<std::ptrdiff_t>(std::min(count, codes.size())), codes.end()};
}

float MeanAbove(const Codes& codes, float gate) {
  const int lowest = CodeOf(gate);
  std::uint64_t count = 0;
  std::uint64_t sum = 0;
  for (int code : codes) {
    if (code >= lowest) {
      ++count;
      sum += CenterOf(code);
    }
  }
  return count == 0 ? -99.0F : LkfsOf(sum / count);
}

float GatedMean(const Codes& codes, float relativeGate) {
  const float ungated = MeanAbove(codes, -70.0F);
  const float gate = ungated + relativeGate;
  return gate < -70.0F ? ungated : MeanAbove(codes, gate);
}

// Among the readings above the gate: from the first code with a tenth of them at or below it to the
// last with a twentieth of them at or above it, in whole percents.
float RangeOf(const Codes& codes) {
  const float gate = GatedMean(codes, -20.0F) - 20.0F;
  if (gate < -70.0F)
    return 0.0F;
  Codes counted;
  std::copy_if(codes.begin(), codes.end(), std::back_inserter(counted),
               [&](int code) { return code >= CodeOf(gate); });
  std::sort(counted.begin(), counted.end());
  const auto percent = [&](auto isIn) {
    return 100 * std::count_if(counted.begin(), counted.end(), isIn) /
           static_cast<std::ptrdiff_t>(counted.size());
  };
  const int low = *std::find_if(counted.begin(), counted.end(), [&](int code) {
    return percent([&](int other) { return other <= code; }) >= 10;
  });
  const int high = *std::find_if(counted.rbegin(), counted.rend(), [&](int code) {
    return percent([&](int other) { return other >= code; }) >= 5;
  });
  return static_cast<float>((high - low) * 0.02);
}

float TruePeakOf(std::uint16_t peak) {
  if (peak == 0)
    return -99.0F;
  const float decibels = 20.0F * std::log10(static_cast<float>(peak));
  return static_cast<float>(static_cast<double>(decibels) - 90.3087);
}

std::int16_t Tenths(float lkfs) {
  return lkfs > -99.0F ? static_cast<std::int16_t>(std::round(lkfs * 10.0F)) : std::int16_t{-990};
}

class Model {
 public:
  Model(std::uint32_t integSecs, std::uint32_t lraSecs)
      : mIntegReadings(integSecs * 10), mLraReadings(lraSecs) {}

  LoudCalcResultsAll_s mResults;

  void Reset() {
    const float program = mResults.Program;
    mPowers.clear();
    mMomentary.clear();
    mShortTerm.clear();
    mResults = LoudCalcResultsAll_s{};
    mResults.Program = program;
  }

  void Add(std::uint64_t power, std::uint16_t peak) {
    mPowers.push_back(power);
    const float momentary = LastFourHundredMilliseconds();
    mResults.MaxMomentary = std::max(mResults.MaxMomentary, momentary);
    if (mPowers.size() < 4)
      return;
    mResults.Momentary = momentary;
    mMomentary.push_back(CodeOf(momentary));
    mResults.ShortTerm = MeanAbove(Last(mMomentary, 30), -70.0F);
    UpdateOncePerSecond();
    mResults.TruePeak = TruePeakOf(peak);
    mResults.MaxTruePeak = std::max(mResults.MaxTruePeak, mResults.TruePeak);
  }

  LoudnessData_t Coded() const {
    if (mPowers.size() < 4)
      return kCodesOfNoReadings;
    const auto hundredths = [](float dbtp) {
      return static_cast<std::int16_t>(std::round(dbtp * 100.0F));
    };
    return {Tenths(mResults.MaxMomentary),
            Tenths(mResults.Momentary),
            Tenths(mResults.ShortTerm),
            Tenths(mResults.Integrated),
            static_cast<std::int16_t>(std::trunc(mResults.LRA * 10.0F)),
            Tenths(mResults.Program),
            hundredths(mResults.MaxTruePeak),
            hundredths(mResults.TruePeak)};
  }

 private:
  float LastFourHundredMilliseconds() const {
    std::uint64_t sum = 0;
    for (std::size_t i = mPowers.size() < 4 ? 0 : mPowers.size() - 4; i < mPowers.size(); ++i)
      sum += mPowers[i];
    return sum / 4 == 0 ? -99.0F : LkfsOf(sum / 4);
  }

  void UpdateOncePerSecond() {
    switch (mMomentary.size() % 10) {
      case 2:
        mResults.LRA = RangeOf(Last(mShortTerm, mLraReadings));
        break;
      case 4:
        mResults.Program = GatedMean(Last(mMomentary, 72000), -10.0F);
        break;
      case 7:
        mResults.Integrated = GatedMean(Last(mMomentary, mIntegReadings), -10.0F);
        break;
      case 0:
        mShortTerm.push_back(CodeOf(mResults.ShortTerm));
        break;
      default:
        break;
    }
  }

  std::size_t mIntegReadings;          // integrated window in momentary readings
  std::size_t mLraReadings;            // range window in short-term readings
  std::vector<std::uint64_t> mPowers;  // every block since the reset
  Codes mMomentary;                    // every momentary code since the reset, one per block
  Codes mShortTerm;                    // the short-term code of every full second since the reset
};

// Sound as random stretches of up to three seconds: mostly programme of a wandering level, with
// silences and, where wanted, the extremes of what the DSP stage can deliver.
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
  double mLowest;                 // of the stretches' levels, LKFS
  double mHighest;                // of the stretches' levels, LKFS
  bool mExtremes;                 // whether some stretches are of extreme powers
  std::uint64_t mBlocksLeft = 0;  // of the current stretch
  std::uint64_t mKind = 0;        // of the current stretch, 0 silence
  double mLevel = 0.0;            // of the current stretch, LKFS
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
  Model model(scenario.integSecs, scenario.lraSecs);
  RandomSound sound(20240229, scenario.lowest, scenario.highest, scenario.extremes);
  for (int block = 0; block < scenario.blocks; ++block) {
    if (scenario.blocksToReset != 0 && block % scenario.blocksToReset == 0) {
      LoudCalcReset();
      model.Reset();
    }
    const std::uint64_t power = sound.NextPower();
    const std::uint16_t peak = sound.NextPeak();
    LoudCalcUpdate(power, peak);
    model.Add(power, peak);
    ASSERT_EQ(LuData, model.Coded()) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.Momentary, model.mResults.Momentary) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.MaxMomentary, model.mResults.MaxMomentary) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.ShortTerm, model.mResults.ShortTerm) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.Integrated, model.mResults.Integrated) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.Program, model.mResults.Program) << "block " << block;
    ASSERT_EQ(LoudCalcResultsAll.LRA, model.mResults.LRA) << "block " << block;
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
