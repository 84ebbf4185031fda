// The layout of the file, which writer and reader share. Docs/OPERATIONS.md describes it for use
// with other tools.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "RecordedSecond.h"

namespace louddesk {

/// The file's application_id ("LdRc") and user_version.
constexpr std::int64_t kStationApplication = 0x4C645263;
constexpr std::int64_t kStationFormat = 1;

/// SQL that creates the tables and the index of a new file.
extern const char kStationSchema[];

constexpr std::int64_t kSecondsPerMinute = 60;

/// The row number of a cluster's minute is the minute since 1970 times kClusterNumbers, plus the
/// cluster's number in the table of clusters, which is less than kClusterNumbers. So rows are in
/// order of time, and each minute of a cluster can be found by its row number.
constexpr std::int64_t kClusterNumbers = 1024;

/// Bytes of a second: ten momentary readings, short-term loudness and true peak as signed 16-bit
/// little-endian numbers; the state; and a byte whose lowest bit is 1 if the source is valid.
constexpr std::size_t kBytesPerSecond = 2 * (kReadingsPerSecond + 2) + 2;

/// The seconds of a minute; nothing for a second that was not recorded.
using MinuteOfSeconds = std::array<std::optional<RecordedSecond>, kSecondsPerMinute>;

/// Encodes a minute: its seconds in order, zeros for missing ones.
std::string EncodeMinute(const MinuteOfSeconds& minute);

/// Decodes the seconds of `minute` (minutes since 1970). Any bytes are accepted: a second that is
/// cut off or has an unknown state is missing, and a momentary reading that is not a valid code
/// becomes kMissedReading.
MinuteOfSeconds DecodeMinute(std::int64_t minute, std::string_view bytes);

}  // namespace louddesk
