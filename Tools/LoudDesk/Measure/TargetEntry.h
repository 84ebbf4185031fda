// The target in the legends of plots. Stateless.

#pragma once

#include <vector>

#include "LoudnessLimits.h"
#include "PlotFigure.h"

namespace louddesk {

/// Adds what the target and its tolerance look like, where there is one.
void AddTargetEntry(std::vector<LegendEntry>& legend, const Criteria& criteria);

}  // namespace louddesk
