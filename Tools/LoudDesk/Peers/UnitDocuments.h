// The documents that the unit's application server and process monitor publish.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "LuMessages.h"

namespace louddesk {

/// A preset; a new one has no meters and clusters and the internal clock.
struct Preset {
  struct Meter {
    int number;                // from 1
    std::string speaker;       // loudspeaker position, for example "LeftSurround"
    int channel;               // of the input that feeds it; 0: none
    std::string type = "AES";  // of the input
  };
  struct Cluster {
    int firstMeter;  // from 1
    int numberOfMeters;
    std::string type = "Custom";
  };
  struct Name {
    std::string preset, program, group;
  };

  std::vector<Meter> meters;
  std::vector<Cluster> clusters;  // counted from 1
  std::optional<Name> name;
  std::optional<std::string> clock = "Internal";  // type of the source; without one it is refused
  bool isRepublished = false;                     // again the one in force

  std::string Json() const;
};

/// A preset whose meters 1, 2, ... stand for `speakers` and belong to `cluster` (from 1). No
/// channel feeds the meter of a speaker that the service does not know, such as "None": it has no
/// part in the programme.
Preset PresetForSpeakers(const std::vector<std::string>& speakers, unsigned cluster);

/// A loudness configuration; a new one asks for what the service starts with.
struct LoudnessConfiguration {
  unsigned clusterId = 1;
  unsigned lraWindow = 9;  // s, the service keeps it within 9 to 10800
  std::string loudnessStandard =
      cLuConf::kDefaultStandardText;                         // or "EBU R128 (+9)", "EBU R128 (+18)"
  std::string loudnessWindow = cLuConf::kDefaultWindowText;  // or "Short Term", "Custom"
  int alarmTolerance = 2;                                    // LU
  std::string alarm = cLuConf::kDefaultAlarmText;            // or "Over", "Under", "Off"
  int referenceLevel = -24;                                  // LKFS
  std::string mode = cLuConf::kDefaultModeText;  // or "Manual": start and stop by command
  unsigned loudnessWindowTime = 3;               // s, the service keeps it within 1 to 7200
  unsigned userId = 0;
  bool originFromFp = false;  // set at the unit's front panel

  std::string Json() const;
};

/// The configuration in a message; nothing when the service would refuse it.
std::optional<LoudnessConfiguration> ReadConfiguration(const std::string& json);

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

/// The time stamp of the next command of a client whose last one had `last`: by the clock, but
/// never the same again. 0 stands for none.
unsigned NextTimeStamp(unsigned last);

/// Switches the reporting of loudness data on or off.
std::string EnableReportingJson(bool enable);

}  // namespace louddesk
