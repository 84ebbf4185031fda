// Describes damage in words.

#include "Damage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "ClockText.h"

namespace louddesk {
namespace {

// The maximum number of places that a message lists; further ones are counted.
constexpr std::size_t kNamedPlaces = 5;

// Places closer together than this, in seconds, are merged, because a message cannot distinguish
// them.
constexpr double kSamePlace = 0.1;

// "1:02.3", "0:12.4 and 1:02.3", "0:12.4, 0:15.0, 1:02.3 and 7 more places".
std::string PlacesText(const std::vector<double>& places) {
  std::vector<std::string> names;
  // Lists the sixth place instead of "1 more".
  const std::size_t named = places.size() == kNamedPlaces + 1 ? places.size() : kNamedPlaces;
  for (const double place : places)
    if (names.size() < named)
      names.push_back(ShortClockText(place));
  if (places.size() > named)
    names.push_back(fmt::format("{} more places", places.size() - named));
  if (names.size() == 1)
    return names.front();
  return fmt::format("{} and {}", fmt::join(names.begin(), names.end() - 1, ", "), names.back());
}

bool IsShareKnown(const Damage& damage) {
  return damage.missing > 0.0 && !damage.isEndUnknown;
}

// "0.06 % of the file", or "the file" if the missing duration is unknown.
std::string ShareText(const Damage& damage, double there) {
  if (!IsShareKnown(damage))
    return "the file";
  const double percent = 100.0 * damage.missing / (there + damage.missing);
  return percent < 0.01 ? "less than 0.01 % of the file"
                        : fmt::format("{:.2f} % of the file", percent);
}

}  // namespace

void AddDamage(Damage& whole, const Damage& part, double begin) {
  for (const double place : part.places)
    whole.places.push_back(begin + place);
  std::sort(whole.places.begin(), whole.places.end());
  const auto areOne = [](double a, double b) { return b - a < kSamePlace; };
  whole.places.erase(std::unique(whole.places.begin(), whole.places.end(), areOne),
                     whole.places.end());
  whole.missing += part.missing;
  whole.isEndUnknown = whole.isEndUnknown || part.isEndUnknown;
  if (part.endsAt)
    whole.endsAt = begin + *part.endsAt;
}

std::string DamageText(const Damage& damage, double there) {
  const std::string share = ShareText(damage, there);
  if (!damage.endsAt)
    return fmt::format("{} is damaged, at {}", share, PlacesText(damage.places));
  const std::string end = fmt::format("ends early, at {}", ShortClockText(*damage.endsAt));
  const std::string faults = damage.places.empty() ? end
                                                   : fmt::format("is damaged at {} and {}",
                                                                 PlacesText(damage.places), end);
  return IsShareKnown(damage) ? fmt::format("{} is missing: it {}", share, faults)
                              : "the file " + faults;
}

}  // namespace louddesk
