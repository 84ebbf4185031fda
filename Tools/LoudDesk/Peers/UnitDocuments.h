// The documents published by the unit's application server and process monitor.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "LuMessages.h"

namespace louddesk {

/// A preset. By default it has no meters and clusters and uses the internal clock.
struct Preset {
  struct Meter {
    int number;                // from 1
    std::string speaker;       // loudspeaker position, for example "LeftSurround"
    int channel;               // input channel that feeds it; 0: none
    std::string type = "AES";  // type of the input
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
  std::optional<std::string> clock = "Internal";  // type; a preset without one is refused
  bool isRepublished = false;                     // repeats the preset in force

  std::string Json() const;
};

/// A preset with meters 1, 2, ... for `speakers`, all in `cluster` (from 1). Speakers unknown to
/// the service, such as "None", have no input channel and no part in the programme.
Preset PresetForSpeakers(const std::vector<std::string>& speakers, unsigned cluster);

/// A loudness configuration. By default it is the one that the service starts with.
struct LoudnessConfiguration {
  unsigned clusterId = 1;
  unsigned lraWindow = 9;  // s, the service limits it to 9 to 10800
  std::string loudnessStandard =
      cLuConf::kDefaultStandardText;                         // or "EBU R128 (+9)", "EBU R128 (+18)"
  std::string loudnessWindow = cLuConf::kDefaultWindowText;  // or "Short Term", "Custom"
  int alarmTolerance = 2;                                    // LU
  std::string alarm = cLuConf::kDefaultAlarmText;            // or "Over", "Under", "Off"
  int referenceLevel = -24;                                  // LKFS
  std::string mode = cLuConf::kDefaultModeText;  // or "Manual": start and stop by command
  unsigned loudnessWindowTime = 3;               // s, the service limits it to 1 to 7200
  unsigned userId = 0;
  bool originFromFp = false;  // set at the unit's front panel

  std::string Json() const;
};

/// Reads a configuration; nothing if the service would refuse it.
std::optional<LoudnessConfiguration> ReadConfiguration(const std::string& json);

/// A loudness command for one cluster.
struct LoudnessCommand {
  std::string command;  // "Start", "Pause", "Play", "Stop", "Reset" or "Print"
  unsigned clusterId = 1;
  unsigned meterSet = 1;
  unsigned timeStamp = 0;
  unsigned userId = 0;
  bool originFromFp = false;  // given at the unit's front panel

  std::string Json() const;
};

/// The time stamp for a client's next command after one with stamp `last`: the current time, made
/// unique. Never 0, which means no stamp.
unsigned NextTimeStamp(unsigned last);

/// A message that switches the reporting of loudness data on or off.
std::string EnableReportingJson(bool enable);

}  // namespace louddesk
