// Blocks of a 5.1 programme, and their sums as the dispatcher computes them, computed
// independently.

#pragma once

#include <cstdint>
#include <vector>

#include "BlockReading.h"

/// Blocks of random levels from -76 to -2 LKFS per channel in passages of two seconds, so that both
/// gates matter; some blocks have silent channels. Peaks go up to above full scale.
std::vector<louddesk::BlockReading> RandomBlocks(unsigned count);

/// The results that the dispatcher computes from a block: the weighted sum of the powers and the
/// largest peak, both at least 1. All meters that have a weight are in the programme.
std::uint64_t ProgrammePower(const louddesk::BlockReading& block);
std::uint16_t ProgrammePeak(const louddesk::BlockReading& block);
