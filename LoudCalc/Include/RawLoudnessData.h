// The block of loudness data that the signal-processing stage publishes every 100 ms: per meter a
// true peak and a K-weighted power, which are summed over the meters of the programme.

#pragma once

#include <cstddef>
#include <cstdint>

/// Meters of a block; entry i of a frame belongs to meter i + 1.
constexpr unsigned kRawMeters = 32;

/// Blocks in a second.
constexpr std::uint32_t kBlocksPerSecond = 10;

/// True peak of a full-scale signal, 0 dBTP, and the largest that the engine accepts, 6.02 dBTP.
constexpr std::uint32_t kFullScalePeak = 32768;
constexpr std::uint32_t kLargestPeak = 65535;

/// Bytes of one frame as received. The frame may be of any size and alignment.
struct FrameBytes {
  const void* data;  // null or `size` 0: an empty frame
  std::size_t size;  // bytes
};

/// One block summed over the programme.
struct ProgrammeBlock {
  std::uint64_t power;  // weighted sum of powers, engine's integer power scale, modulo 2^64
  std::uint32_t peak;   // largest true peak, `kFullScalePeak` for 0 dBTP
};

/// Sums a block over the meters whose bit is set in `meters` (bit i: meter i + 1).
///
/// `peaks` holds unsigned 32-bit and `powers` unsigned 64-bit entries in host byte order. The power
/// of a meter counts as truncate(power x weight), and only with a weight above 0; its peak always
/// counts. Frames may be shorter or longer than 32 entries as long as they contain every entry that
/// is read. False when one is missing; `block` is then unchanged.
bool SumProgramme(const FrameBytes& peaks, const FrameBytes& powers, std::uint32_t meters,
                  const double (&weights)[kRawMeters], ProgrammeBlock& block);
