// The plots of a report, each a figure with heading, legend, drawing and a line of explanation.
// Stateless.

#pragma once

#include <string>
#include <vector>

#include "LoudnessLimits.h"
#include "MeasuredFile.h"
#include "PlotFigure.h"

namespace louddesk {

/// Adds what the target and its tolerance look like to a legend, where there is one.
void AddTargetEntry(std::vector<LegendEntry>& legend, const Criteria& criteria);

/// Momentary, short-term and integrated loudness over time with target and limits drawn in, on the
/// EBU +9 or +18 scale (EBU Tech 3341) around the target. `id` is unique on the page. REQUIRES:
/// points.
std::string LoudnessFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                           const std::string& id);

/// True peak over time with its limit drawn in. REQUIRES: points.
std::string TruePeakFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                           const std::string& id);

/// The share of the momentary readings at each loudness, with both gates, the integrated loudness
/// and the ends of the loudness range. A sentence instead when no reading passes the absolute gate.
std::string HistogramFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                            const std::string& id);

}  // namespace louddesk
