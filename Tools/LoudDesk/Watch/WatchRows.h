// Loudness messages as rows for other programs: CSV or JSON, a row a message. Stateless.

#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "DocumentWriter.h"
#include "ServiceMessages.h"

namespace louddesk {

using WallTime = std::chrono::system_clock::time_point;

/// Moment as ISO 8601 in UTC with milliseconds, for example "2024-06-10T09:33:20.000Z".
std::string UtcText(WallTime time);

/// Moment on the clock of the user, HH:MM:SS.
std::string LocalClockText(WallTime time);

/// The names of the fields. Ends with a line feed.
std::string WatchCsvHeader();

/// The message as it came at `time`: loudness in LKFS with one decimal, range in LU with one,
/// peaks in dBTP with two, empty (CSV) or null (JSON) for no reading; ValidSource as 1 or 0 (CSV),
/// true or false (JSON); Command by its name. Ends with a line feed. REQUIRES: it is well-formed.
std::string WatchCsvRow(const LoudnessMessage& message, WallTime time);
std::string WatchJsonRow(const LoudnessMessage& message, WallTime time);

/// The members of WatchJsonRow, written into the open object; all null without a message.
void WriteWatchMembers(DocumentWriter& object, const std::optional<LoudnessMessage>& message,
                       WallTime time);

}  // namespace louddesk
