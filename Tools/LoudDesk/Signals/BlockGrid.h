// What a meter that works in blocks of 100 ms must read of a signal, derived from where the steps
// of the signal lie in the blocks and from nothing of the meter. Immutable.

#pragma once

#include <vector>

#include "TestSignals.h"

namespace louddesk {

/// The mean power of each block of 100 ms, and the readings that are means of blocks.
///
/// A momentary reading is the mean of four blocks, so that there is one every 100 ms from the
/// fourth block on. A short-term reading is the mean of the momentary readings of the last 3 s,
/// thirty, without those that do not exist yet or are silent.
class BlockGrid {
 public:
  /// REQUIRES: a sine of 1 kHz with the same levels on Left and Right, in steps of whole
  /// milliseconds. Its loudness in LKFS is its peak level in dBFS (ITU-R BS.1770).
  explicit BlockGrid(const StepSignal& signal);

  /// Whole blocks of the signal.
  int Blocks() const { return static_cast<int>(mPowers.size()); }

  /// Readings in LKFS when `blocks` blocks have been measured, -infinity in silence.
  /// REQUIRES: kFirstReading <= blocks <= Blocks().
  double Momentary(int blocks) const;
  double ShortTerm(int blocks) const;

  /// Blocks that the first reading takes.
  static constexpr int kFirstReading = 4;

 private:
  double MomentaryPower(int blocks) const;

  std::vector<double> mPowers;  // of each block, 1.0 for 0 LKFS; exactly 0 in silence
};

}  // namespace louddesk
