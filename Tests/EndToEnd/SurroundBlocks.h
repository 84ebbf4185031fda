// Material of a 5.1 programme and what the dispatcher makes of it, computed apart from the service.

#pragma once

#include <cstdint>
#include <vector>

#include "BlockReading.h"

/// Blocks of random levels from -76 to -2 LKFS a channel in passages of two seconds, so that both
/// gates matter, some of them with dead channels; peaks of all sizes up to above full scale.
std::vector<louddesk::BlockReading> RandomBlocks(unsigned count);

/// What the dispatcher computes from a block: the weighted sum of the powers and the largest peak,
/// neither of them 0. All meters that have a weight are in the programme.
std::uint64_t ProgrammePower(const louddesk::BlockReading& block);
std::uint16_t ProgrammePeak(const louddesk::BlockReading& block);
