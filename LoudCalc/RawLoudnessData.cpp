// Sums a raw block over the programme. Stateless.

#include "RawLoudnessData.h"

#include <cstring>
#include <limits>

namespace {

// Reads entry `index` of a frame of T, aligned or not. False past the frame's end.
template <typename T>
bool ReadEntry(const FrameBytes& frame, unsigned index, T& entry) {
  if (frame.data == nullptr || frame.size / sizeof(T) <= index)
    return false;
  std::memcpy(&entry, static_cast<const unsigned char*>(frame.data) + index * sizeof(T), sizeof(T));
  return true;
}

// A product beyond 64 bits saturates, as the conversion on the board's processor does.
std::uint64_t Weighted(std::uint64_t power, double weight) {
  constexpr double kTwoTo64 = 18446744073709551616.0;
  const double product = static_cast<double>(power) * weight;
  return product < kTwoTo64 ? static_cast<std::uint64_t>(product)
                            : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace

bool SumProgramme(const FrameBytes& peaks, const FrameBytes& powers, std::uint32_t meters,
                  const double (&weights)[kRawMeters], ProgrammeBlock& block) {
  ProgrammeBlock sum{0, 0};
  for (unsigned i = 0; i < kRawMeters; ++i) {
    if ((meters >> i & 1u) == 0)
      continue;
    if (weights[i] > 0.0) {
      std::uint64_t power = 0;
      if (!ReadEntry(powers, i, power))
        return false;
      sum.power += Weighted(power, weights[i]);
    }
    std::uint32_t peak = 0;
    if (!ReadEntry(peaks, i, peak))
      return false;
    if (i == 0 || peak > sum.peak)
      sum.peak = peak;
  }
  block = sum;
  return true;
}
