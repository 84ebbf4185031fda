// Reduces a series for a plot and keeps its extremes. Stateless.

#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace louddesk {

/// The readings of neighbouring points, reduced to their extremes.
struct EnvelopeColumn {
  double seconds = 0.0;  // midpoint in time, s
  float low = 0.0F;      // lowest reading
  float high = 0.0F;     // highest reading
};

/// Columns without a gap between them.
using EnvelopeRun = std::vector<EnvelopeColumn>;

/// One point of a series.
struct PlotPoint {
  double seconds = 0.0;
  std::optional<float> reading;  // nothing if missing
};

/// Returns the point of an index, counted from 0.
using PointAt = std::function<PlotPoint(std::size_t)>;

/// Reduces a series of `count` points to at most `maxColumns` columns of equally many points (the
/// last may have fewer). Points without a reading are skipped; a column without any reading starts
/// a new run. REQUIRES: maxColumns > 0.
std::vector<EnvelopeRun> EnvelopeOf(std::size_t count, const PointAt& pointAt,
                                    std::size_t maxColumns);

}  // namespace louddesk
