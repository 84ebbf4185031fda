// The parts of a file that are missing because the file is damaged or truncated.

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace louddesk {

/// Times refer to the undamaged file, in seconds from its start, as far as they are known.
struct Damage {
  std::vector<double> places;    // gaps before the end, in order of time
  double missing = 0.0;          // known missing duration, s
  std::optional<double> endsAt;  // where a truncated file ends
  bool isEndUnknown = false;     // it is unknown how much is missing after the end of a part

  bool IsNone() const { return places.empty() && !endsAt; }
};

/// Adds the damage of a part of the file that starts at `begin`, s.
void AddDamage(Damage& whole, const Damage& part, double begin);

/// Describes damage as a phrase for a message: "0.06 % of the file is damaged, at 1:02.3". `there`
/// is the duration that could be read, s. REQUIRES: there is damage.
std::string DamageText(const Damage& damage, double there);

}  // namespace louddesk
