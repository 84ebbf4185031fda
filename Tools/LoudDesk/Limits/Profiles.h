// The limits of published recommendations by name. Never changes.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "LoudnessLimits.h"

namespace louddesk {

/// The profile that judges where no other is named.
constexpr char kUsualProfile[] = "ebu-r128";

/// The profile without any limit or target.
constexpr char kNoProfile[] = "none";

/// Names of all profiles, in the order of their list.
std::vector<std::string> ProfileNames();

/// The criteria of a profile. REQUIRES: there is one of that name.
Criteria CriteriaOf(const std::string& profile);

/// The same with the tolerance of live programmes; nothing for a profile that has none. REQUIRES:
/// as `CriteriaOf`.
std::optional<Criteria> LiveCriteriaOf(const std::string& profile);

/// All profiles with their figures and sources as a table for people, each line ended by a line
/// feed and of at most 80 characters.
std::string ProfileList();

}  // namespace louddesk
