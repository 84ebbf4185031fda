// The layout of the file, which writer and reader share. Docs/OPERATIONS.md describes it for those
// who read it with other tools.

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

/// Tables and index of a new file.
extern const char kStationSchema[];

constexpr std::int64_t kSecondsPerMinute = 60;

/// Row of a minute of a cluster: the minute since 1970 times kClusterNumbers, and the number that
/// the table of clusters gives the cluster, which is less than that. The rows are thus in the order
/// of time, and the minutes of one cluster are found one by one.
constexpr std::int64_t kClusterNumbers = 1024;

/// Bytes of a second: ten momentary readings, short-term loudness and true peak as signed 16-bit
/// numbers, the lowest byte first; the state; and a byte whose lowest bit is 1 with a valid source.
constexpr std::size_t kBytesPerSecond = 2 * (kReadingsPerSecond + 2) + 2;

/// The seconds of a minute; nothing where one was not recorded.
using MinuteOfSeconds = std::array<std::optional<RecordedSecond>, kSecondsPerMinute>;

/// Bytes of a minute's seconds, one after the other; zeros for those that are missing.
std::string EncodeMinute(const MinuteOfSeconds& minute);

/// The seconds of `minute` (since 1970) from bytes that may be anything: a second that is cut off
/// or has an unknown state is missing; a momentary reading that is not a code is missed.
MinuteOfSeconds DecodeMinute(std::int64_t minute, std::string_view bytes);

}  // namespace louddesk
