// The passages of a programme that lie above a limit. Stateless.

#pragma once

#include <optional>
#include <vector>

#include "MeasuredFile.h"

namespace louddesk {

/// Neighbouring readings above a limit.
struct Passage {
  double begin;    // of what the first of them covers, s
  double end;      // of what the last of them covers, s
  double highest;  // of all of them
};

/// The passages in which a figure lies above `limit`, both as they are written, in time. A reading
/// covers the `covered` seconds before its point. Passages with less than a second between them are
/// one.
std::vector<Passage> PassagesAbove(const std::vector<SeriesPoint>& points,
                                   std::optional<float> SeriesPoint::*figure, double limit,
                                   double covered);

}  // namespace louddesk
