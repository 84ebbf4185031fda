// The plots of a verification: how far every figure lies from what the standard asks for, against
// the tolerance. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Compliance.h"

namespace louddesk {

/// A figure for each kind of reading that the rows are about, all of them in tolerances: between -1
/// and 1 a reading is as the standard asks. Where the blocks of 100 ms predict another reading, the
/// band around that is drawn too.
std::string DeviationFigures(const std::vector<ComplianceRow>& rows);

}  // namespace louddesk
