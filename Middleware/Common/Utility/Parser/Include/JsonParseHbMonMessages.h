// Readers of the process monitor's messages: the state of the whole system and the commands to the
// monitor's clients. Used on the reactor thread only; their flags are static so that all code on
// that thread can read them.
//
// The monitor is part of the same unit, so a known key of the wrong JSON type is a broken contract
// and stops the process by an assertion. A text that is not JSON is only logged.

#pragma once

#include <rapidjson/fwd.h>

#include <cstdint>

#include "Logger.h"

/// Reader of the system status, a base of the dispatcher. A status message is an object with the
/// text "SystemStatus" and, optionally, the object "DolbyDecoder" with the text "State".
class cJsonParseSysStatus {
 public:
  /// Reads the system status: `mbSysStatus` becomes true for a text that begins with "Okay" and
  /// false for any other. With `_detect_dlb_status`, while the system is in order and no decoder
  /// was seen before, `mbDolbyDecoderDetected` becomes whether the decoder's state begins with
  /// "Processing".
  ///
  /// Returns true for a usable message. A null text, one that is not JSON or has no "SystemStatus"
  /// is logged as an error, sets `mbSysStatus` to `_default`, does not change the decoder's flag
  /// and returns false. Asserts that the root is an object, "SystemStatus" a text and, if it reads
  /// them, "DolbyDecoder" an object and "State" a text.
  bool ParseSysStatus(const char* cpEncMessage_in, bool _detect_dlb_status, bool _default);

  static bool mbSysStatus;             // the system was in order at the last message
  static bool mbDolbyDecoderDetected;  // a Dolby decoder was seen processing; stays set once it is
  static Logger* mpLogger;             // receives the log lines, not owned; null: silent
  static std::int32_t mLogLevel;       // lowest level of a line that is written (`MsgLevel_e`)

 private:
  static bool ReadStatus(const char* text, bool detectDecoder);
  static void DetectDecoder(const rapidjson::Value& message);
};

/// Reader of the monitor's commands. A command message is an object with the integer "Command".
class cJsonParseHbMonCommand {
 public:
  /// Reads the command into `miHBMonCommand` and returns true. A null text, one that is not JSON,
  /// or a "Command" that is missing or null is logged as an error, gives -1 and returns false.
  /// Asserts that the root is an object and "Command" a signed 32-bit integer.
  bool ParseSysStatus(const char* cpEncMessage_in);

  std::int32_t miHBMonCommand = -1;  // the last command; -1 after a failure and before the first

  static Logger* mpLogger;        // receives the log lines, not owned; null: silent
  static std::int32_t mLogLevel;  // lowest level of a line that is written (`MsgLevel_e`)

 private:
  bool ReadCommand(const char* text);
};
