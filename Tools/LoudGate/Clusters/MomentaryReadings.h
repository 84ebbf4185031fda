// The momentary readings of the last minutes of a measurement, and how they are distributed.

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace loudgate {

/// The most readings kept: 20 minutes, ten a second.
constexpr std::size_t kMaxReadings = 12000;

/// Readings counted by their code, and the gates of ITU-R BS.1770 over exactly these.
struct ReadingHistogram {
  std::size_t readings = 0;
  std::size_t belowGate = 0;           // below the absolute gate
  std::optional<double> relativeGate;  // LKFS; nothing where it lies below the absolute one
  std::optional<double> gated;         // gated loudness, LKFS; nothing when no reading passes
  int lowest = 0;                      // code of the first count, 0.1 LKFS
  std::vector<unsigned> counts;        // of each code from the lowest up, above the absolute gate
};

class MomentaryReadings {
 public:
  /// Takes a reading, 0.1 LKFS; the oldest one goes when there are too many. kNoLoudnessCode counts
  /// as one below the absolute gate.
  void Take(std::int16_t code);

  /// Takes back so many of the last ones, all of them if there are fewer.
  void DropLast(std::size_t count);

  ReadingHistogram Histogram() const;

 private:
  std::deque<std::int16_t> mCodes;  // oldest first
};

}  // namespace loudgate
