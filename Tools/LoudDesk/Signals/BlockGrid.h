// The readings that a meter with blocks of 100 ms must give for a signal. Derived only from the
// position of the signal's steps in the blocks, never from the meter. Immutable.

#pragma once

#include <vector>

#include "TestSignals.h"

namespace louddesk {

/// The mean power of each block of 100 ms, and the readings that are averages over blocks.
///
/// A momentary reading is the mean of four blocks. There is one every 100 ms from the fourth block
/// on. A short-term reading is the mean of the thirty momentary readings of the last 3 s. It leaves
/// out readings before the fourth block and silent ones.
class BlockGrid {
 public:
  /// REQUIRES: a sine of 1 kHz with the same levels on Left and Right, in steps of whole
  /// milliseconds. Its loudness in LKFS is its peak level in dBFS (ITU-R BS.1770).
  explicit BlockGrid(const StepSignal& signal);

  /// Whole blocks of the signal.
  int Blocks() const { return static_cast<int>(mPowers.size()); }

  /// Readings in LKFS after `blocks` blocks, -infinity in silence.
  /// REQUIRES: kFirstReading <= blocks <= Blocks().
  double Momentary(int blocks) const;
  double ShortTerm(int blocks) const;

  /// Number of blocks in the first reading.
  static constexpr int kFirstReading = 4;

 private:
  double MomentaryPower(int blocks) const;

  std::vector<double> mPowers;  // per block; 1.0 is 0 LKFS, exactly 0 is silence
};

}  // namespace louddesk
