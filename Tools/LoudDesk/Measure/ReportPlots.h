// The plots of a report, each with a heading, a legend, a drawing and one line of explanation.
// Stateless.

#pragma once

#include <string>
#include <vector>

#include "LoudnessLimits.h"
#include "MeasuredFile.h"
#include "PlotFigure.h"

namespace louddesk {

/// Adds the target and its tolerance to a legend, if there is a target.
void AddTargetEntry(std::vector<LegendEntry>& legend, const Criteria& criteria);

/// Plots momentary, short-term and integrated loudness over time with target and limits, on the EBU
/// +9 or +18 scale (EBU Tech 3341) around the target. `id` is unique on the page. REQUIRES: points.
std::string LoudnessFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                           const std::string& id);

/// Plots the true peak over time with its limit. REQUIRES: points.
std::string TruePeakFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                           const std::string& id);

/// Plots the share of the momentary readings at each loudness, with both gates, the integrated
/// loudness and the ends of the loudness range. Returns a sentence instead if no reading passes the
/// absolute gate.
std::string HistogramFigure(const MeasuredProgramme& programme, const Criteria& criteria,
                            const std::string& id);

}  // namespace louddesk
