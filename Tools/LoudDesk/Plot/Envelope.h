// A series thinned out for a plot without losing its extremes. Stateless.

#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace louddesk {

/// Readings of neighbouring points as one.
struct EnvelopeColumn {
  double seconds = 0.0;  // middle of the points, s
  float low = 0.0F;      // lowest of their readings
  float high = 0.0F;     // highest of their readings
};

/// Columns that follow each other without a gap.
using EnvelopeRun = std::vector<EnvelopeColumn>;

/// One point of a series.
struct PlotPoint {
  double seconds = 0.0;
  std::optional<float> reading;  // nothing where there is none
};

/// Tells the point of an index, counted from 0.
using PointAt = std::function<PlotPoint(std::size_t)>;

/// At most `maxColumns` columns of equally many points each, of a series of `count` points. Points
/// without a reading are passed over; where a whole column has none, a new run begins.
/// REQUIRES: maxColumns > 0.
std::vector<EnvelopeRun> EnvelopeOf(std::size_t count, const PointAt& pointAt,
                                    std::size_t maxColumns);

}  // namespace louddesk
