// The limits that a programme has to keep.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

/// What is allowed, both ends included; nothing where there is no limit on that side. LKFS, dBTP or
/// LU.
struct AllowedRange {
  std::optional<double> lowest;
  std::optional<double> highest;
};

/// What is allowed, in the unit of each figure; nothing where a figure is not judged.
struct LoudnessLimits {
  std::optional<double> tolerance = {};     // on both sides of the target of the loudness, LU
  std::optional<double> maxTruePeak = {};   // dBTP
  std::optional<double> maxShortTerm = {};  // LKFS
  std::optional<double> maxMomentary = {};  // LKFS
  std::optional<double> minRange = {};      // LU
  std::optional<double> maxRange = {};      // LU
};

/// What programmes are judged by, and what they are to be brought to.
struct Criteria {
  std::string name;              // of the profile: "ebu-r128"
  std::string title;             // for people: "EBU R 128, version 4"
  std::string source;            // where the limits come from, a sentence without its full stop
  std::optional<double> target;  // of the integrated loudness, LKFS
  std::optional<double> peakCeiling;  // what gain must not lift the true peak beyond, dBTP
  LoudnessLimits limits;              // without any, nothing is judged
};

}  // namespace louddesk
