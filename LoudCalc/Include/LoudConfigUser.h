// The loudness settings that the user chose. One record for the process, written by the dispatcher
// through the setters. The calculator reads the window lengths at every reset. Reactor thread only.

#pragma once

#include <cstdint>

#include "LuEnumerations.h"

/// Alarm tolerance in LU.
enum LoudAlarmToleranceLu_e : std::int32_t {
  LOUD_ALARM_TOLERANCE_MIN = 1,
  LOUD_ALARM_DEFAULT_TOLERANCE = 2,
  LOUD_ALARM_TOLERANCE_MAX = 6,
};

/// Shortest and longest integrated-loudness window in seconds; the history of momentary readings
/// holds the longest.
constexpr std::uint32_t kMinIntegWinSecs = 1;
constexpr std::uint32_t kMaxIntegWinSecs = 7200;

/// Shortest and longest loudness-range window in seconds.
constexpr std::uint32_t kMinLraWinSecs = 9;
constexpr std::uint32_t kMaxLraWinSecs = 10800;

struct LoudConfigUser_t {
  LoudWinType_e WinType = LOUD_WIN_TYPE_MOMENTARY;                         // loudness window shown
  LoudAlarmToleranceLu_e AlarmToleranceLu = LOUD_ALARM_DEFAULT_TOLERANCE;  // LU, 1 ... 6
  std::uint32_t IntegWinSecs = 3;             // integrated-loudness window in seconds, 1 ... 7200
  std::uint32_t LraWinTime = kMinLraWinSecs;  // loudness-range window in seconds, 9 ... 10800
  teLoudModes mode = LOUD_MODE_CONTINUOUS;    // continuous or start/stop measurement
  std::uint32_t ClusterId = 0;                // cluster of the configuration
  bool OriginFromFP4Cmd = false;              // origin mark of the last command
  bool OriginFromFP4Conf = false;             // origin mark of the last configuration
  bool OriginFromFP4Prog = false;             // origin mark of the last programme
};

/// The record, for the whole life of the process.
extern LoudConfigUser_t LoudConfigUser;

/// Loudness window shown. The setter ignores values outside the enumeration.
LoudWinType_e GetLuWinType();
void SetLuWinType(LoudWinType_e winType);

/// Continuous or start/stop measurement. The setter ignores values outside the enumeration.
teLoudModes GetLuMode();
void SetLuMode(teLoudModes mode);

/// Integrated-loudness window in seconds, clamped to 1 ... 7200. A change takes effect at the next
/// `LoudCalcReset`.
std::uint32_t GetIntegWinTime();
void SetIntegWinTime(unsigned int seconds);

/// Loudness-range window in seconds, clamped to 9 ... 10800. A change takes effect at the next
/// `LoudCalcReset`.
std::uint32_t GetLraWinTime();
void SetLraWinTime(unsigned int seconds);

/// Cluster of the configuration; any value.
std::uint32_t GetClusterId();
void SetClusterId(unsigned int clusterId);

/// Origin marks of the last command, configuration and programme.
bool IsOriginFromFP4Cmd();
void SetOriginFromFP4Cmd(bool originFromFp4);
bool IsOriginFromFP4Conf();
void SetOriginFromFP4Conf(bool originFromFp4);
bool IsOriginFromFP4Prog();
void SetOriginFromFP4Prog(bool originFromFp4);
