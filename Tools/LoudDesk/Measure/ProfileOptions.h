// Command-line options for the limits by which files are judged.

#pragma once

#include <optional>
#include <string>

#include "LoudnessLimits.h"
#include "Profiles.h"

namespace CLI {
class App;
}

namespace louddesk {

/// A profile, and options that replace or add limits.
struct ProfileOptions {
  std::string profile = kUsualProfile;
  bool isLive = false;
  std::optional<double> target = {};  // LKFS
  LoudnessLimits limits = {};
  bool failsByVerdict = false;  // a broken limit sets the exit status
};

/// Adds --profile, --live, --list-profiles, --fail and an option for each limit. `options` must
/// outlive the parse. The parse fails for --live if the profile has no tolerance for live
/// programmes, and for --fail if there are no limits.
void AddProfileOptions(CLI::App& command, ProfileOptions& options);

/// The criteria that result from the options. If they differ from the profile, they have a
/// different name. REQUIRES: the profile exists and, for --live, has a tolerance for live
/// programmes.
Criteria CriteriaFor(const ProfileOptions& options);

}  // namespace louddesk
