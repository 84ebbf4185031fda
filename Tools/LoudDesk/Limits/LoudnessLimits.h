// The limits that a programme must meet.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// An allowed range including both ends, in LKFS, dBTP or LU. Nothing means no limit on that side.
struct AllowedRange {
  std::optional<double> lowest;
  std::optional<double> highest;
};

/// The allowed values of each figure. Nothing means that the figure is not judged.
struct LoudnessLimits {
  std::optional<double> tolerance = {};  // either side of the target of the integrated loudness, LU
  std::optional<double> maxTruePeak = {};   // dBTP
  std::optional<double> maxShortTerm = {};  // LKFS
  std::optional<double> maxMomentary = {};  // LKFS
  std::optional<double> minRange = {};      // LU
  std::optional<double> maxRange = {};      // LU
};

/// The limits and targets of programmes.
struct Criteria {
  std::string name;              // of the profile: "ebu-r128"
  std::string title;             // for users: "EBU R 128, version 4"
  std::string source;            // where the limits come from, as a sentence without its full stop
  std::optional<double> target;  // of the integrated loudness, LKFS
  std::optional<double> peakCeiling;  // gain must not lift the true peak above it, dBTP
  LoudnessLimits limits;              // nothing is judged if empty
};

}  // namespace louddesk
