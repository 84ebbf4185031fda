// Short vectors of GCC and Clang, for loops that do the same for several channels or samples at
// once. Every operation also accepts a plain number, for the remaining channels or samples.

#pragma once

#include <cstring>

namespace louddesk {

using DoublePair = double __attribute__((vector_size(2 * sizeof(double))));
using FloatPair = float __attribute__((vector_size(2 * sizeof(float))));
using FloatQuad = float __attribute__((vector_size(4 * sizeof(float))));

/// Number of values in a lane of doubles or floats.
template <typename Lane, typename Value>
constexpr std::size_t kWidth = sizeof(Lane) / sizeof(Value);

template <typename Lane, typename Value>
inline Lane Load(const Value* from) {
  Lane lane;
  std::memcpy(&lane, from, sizeof lane);
  return lane;
}

template <typename Lane, typename Value>
inline void Store(const Lane& lane, Value* to) {
  std::memcpy(to, &lane, sizeof lane);
}

template <typename Lane>
inline Lane Larger(const Lane& a, const Lane& b) {
  return a > b ? a : b;
}

template <typename Lane>
inline Lane Smaller(const Lane& a, const Lane& b) {
  return a < b ? a : b;
}

template <typename Lane>
inline Lane Magnitude(const Lane& lane) {
  return Larger<Lane>(lane, -lane);
}

}  // namespace louddesk
