// The further documents that the unit's application server and process monitor publish.

#pragma once

#include <string>

namespace louddesk {

/// A loudness configuration; a new one asks for what the service starts with.
struct LoudnessConfiguration {
  unsigned clusterId = 1;
  unsigned lraWindow = 9;                         // s, the service keeps it within 9 to 10800
  std::string loudnessStandard = "ITU BS1770-3";  // or "EBU R128 (+9)", "EBU R128 (+18)"
  std::string loudnessWindow = "Momentary";       // or "Short Term", "Custom"
  int alarmTolerance = 2;                         // LU
  std::string alarm = "Both";                     // or "Over", "Under", "Off"
  int referenceLevel = -24;                       // LKFS
  std::string mode = "Continuous";                // or "Manual": start and stop by command
  unsigned loudnessWindowTime = 3;                // s, the service keeps it within 1 to 7200
  unsigned userId = 0;
  bool originFromFp = false;  // set at the unit's front panel

  std::string Json() const;
};

/// A loudness command to one cluster.
struct LoudnessCommand {
  std::string command;  // "Start", "Pause", "Play", "Stop", "Reset" or "Print"
  unsigned clusterId = 1;
  unsigned meterSet = 1;
  unsigned timeStamp = 0;
  unsigned userId = 0;
  bool originFromFp = false;  // given at the unit's front panel

  std::string Json() const;
};

/// Switches the reporting of loudness data on or off.
std::string EnableReportingJson(bool enable);

}  // namespace louddesk
