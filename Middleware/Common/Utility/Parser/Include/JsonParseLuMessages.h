// Reader of the loudness messages: configuration, command and cluster. Owned by the dispatcher,
// used on the reactor thread only. It writes no log lines; callers see a rejection by the result.

#pragma once

#include "LuMessages.h"

/// Holds the last configuration and the last command that arrived.
///
/// Each message is one JSON object in a zero-terminated text. Keys match exactly, in any order, and
/// unknown keys are ignored. A value of the wrong type counts as missing: an unsigned key accepts
/// only integers from 0 to 4294967295, a signed one only those from -2147483648 to 2147483647, and
/// 9.0 is not an integer. Values are stored as received; ranges are not checked.
///
/// A text that is null, not JSON or not an object gives false and changes nothing here.
class cLuSettingsParser : public cLuConf, public cLuCmd {
 public:
  /// Reads a configuration message. True when each of "ClusterId" (into `mlDefaultClusterId`),
  /// "LraWindow", "LoudnessStandard", "LoudnessWindow", "AlarmTolerance", "Alarm",
  /// "ReferenceLevel", "Mode" and "LoudnessWindowTime" is there; "OriginFromFp" and "UserID" may be
  /// missing. Command and configuration are reset first, so after a false result the keys that
  /// could be read are set, all others have their defaults, and the configuration must not be
  /// applied.
  bool ParseLuConfJsonStr(const char* cpEncMessage_in);

  /// Reads a command message. True when "Command" is a text. A text that is not a command gives
  /// `LU_CMD_NONE`. "OriginFromFp", "CmdTS" and "UserID" may be missing. The command is reset
  /// first; the configuration does not change.
  bool ParseLuCmdJsonStr(const char* cpEncMessage_in);

  /// Reads a command message addressed to one cluster. `cluster_id_out` and `meter_set_no_out` take
  /// "ClusterId" and "MeterSet", 0 when missing or when the text is rejected. Unless
  /// `filter_cluster_id` is 0, a message of another cluster gives false before anything else is
  /// read: the command is then none, its origin flag false and `meter_set_no_out` 0.
  bool ParseLuCmdJsonStr(const char* cpEncMessage_in, unsigned& meter_set_no_out,
                         unsigned& cluster_id_out, unsigned filter_cluster_id);

  /// Reads a cluster message. True when "ClusterId" (into `mlClusterId`) is there; "OriginFromFp",
  /// "MeterSet" (into `meter_set_no_out`, 0 when missing or when the text is rejected), "CmdTS" and
  /// "UserID" may be missing. Nothing is reset but the command's origin flag, which it shares.
  bool ParseLuClusterJsonStr(const char* cpEncMessage_in, unsigned& meter_set_no_out);

  bool mbIsCmdOriginFromFp = false;    // last command or cluster message came from the front panel
  bool mbIsClustOriginFromFp = false;  // reserved for the cluster message; nothing sets it
  bool mbIsConfOriginFromFp = false;   // last configuration message came from the front panel
};
