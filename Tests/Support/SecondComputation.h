// The loudness figures, computed a second time and directly from the formulas. Every block since
// the reset is kept, and each figure is computed from all of them. There is no histogram, ring,
// table or running sum, and no code of the service. Slow and simple on purpose.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LoudnessData.h"

/// The power that the signal-processing stage delivers for a loudness in LKFS, rounded to a whole
/// number: the inverse of L = 10 log10(P) - 152.6905962 - 0.6974.
std::uint64_t PowerOf(double lkfs);

class SecondComputation {
 public:
  /// The figures before they are coded, in LKFS, LU and dBTP.
  struct Figures {
    float maxMomentary = -99.0F;
    float momentary = -99.0F;
    float shortTerm = -99.0F;
    float integrated = -99.0F;
    float program = -99.0F;
    float range = 0.0F;
    float truePeak = -99.0F;
    float maxTruePeak = -99.0F;
  };

  /// The windows are those of the integrated loudness and of the loudness range, in seconds.
  SecondComputation(std::size_t integratedWindow, std::size_t rangeWindow);

  /// Removes every block. The programme loudness stays until its next reading.
  void Reset();

  /// Adds one block of the programme.
  void Add(std::uint64_t power, std::uint16_t peak);

  const Figures& Results() const { return mFigures; }

  /// The figures as they are published. There are none before the first 400 ms are complete.
  LoudnessData_t Coded() const;

 private:
  using Codes = std::vector<unsigned>;  // 0: below -70 LKFS; k: -70 + 0.02 (k - 1) LKFS and more

  float MomentaryNow() const;
  void RefreshOncePerSecond();

  std::size_t mIntegratedReadings;     // window in momentary readings
  std::size_t mRangeReadings;          // window in short-term readings
  std::vector<std::uint64_t> mPowers;  // every block since the reset
  Codes mMomentary;                    // every momentary reading since the reset, one per block
  Codes mShortTerm;                    // one short-term reading per full second since the reset
  Figures mFigures;
};
