// Merges points above a limit into passages.

#include "Passages.h"

#include <algorithm>

#include "Verdict.h"

namespace louddesk {
namespace {

// Excesses closer together than this are heard as one event.
constexpr double kShortestGap = 1.0;

}  // namespace

PassageGatherer::PassageGatherer(double limit, double covered, std::size_t most)
    : mLimit(limit), mCovered(covered), mMost(most) {}

void PassageGatherer::Take(double seconds, double reading) {
  if (!IsWrittenAbove(reading, mLimit))
    return;
  const double begin = std::max(seconds - mCovered, 0.0);
  if (mCount == 0 || begin - mLast.end >= kShortestGap) {
    if (mCount > 0 && IsKeptLast())
      mFirst.push_back(mLast);
    ++mCount;
    mLast = {begin, seconds, reading};
  }
  mLast.end = seconds;
  mLast.highest = std::max(mLast.highest, reading);
}

std::vector<Passage> PassageGatherer::First() const {
  std::vector<Passage> first = mFirst;
  if (mCount > 0 && IsKeptLast())
    first.push_back(mLast);
  return first;
}

std::vector<Passage> PassagesAbove(const std::vector<SeriesPoint>& points,
                                   std::optional<float> SeriesPoint::*figure, double limit,
                                   double covered) {
  PassageGatherer gatherer(limit, covered, points.size());
  for (const SeriesPoint& point : points)
    if (const std::optional<float>& reading = point.*figure)
      gatherer.Take(point.seconds, *reading);
  return gatherer.First();
}

}  // namespace louddesk
