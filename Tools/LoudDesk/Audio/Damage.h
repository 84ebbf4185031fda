// What of a file is missing because the file is damaged or ends early.

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace louddesk {

/// Times are those of the undamaged file, s from its beginning, as far as they can be known.
struct Damage {
  std::vector<double> places;    // where something is missing between what is there, in time
  double missing = 0.0;          // s that are known to be missing; more may be
  std::optional<double> endsAt;  // where the file ends before its end

  bool IsNone() const { return places.empty() && !endsAt; }
};

/// Adds the damage of a part of the file that begins at `begin`, s.
void AddDamage(Damage& whole, const Damage& part, double begin);

/// What is missing beside `there` seconds that are there, as a phrase for a message: "0.06 % of the
/// file is damaged, at 1:02.3". REQUIRES: there is damage.
std::string DamageText(const Damage& damage, double there);

}  // namespace louddesk
