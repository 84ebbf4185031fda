// The loudness configuration and the loudness command as the service holds them in memory, and the
// vocabulary by which their enumerations appear in JSON messages. Plain values without locks; each
// object belongs to the reader or writer that derives from it, on the reactor thread.

#pragma once

#include <cstdint>
#include <string>

#include "LuEnumerations.h"

/// A loudness configuration. Each enumeration has a text field beside it; set both together. Ranges
/// are checked where the settings are stored, not here.
class cLuConf {
 public:
  /// Texts of the defaults after a reset. Each is also the text of every value that has none.
  static constexpr char kDefaultStandardText[] = "ITU BS1770-3";
  static constexpr char kDefaultWindowText[] = "Momentary";
  static constexpr char kDefaultAlarmText[] = "Both";
  static constexpr char kDefaultModeText[] = "Continuous";

  /// Texts of other values that senders and readers of messages need by name.
  static constexpr char kCustomWindowText[] = "Custom";
  static constexpr char kManualModeText[] = "Manual";

  /// The enumeration of a text. The texts are searched in the order of their values, anywhere in
  /// `text` and case-sensitively. A null text, or one that contains none of them, gives the value
  /// that a reset gives: `BS1770_3`, `LOUD_WIN_TYPE_MOMENTARY`, `LU_ALARM_BOTH` and
  /// `LOUD_MODE_CONTINUOUS`. There is no text for `LU_ALARM_NONE`.
  static LoudStandards_e ConvertToLoudnessStandardFromString(const char* text);
  static LoudWinType_e ConvertToLoudnessWindowFromString(const char* text);
  static LuAlarm_e ConvertToAlarmFromString(const char* text);
  static LoudModes_e ConvertToModeFromString(const char* text);

  /// The text of an enumeration, a literal that is never null and outlives every object. A value
  /// without a text gives the text of the reset default; for `LU_ALARM_NONE` that is "Both".
  static const char* ConvertToLoudnessStandardStrFromEnum(LoudStandards_e standard);
  static const char* ConvertToLoudnessWindowStrFromEnum(LoudWinType_e window);
  static const char* ConvertToAlarmStrFromEnum(LuAlarm_e alarm);
  static const char* ConvertToModeStrFromEnum(teLoudModes mode);

  /// Returns every field but `mlUserId` to its default.
  void Reset();

  std::uint32_t mlLraWindow = 9;                          // window of the loudness range, s
  std::string msLoudnessStandard = kDefaultStandardText;  // text of `mLoudnessStandard`
  LoudStandards_e mLoudnessStandard = LOUD_STD_DEFAULT;   // standard that the figures follow
  std::string msLoudnessWindow = kDefaultWindowText;      // text of `mLoudnessWindow`
  LoudWinType_e mLoudnessWindow = DEFAULT_LOUD_WIN_TYPE;  // window of the shown loudness
  std::uint32_t mlClusterId = 1;         // cluster that a cluster message addresses, from 1
  std::uint32_t mlDefaultClusterId = 1;  // cluster that a configuration message names, from 1
  std::int32_t mlAlarmTolerance = 2;     // distance from the reference level without an alarm, LU
  std::string msAlarm = kDefaultAlarmText;  // text of `mAlarm`
  LuAlarm_e mAlarm = LU_ALARM_BOTH;         // side of the reference level that raises an alarm
  std::int32_t mlReferenceLevel = -24;      // loudness aimed at, LKFS
  std::string msMode = kDefaultModeText;    // text of `mMode`
  LoudModes_e mMode = LOUD_MODE_DEFAULT;    // continuous, or from a start to a stop
  std::uint32_t mlLoudnessWindowTime = 3;   // length of the custom window, s
  std::uint32_t mlUserId = 0;               // user that sent the configuration; 0 before the first
};

/// A loudness command.
class cLuCmd {
 public:
  /// Text of `LU_CMD_NONE` and of every command that has none.
  static constexpr char kNoCommandText[] = "None";

  /// Texts of the commands that can arrive by message.
  static constexpr char kStopText[] = "Stop";
  static constexpr char kPauseText[] = "Pause";
  static constexpr char kStartText[] = "Start";
  static constexpr char kPlayText[] = "Play";
  static constexpr char kResetText[] = "Reset";
  static constexpr char kPrintText[] = "Print";

  /// Work like the conversions of `cLuConf`, with `LU_CMD_NONE` and "None" as the fallbacks. A text
  /// that contains a command, such as "AutoStart", is that command. The commands above
  /// `LU_CMD_PRINT` have no text and cannot arrive by message.
  static LuCmd_e ConvertToLuCmdFromString(const char* text);
  static const char* ConvertToLuCmdStrFromEnum(LuCmd_e command);

  /// Returns the command to none. Its time stamp and user do not change.
  void Reset();

  /// Shows the command on standard output, in a block of three indented lines, and flushes it.
  void PrintLuCmd() const;

  std::string msLuCmd = kNoCommandText;  // text of `mLuCmd` as received
  LuCmd_e mLuCmd = LU_CMD_NONE;          // the command; LU_CMD_NONE also for an unknown text
  std::uint32_t mlCmdTS = 0;             // time stamp of the command, in the sender's own count
  std::uint32_t mlUserId = 0;            // user that sent the command; 0 before the first
};
