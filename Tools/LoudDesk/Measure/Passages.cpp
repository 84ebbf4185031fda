// Points above a limit, gathered.

#include "Passages.h"

#include <algorithm>

#include "Verdict.h"

namespace louddesk {
namespace {

// What lies closer together is heard as one event, and read as one.
constexpr double kShortestGap = 1.0;

}  // namespace

std::vector<Passage> PassagesAbove(const std::vector<SeriesPoint>& points,
                                   std::optional<float> SeriesPoint::*figure, double limit,
                                   double covered) {
  std::vector<Passage> passages;
  for (const SeriesPoint& point : points) {
    const std::optional<float>& reading = point.*figure;
    if (!reading || !IsWrittenAbove(*reading, limit))
      continue;
    const double begin = std::max(point.seconds - covered, 0.0);
    if (passages.empty() || begin - passages.back().end >= kShortestGap)
      passages.push_back({begin, point.seconds, *reading});
    passages.back().end = point.seconds;
    passages.back().highest = std::max<double>(passages.back().highest, *reading);
  }
  return passages;
}

}  // namespace louddesk
