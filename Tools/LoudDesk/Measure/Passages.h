// The passages of a programme that lie above a limit.

#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "LoudCalcBase.h"
#include "MeasuredFile.h"

namespace louddesk {

/// What a reading covers, s.
constexpr double kMomentarySeconds = double{kMomentaryBlocks} / kBlocksPerSecond;
constexpr double kShortTermSeconds = double{kShortTermBlocks} / kBlocksPerSecond;

/// Neighbouring readings above a limit.
struct Passage {
  double begin;    // of what the first of them covers, s
  double end;      // of what the last of them covers, s
  double highest;  // of all of them
};

/// Gathers passages from readings as they come, in memory that does not grow with their number.
class PassageGatherer {
 public:
  /// A reading covers the `covered` seconds before its time. Of the passages, the first `most` are
  /// kept.
  PassageGatherer(double limit, double covered, std::size_t most);

  /// Takes the next reading in time; `seconds` is when what it covers ends. Figure and limit are
  /// compared as they are written. Passages with less than a second between them are one.
  void Take(double seconds, double reading);

  /// The first passages, in time.
  std::vector<Passage> First() const;

  /// How many passages there are in all.
  std::size_t Count() const { return mCount; }

 private:
  bool IsKeptLast() const { return mCount <= mMost; }

  double mLimit;
  double mCovered;
  std::size_t mMost;
  std::size_t mCount = 0;
  std::vector<Passage> mFirst;  // without the last one of all
  Passage mLast{};              // of all; means nothing while there are none
};

/// The passages in which a figure lies above `limit`, both as they are written, in time. A reading
/// covers the `covered` seconds before its point. Passages with less than a second between them are
/// one.
std::vector<Passage> PassagesAbove(const std::vector<SeriesPoint>& points,
                                   std::optional<float> SeriesPoint::*figure, double limit,
                                   double covered);

}  // namespace louddesk
