// The last minutes of a cluster's momentary readings, and their distribution.

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace loudgate {

/// The largest number of readings kept: 20 minutes at ten a second.
constexpr std::size_t kMaxReadings = 12000;

/// Readings counted by code, and the gates of ITU-R BS.1770 over exactly these readings.
struct ReadingHistogram {
  std::size_t readings = 0;
  std::size_t belowGate = 0;           // readings below the absolute gate
  std::optional<double> relativeGate;  // LKFS; nothing if it is below the absolute gate
  std::optional<double> gated;         // gated loudness, LKFS; nothing if no reading passes
  int lowest = 0;                      // code of counts[0], 0.1 LKFS
  std::vector<unsigned> counts;  // readings of each code from `lowest` up, above the absolute gate
};

class MomentaryReadings {
 public:
  /// Adds a reading, 0.1 LKFS, and drops the oldest one beyond kMaxReadings. kNoLoudnessCode counts
  /// as below the absolute gate.
  void Take(std::int16_t code);

  /// Removes the last `count` readings, or all of them if there are fewer.
  void DropLast(std::size_t count);

  ReadingHistogram Histogram() const;

 private:
  std::deque<std::int16_t> mCodes;  // oldest first
};

}  // namespace loudgate
