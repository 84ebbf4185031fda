// The plots of a verification: the deviation of every figure from the standard, against its
// tolerance. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Compliance.h"

namespace louddesk {

/// One plot for each kind of reading in the rows, in units of the tolerance: a reading between -1
/// and 1 meets the standard. If the blocks of 100 ms predict a different reading, the plot also
/// shows the band around it.
std::string DeviationFigures(const std::vector<ComplianceRow>& rows);

}  // namespace louddesk
