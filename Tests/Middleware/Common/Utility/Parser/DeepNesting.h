// Hostile texts for the JSON readers.

#pragma once

#include <cstddef>
#include <string>

/// Far more levels than a recursive reader survives on the usual 8 MB stack.
constexpr std::size_t kDeepLevels = 1000000;

/// `piece` repeated `kDeepLevels` times.
inline std::string Deep(const std::string& piece) {
  std::string text;
  text.reserve(piece.size() * kDeepLevels);
  for (std::size_t level = 0; level < kDeepLevels; ++level)
    text += piece;
  return text;
}

/// Arrays (objects) that open and never close: no JSON.
inline std::string UnclosedArrays() {
  return Deep("[");
}
inline std::string UnclosedObjects() {
  return Deep("{\"a\":");
}

/// Valid documents of that depth.
inline std::string NestedArrays() {
  return Deep("[") + Deep("]");
}
inline std::string NestedObjects() {
  return Deep("{\"a\":") + "1" + Deep("}");
}
