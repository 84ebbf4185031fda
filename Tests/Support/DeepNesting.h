// Hostile texts for the JSON readers.

#pragma once

#include <cstddef>
#include <string>

/// Far more levels than the reader accepts, and more than a recursive reader would survive in a
/// debug build. The texts are still short enough to be parsed.
constexpr std::size_t kDeepLevels = 40000;

/// `piece` repeated `levels` times.
inline std::string Deep(const std::string& piece, std::size_t levels = kDeepLevels) {
  std::string text;
  text.reserve(piece.size() * levels);
  for (std::size_t level = 0; level < levels; ++level)
    text += piece;
  return text;
}

/// Arrays or objects that are opened but never closed: not valid JSON.
inline std::string UnclosedArrays() {
  return Deep("[");
}
inline std::string UnclosedObjects() {
  return Deep("{\"a\":");
}

/// Valid documents with `levels` levels.
inline std::string NestedArrays(std::size_t levels = kDeepLevels) {
  return Deep("[", levels) + Deep("]", levels);
}
inline std::string NestedObjects(std::size_t levels = kDeepLevels) {
  return Deep("{\"a\":", levels) + "1" + Deep("}", levels);
}
