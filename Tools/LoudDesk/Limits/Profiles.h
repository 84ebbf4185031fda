// The limits of published recommendations by name. Constant data.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "LoudnessLimits.h"

namespace louddesk {

/// The default profile.
constexpr char kUsualProfile[] = "ebu-r128";

/// The profile without limits or target.
constexpr char kNoProfile[] = "none";

/// Names of all profiles, in the order of the table.
std::vector<std::string> ProfileNames();

/// The criteria of a profile. REQUIRES: the profile exists.
Criteria CriteriaOf(const std::string& profile);

/// The same with the tolerance for live programmes; nothing if the profile has none. REQUIRES: the
/// profile exists.
std::optional<Criteria> LiveCriteriaOf(const std::string& profile);

/// All profiles with their figures and sources as a table for users. Each line has at most 80
/// characters and ends with a line feed.
std::string ProfileList();

}  // namespace louddesk
