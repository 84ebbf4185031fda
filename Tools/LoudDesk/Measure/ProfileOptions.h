// What files are judged by: options of the command line.

#pragma once

#include <optional>
#include <string>

#include "LoudnessLimits.h"
#include "Profiles.h"

namespace CLI {
class App;
}

namespace louddesk {

/// A profile, and what replaces its limits or stands beside them.
struct ProfileOptions {
  std::string profile = kUsualProfile;
  bool isLive = false;
  std::optional<double> target = {};  // LKFS
  LoudnessLimits limits = {};
  bool failsByVerdict = false;  // the status tells of limits that are broken
};

/// Adds --profile, --live, --list-profiles, --fail and an option for each limit. `options` must
/// outlive the parse, which fails where the profile has no tolerance for live programmes, and where
/// --fail could never tell anything.
void AddProfileOptions(CLI::App& command, ProfileOptions& options);

/// The criteria that the options ask for. Where they differ from the profile they do not bear its
/// name. REQUIRES: the profile is known, and has a tolerance for live programmes if one is asked
/// for.
Criteria CriteriaFor(const ProfileOptions& options);

}  // namespace louddesk
