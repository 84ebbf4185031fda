// Reads and writes points in time and durations. Stateless but for the time zone of the process.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace louddesk {

/// A time in seconds since 1970 UTC as local time: "2026-11-22 14:05:12 +0100".
std::string LocalTimeText(std::int64_t time);

/// Reads a point in time and returns it in seconds since 1970 UTC. Accepts
/// "2026-11-22T14:05:12Z" in UTC, "2026-11-22T14:05:12+01:00" with an offset,
/// "2026-11-22T14:05:12", "2026-11-22 14:05" or "2026-11-22" (midnight) in local time, "14:05" or
/// "14:05:12" on the day of `now`, and "now". A fraction of a second is ignored. Returns nothing
/// for any other text, for years before 1970 or after 9999, and for local times that the clock
/// shows twice or never, as when summer time ends or begins.
std::optional<std::int64_t> ReadTime(const std::string& text, std::int64_t now);

/// Reads a duration of whole seconds, minutes, hours, days or weeks, such as "90s", "15m", "1h",
/// "7d" or "2w", and returns it in seconds. Returns nothing for any other text, and for 0.
std::optional<std::int64_t> ReadDuration(const std::string& text);

}  // namespace louddesk
