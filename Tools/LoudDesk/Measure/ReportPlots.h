// The plots of a report, each a figure with heading, legend, drawing and a line of explanation.
// Stateless.

#pragma once

#include <string>

#include "LoudnessLimits.h"
#include "MeasuredSeries.h"

namespace louddesk {

/// Momentary, short-term and integrated loudness over time with the target drawn in, on the EBU +9
/// or +18 scale (EBU Tech 3341) around it. `id` is unique on the page. REQUIRES: points.
std::string LoudnessFigure(const MeasuredSeries& series, const LoudnessLimits& limits,
                           const std::string& id);

/// True peak over time with its limit drawn in. REQUIRES: points.
std::string TruePeakFigure(const MeasuredSeries& series, const LoudnessLimits& limits,
                           const std::string& id);

/// The share of the momentary readings at each loudness, with both gates, the integrated loudness
/// and the ends of the loudness range. A sentence instead when no reading passes the absolute gate.
std::string HistogramFigure(const MeasuredSeries& series, const LoudnessLimits& limits,
                            const std::string& id);

}  // namespace louddesk
