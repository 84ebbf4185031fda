// Moments and durations as people write them. Stateless but for the time zone of the process.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace louddesk {

/// A moment, seconds since 1970 in UTC, by the clock of the user: "2026-11-22 14:05:12 +0100".
std::string LocalTimeText(std::int64_t time);

/// Reads a moment: "2026-11-22T14:05:12Z" in UTC, "2026-11-22T14:05:12+01:00" in the zone that it
/// names, "2026-11-22T14:05:12", "2026-11-22 14:05" or "2026-11-22" (its beginning) by the clock of
/// the user, "14:05" or "14:05:12" of the day of `now`, and "now". Seconds may have a fraction,
/// which is left out. Seconds since 1970 in UTC; nothing for anything else, and for years before
/// 1970 and after 9999.
std::optional<std::int64_t> ReadTime(const std::string& text, std::int64_t now);

/// Reads a duration of whole seconds, minutes, hours, days or weeks: "90s", "15m", "1h", "7d",
/// "2w". Seconds; nothing for anything else, and for 0.
std::optional<std::int64_t> ReadDuration(const std::string& text);

}  // namespace louddesk
