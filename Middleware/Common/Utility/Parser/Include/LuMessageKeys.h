// Keys of the loudness messages, as their reader and their writer spell them.

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

// The user: messages that arrive here name it by the first key, messages that leave by the second.
// Neither end looks for the other key.
constexpr char kReadUser[] = "UserID";
constexpr char kWrittenUser[] = "UID";

}  // namespace lu_key
