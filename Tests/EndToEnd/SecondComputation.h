// The loudness figures computed a second time, straight from the formulas and from all blocks at
// once: no histogram, no ring, no running sum, no code of the service.

#pragma once

#include <cstdint>
#include <vector>

#include "LoudnessData.h"
#include "UnitStandIn.h"

/// What the figures depend on besides the blocks.
struct SecondComputationSettings {
  std::vector<float> weights;        // of meters 1, 2, ...; all of them are in the programme
  unsigned integratedWindow = 3;     // s
  unsigned loudnessRangeWindow = 9;  // s
};

/// The coded figures after `blocks` since the last restart of a fresh service.
LoudnessData_t ComputeFigures(const std::vector<louddesk::BlockReading>& blocks,
                              const SecondComputationSettings& settings);
