// The passages of a programme that exceed a limit.

#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "LoudCalcBase.h"
#include "MeasuredFile.h"

namespace louddesk {

/// The duration that a reading covers, s.
constexpr double kMomentarySeconds = double{kMomentaryBlocks} / kBlocksPerSecond;
constexpr double kShortTermSeconds = double{kShortTermBlocks} / kBlocksPerSecond;

/// Consecutive readings above a limit.
struct Passage {
  double begin;    // of the time covered by the first reading, s
  double end;      // of the time covered by the last reading, s
  double highest;  // highest reading
};

/// Merges readings into passages as they come. Memory does not grow with the number of readings.
class PassageGatherer {
 public:
  /// Each reading covers the `covered` seconds before its time. Keeps the first `most` passages.
  PassageGatherer(double limit, double covered, std::size_t most);

  /// Takes the next reading in time; `seconds` is the end of the time it covers. Compares reading
  /// and limit as printed, in hundredths. Merges passages with less than a second between them.
  void Take(double seconds, double reading);

  /// The first passages, in order of time.
  std::vector<Passage> First() const;

  /// The total number of passages.
  std::size_t Count() const { return mCount; }

 private:
  bool IsKeptLast() const { return mCount <= mMost; }

  double mLimit;
  double mCovered;
  std::size_t mMost;
  std::size_t mCount = 0;
  std::vector<Passage> mFirst;  // without the last passage
  Passage mLast{};              // last passage; undefined while there is none
};

/// The passages in which a figure exceeds `limit`, in order of time. Compares both as printed, in
/// hundredths. Each reading covers the `covered` seconds before its point. Merges passages with
/// less than a second between them.
std::vector<Passage> PassagesAbove(const std::vector<SeriesPoint>& points,
                                   std::optional<float> SeriesPoint::*figure, double limit,
                                   double covered);

}  // namespace louddesk
