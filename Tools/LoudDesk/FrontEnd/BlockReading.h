// The front end's result for 100 ms of audio, in the units of the raw loudness data that a unit's
// signal-processing stage publishes.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "RawLoudnessData.h"

namespace louddesk {

/// Number of meters (audio channels) in a meter set.
constexpr std::size_t kMeters = kRawMeters;

/// One block; entry i belongs to meter i + 1. Meters without a channel read 0.
struct BlockReading {
  std::array<std::uint64_t, kMeters> powers{};  // K-weighted power, the service's integer scale
  std::array<std::uint32_t, kMeters> peaks{};   // true peak, 0 ... `kLargestPeak`
  std::array<float, kMeters> samplePeaks{};     // largest magnitude of a sample, full scale 1.0;
                                                // not published by a unit
};

}  // namespace louddesk
