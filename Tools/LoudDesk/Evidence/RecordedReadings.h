// Decodes the readings of a recorded second. Stateless.

#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "FiguresText.h"
#include "RecordedSecond.h"

namespace louddesk {

/// The loudness of a momentary code in LKFS; nothing if there was no reading or no message.
inline std::optional<double> MomentaryOf(std::int16_t code) {
  return code == kMissedReading ? std::nullopt : LoudnessOf(code);
}

/// How many of the ten messages of a second were missed.
inline std::size_t MissedIn(const RecordedSecond& second) {
  return static_cast<std::size_t>(
      std::count(second.momentary.begin(), second.momentary.end(), kMissedReading));
}

}  // namespace louddesk
