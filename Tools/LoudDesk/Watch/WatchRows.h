// Loudness messages for other programs: one CSV row or JSON object per message. Stateless.

#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "DocumentWriter.h"
#include "ServiceMessages.h"

namespace louddesk {

using WallTime = std::chrono::system_clock::time_point;

/// A time as ISO 8601 in UTC with milliseconds, such as "2024-06-10T09:33:20.000Z".
std::string UtcText(WallTime time);

/// A time as local time, HH:MM:SS.
std::string LocalClockText(WallTime time);

/// The names of the CSV fields. Ends with a line feed.
std::string WatchCsvHeader();

/// A message that arrived at `time`. Loudness is in LKFS and range in LU with one decimal, peaks
/// are in dBTP with two; a missing reading is empty (CSV) or null (JSON). ValidSource is 1 or 0
/// (CSV), true or false (JSON); Command is a name. Ends with a line feed. REQUIRES: the message is
/// well-formed.
std::string WatchCsvRow(const LoudnessMessage& message, WallTime time);
std::string WatchJsonRow(const LoudnessMessage& message, WallTime time);

/// Writes the members of WatchJsonRow into the open object; all are null without a message.
void WriteWatchMembers(DocumentWriter& object, const std::optional<LoudnessMessage>& message,
                       WallTime time);

}  // namespace louddesk
