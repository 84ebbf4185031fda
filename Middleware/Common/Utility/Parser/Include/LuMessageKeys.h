// Keys of the loudness messages, for their reader and their writer.

#pragma once

namespace lu_key {

constexpr char kAlarm[] = "Alarm";
constexpr char kAlarmTolerance[] = "AlarmTolerance";
constexpr char kClusterId[] = "ClusterId";
constexpr char kCommand[] = "Command";
constexpr char kCommandTimeStamp[] = "CmdTS";
constexpr char kLoudnessStandard[] = "LoudnessStandard";
constexpr char kLoudnessWindow[] = "LoudnessWindow";
constexpr char kLoudnessWindowTime[] = "LoudnessWindowTime";
constexpr char kLraWindow[] = "LraWindow";
constexpr char kMeterSet[] = "MeterSet";
constexpr char kMode[] = "Mode";
constexpr char kOriginFromFp[] = "OriginFromFp";
constexpr char kReferenceLevel[] = "ReferenceLevel";

// The user: incoming messages use the first key, outgoing ones the second. The two are not
// interchangeable.
constexpr char kReadUser[] = "UserID";
constexpr char kWrittenUser[] = "UID";

}  // namespace lu_key
