// Shared by the tests of the calculator: a calculator for each test, and functions that feed it.

#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <ostream>

#include "LoudCalcBase.h"
#include "LoudConfigUser.h"
#include "SecondComputation.h"

inline bool operator==(const LoudnessData_t& a, const LoudnessData_t& b) {
  return a.MaxMomentary == b.MaxMomentary && a.Momentary == b.Momentary &&
         a.ShortTerm == b.ShortTerm && a.Integrated == b.Integrated && a.Lra == b.Lra &&
         a.Program == b.Program && a.MaxTruePeak == b.MaxTruePeak && a.TruePeak == b.TruePeak;
}

inline void PrintTo(const LoudnessData_t& data, std::ostream* out) {
  *out << "max " << data.MaxMomentary << ", momentary " << data.Momentary << ", short-term "
       << data.ShortTerm << ", integrated " << data.Integrated << ", range " << data.Lra
       << ", programme " << data.Program << ", max peak " << data.MaxTruePeak << ", peak "
       << data.TruePeak;
}

constexpr LoudnessData_t kCodesOfNoReadings = {-990, -990, -990, -990, 0, -990, -9900, -9900};

constexpr int kWarmUpBlocks = 3;

/// A calculator after LoudCalcInit, with the settings of process start.
class EngineFixture : public testing::Test {
 protected:
  EngineFixture() {
    LoudConfigUser = LoudConfigUser_t{};
    LoudCalcResultsAll = LoudCalcResultsAll_s{};
    LoudCalcInit();
  }

  // Clears the pointers because another test may follow. The service ends after the cleanup.
  ~EngineFixture() override {
    LoudCalcCleanup();
    pCbBinMomLoud = pCbBinLra = nullptr;
    pProgramLoud = pShortTermLoud = pLraLoud = pIntegLoud = nullptr;
  }

  static void RestartWithWindows(unsigned int integSecs, unsigned int lraSecs) {
    SetIntegWinTime(integSecs);
    SetLraWinTime(lraSecs);
    LoudCalcReset();
  }

  static void FeedPower(std::uint64_t power, int blocks = 1, std::uint16_t peak = 1) {
    for (int i = 0; i < blocks; ++i)
      LoudCalcUpdate(power, peak);
  }

  static void FeedLevel(double lkfs, int blocks) { FeedPower(PowerOf(lkfs), blocks); }

  static void FeedSeconds(double lkfs, double seconds) {
    FeedLevel(lkfs, static_cast<int>(std::lround(seconds * kBlocksPerSecond)));
  }

  static void FeedPeak(std::uint16_t peak) { LoudCalcUpdate(1, peak); }

  static void WarmUp() { FeedPower(1, kWarmUpBlocks); }
};
