// A series thinned out for a plot without losing its extremes. Stateless.

#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "MeasuredSeries.h"

namespace louddesk {

/// Readings of neighbouring blocks as one.
struct EnvelopeColumn {
  double seconds = 0.0;  // middle of the blocks, s
  float low = 0.0F;      // lowest of their readings
  float high = 0.0F;     // highest of their readings
};

/// Columns that follow each other without a gap.
using EnvelopeRun = std::vector<EnvelopeColumn>;

/// One of the figures of a point.
using SeriesMember = std::optional<float> SeriesPoint::*;

/// At most `maxColumns` columns of equally many blocks each. Blocks without a reading are passed
/// over; where a whole column has none, a new run begins. REQUIRES: maxColumns > 0.
std::vector<EnvelopeRun> EnvelopeOf(const std::vector<SeriesPoint>& points, SeriesMember member,
                                    std::size_t maxColumns);

}  // namespace louddesk
