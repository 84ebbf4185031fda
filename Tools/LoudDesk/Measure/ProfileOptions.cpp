// Options that replace single limits of the profile.

#include "ProfileOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "NumberCheck.h"
#include "Verdict.h"

namespace louddesk {
namespace {

struct Bounds {
  double lowest;
  double highest;
};

constexpr Bounds kLoudnessLkfs = {-70.0, 0.0};
constexpr Bounds kToleranceLu = {0.0, 20.0};
constexpr Bounds kPeakDbtp = {-40.0, 20.0};
constexpr Bounds kRangeLu = {0.0, 80.0};

// An option for one limit.
struct LimitOption {
  const char* name;
  std::optional<double> LoudnessLimits::*limit;
  Bounds bounds;
  const char* description;
};

constexpr LimitOption kLimitOptions[] = {
    {"--tolerance", &LoudnessLimits::tolerance, kToleranceLu,
     "Tolerance on either side of the target, LU"},
    {"--max-true-peak", &LoudnessLimits::maxTruePeak, kPeakDbtp, "Highest true peak allowed, dBTP"},
    {"--max-short-term", &LoudnessLimits::maxShortTerm, kLoudnessLkfs,
     "Highest short-term loudness allowed, LKFS"},
    {"--max-momentary", &LoudnessLimits::maxMomentary, kLoudnessLkfs,
     "Highest momentary loudness allowed, LKFS"},
    {"--max-range", &LoudnessLimits::maxRange, kRangeLu, "Largest loudness range allowed, LU"},
    {"--min-range", &LoudnessLimits::minRange, kRangeLu, "Smallest loudness range allowed, LU"},
};

constexpr char kOwnName[] = "own";

std::string CheckProfile(const std::string& name) {
  const std::vector<std::string> names = ProfileNames();
  if (std::find(names.begin(), names.end(), name) != names.end())
    return "";
  return "there is no profile \"" + name + "\"; see --list-profiles";
}

void AddListOption(CLI::App& command) {
  command
      .add_flag_callback(
          "--list-profiles",
          [] {
            std::cout << ProfileList();
            throw CLI::Success();
          },
          "Show all profiles with figures and sources")
      ->trigger_on_parse();
}

// Applies the limits from options. Returns whether there were any.
bool ApplyLimits(const LoudnessLimits& own, LoudnessLimits& limits) {
  bool isChanged = false;
  for (const LimitOption& option : kLimitOptions) {
    if (!(own.*option.limit))
      continue;
    limits.*option.limit = own.*option.limit;
    isChanged = true;
  }
  return isChanged;
}

void Check(const ProfileOptions& options) {
  if (options.isLive && !LiveCriteriaOf(options.profile))
    throw CLI::ValidationError(
        "--live", "the profile " + options.profile + " has no tolerance for live programmes");
  const LoudnessLimits& own = options.limits;
  if (own.minRange && own.maxRange && *own.minRange > *own.maxRange)
    throw CLI::ValidationError("--min-range", "is above --max-range");
  const Criteria criteria = CriteriaFor(options);
  if (options.failsByVerdict && VerdictsOn({}, criteria).empty())
    throw CLI::ValidationError("--fail", criteria.name + " has no limits that could be broken");
}

}  // namespace

void AddProfileOptions(CLI::App& command, ProfileOptions& options) {
  command.add_option("--profile", options.profile, "Profile of limits; see --list-profiles")
      ->capture_default_str()
      ->check(CheckProfile);
  AddListOption(command);
  command.add_option("--target", options.target, "Target of the integrated loudness, LKFS")
      ->check(Between(kLoudnessLkfs.lowest, kLoudnessLkfs.highest));
  CLI::Option* live =
      command.add_flag("--live", options.isLive, "Use the profile's tolerance for live programmes");
  for (const LimitOption& option : kLimitOptions)
    command.add_option(option.name, options.limits.*option.limit, option.description)
        ->check(Between(option.bounds.lowest, option.bounds.highest));
  live->excludes("--tolerance");
  command.add_flag("--fail", options.failsByVerdict, "End with status 3 when a limit is broken");
  command.parse_complete_callback([&options] { Check(options); });
}

Criteria CriteriaFor(const ProfileOptions& options) {
  Criteria criteria =
      options.isLive ? LiveCriteriaOf(options.profile).value() : CriteriaOf(options.profile);
  bool isOwn = ApplyLimits(options.limits, criteria.limits);
  if (options.limits.maxTruePeak)
    criteria.peakCeiling = options.limits.maxTruePeak;
  if (options.target) {
    criteria.target = options.target;
    isOwn = true;
  }
  if (isOwn) {
    criteria.source =
        options.profile == kNoProfile ? "options" : "options, in addition to " + criteria.title;
    criteria.name = kOwnName;
    criteria.title = "Own limits";
  }
  return criteria;
}

}  // namespace louddesk
