// The table of profiles.

#include "Profiles.h"

#include <fmt/format.h>

#include <algorithm>

namespace louddesk {
namespace {

// How certain the figures are: stated by the publishing body itself; only the target stated by it;
// or widely and consistently reported, without access to the document itself.
constexpr char kPublished[] = "published";
constexpr char kPartlyReported[] = "target published, the rest reported";
constexpr char kReported[] = "reported";

// The purpose of a profile.
enum class Purpose {
  kDelivery,  // programmes pass or fail
  kPlayback,  // a service adjusts programmes to the target and rejects none
};

struct Profile {
  const char* name;
  const char* title;
  double target;                        // LKFS
  std::optional<double> tolerance;      // LU
  std::optional<double> liveTolerance;  // LU
  double maxTruePeak;                   // dBTP
  std::optional<double> maxShortTerm;   // LKFS
  Purpose purpose;
  const char* sureness;
  const char* source;
  const char* remark;  // empty: no remark
};

constexpr auto kNone = std::nullopt;

// Figures of streaming services as of 2026. The services change them from time to time.
constexpr Profile kProfiles[] = {
    {"ebu-r128", "EBU R 128, version 4", -23.0, 0.2, 1.0, -1.0, kNone, Purpose::kDelivery,
     kPublished, "EBU R 128 version 4, August 2020",
     "A reported measurement tolerance of 0.3 dB for the true peak is not granted here."},
    {"ebu-r128-v3", "EBU R 128, version 3", -23.0, 0.5, 1.0, -1.0, kNone, Purpose::kDelivery,
     kPublished, "EBU R 128 version 3, June 2014", ""},
    {"ebu-r128-s1", "EBU R 128 s1, short-form content", -23.0, 0.2, 1.0, -1.0, -18.0,
     Purpose::kDelivery, kPublished, "EBU R 128 s1, version of 2016",
     "No loudness range is required of short-form content."},
    {"atsc-a85", "ATSC A/85", -24.0, 2.0, kNone, -2.0, kNone, Purpose::kDelivery, kReported,
     "ATSC A/85",
     "Long-form programmes anchor to dialogue, which is not told from the rest here: the whole mix "
     "is judged."},
    {"arib-tr-b32", "ARIB TR-B32", -24.0, 1.0, kNone, -1.0, kNone, Purpose::kDelivery,
     kPartlyReported, "ARIB TR-B32, Japan", ""},
    {"op-59", "Free TV OP-59", -24.0, 1.0, kNone, -2.0, kNone, Purpose::kDelivery, kPartlyReported,
     "Free TV Australia OP-59, Australia and New Zealand",
     "Measured over the whole soundtrack, from its first sample to its last."},
    {"spotify", "Spotify", -14.0, kNone, kNone, -1.0, kNone, Purpose::kPlayback, kReported,
     "playback target, as of 2026", "Programmes louder than -14 LKFS: true peak at most -2 dBTP."},
    {"youtube", "YouTube", -14.0, kNone, kNone, -1.0, kNone, Purpose::kPlayback, kReported,
     "playback target, as of 2026", ""},
    {"tidal", "Tidal", -14.0, kNone, kNone, -1.0, kNone, Purpose::kPlayback, kReported,
     "playback target, as of 2026", ""},
    {"amazon-music", "Amazon Music", -14.0, kNone, kNone, -2.0, kNone, Purpose::kPlayback,
     kReported, "playback target, as of 2026", ""},
    {"deezer", "Deezer", -15.0, kNone, kNone, -1.0, kNone, Purpose::kPlayback, kReported,
     "playback target, as of 2026", ""},
    {"apple-music", "Apple Music", -16.0, kNone, kNone, -1.0, kNone, Purpose::kPlayback, kReported,
     "playback target, as of 2026", ""},
};

constexpr std::size_t kListWidth = 80;

// Null for the profile without limits.
const Profile* FindProfile(const std::string& name) {
  for (const Profile& profile : kProfiles)
    if (name == profile.name)
      return &profile;
  return nullptr;
}

std::string SourceText(const Profile& profile) {
  return std::string(profile.source) + "; " + profile.sureness;
}

Criteria CriteriaWith(const Profile& profile, const std::optional<double>& tolerance) {
  Criteria criteria;
  criteria.name = profile.name;
  criteria.title = profile.title;
  criteria.source = SourceText(profile);
  criteria.target = profile.target;
  criteria.peakCeiling = profile.maxTruePeak;
  if (profile.purpose == Purpose::kPlayback)
    return criteria;
  criteria.limits.tolerance = tolerance;
  criteria.limits.maxTruePeak = profile.maxTruePeak;
  criteria.limits.maxShortTerm = profile.maxShortTerm;
  return criteria;
}

std::string TenthText(const std::optional<double>& figure) {
  return figure ? fmt::format("{:.1f}", *figure) : "-";
}

// Wraps `text` into indented lines.
std::string Wrapped(const std::string& text, std::size_t indent) {
  std::string lines;
  std::string line(indent, ' ');
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    const std::string word = text.substr(begin, end - begin);
    const bool isFirst = line.size() == indent;
    if (!isFirst && line.size() + 1 + word.size() > kListWidth) {
      lines += line + "\n";
      line = std::string(indent, ' ') + word;
    } else {
      line += (isFirst ? "" : " ") + word;
    }
    begin = end + 1;
  }
  return lines + line + "\n";
}

std::string ListEntry(const Profile& profile) {
  std::string line = fmt::format("{:<14}", profile.name);
  for (const auto& figure :
       {std::optional<double>(profile.target), profile.tolerance, profile.liveTolerance,
        std::optional<double>(profile.maxTruePeak), profile.maxShortTerm})
    line += fmt::format("{:>11}", TenthText(figure));
  std::string text = SourceText(profile) + ".";
  if (*profile.remark != '\0')
    text += std::string(" ") + profile.remark;
  return line + "\n" + Wrapped(text, 4);
}

}  // namespace

std::vector<std::string> ProfileNames() {
  std::vector<std::string> names;
  for (const Profile& profile : kProfiles)
    names.emplace_back(profile.name);
  names.emplace_back(kNoProfile);
  return names;
}

Criteria CriteriaOf(const std::string& profile) {
  const Profile* found = FindProfile(profile);
  if (found == nullptr)
    return {kNoProfile, "No limits", "", {}, {}, {}};
  return CriteriaWith(*found, found->tolerance);
}

std::optional<Criteria> LiveCriteriaOf(const std::string& profile) {
  const Profile* found = FindProfile(profile);
  if (found == nullptr || !found->liveTolerance)
    return std::nullopt;
  Criteria criteria = CriteriaWith(*found, found->liveTolerance);
  criteria.title += ", live";
  return criteria;
}

std::string ProfileList() {
  std::string list =
      "Profile            Target  Tolerance       Live   Maximum    Maximum\n"
      "                                       tolerance  true peak short-term\n"
      "                     LKFS         LU         LU       dBTP       LKFS\n";
  for (const Profile& profile : kProfiles)
    list += ListEntry(profile);
  return list +
         "none\n    No limits and no target except those given by options.\n"
         "\n"
         "Reported: stated widely and consistently, but the document was not available.\n"
         "Services of playback judge nothing: their target says by how much they turn a\n"
         "programme up or down.\n";
}

}  // namespace louddesk
