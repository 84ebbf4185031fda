// The whole state of the service that messages can change, and what holds for it at all times.

#pragma once

#include <czmq.h>

#include <cstdint>
#include <string>
#include <vector>

#include "JsonParseLuMessages.h"
#include "LoudConfigUser.h"
#include "LoudnessData.h"

namespace fuzz {

/// A copy of the state. Messages change each group as a whole.
struct ServiceState {
  cLuSettingsParser reader;     // last configuration and command
  LoudConfigUser_t settings;    // the user's settings in force
  std::string configuration;    // `gsLuConf`
  std::uint32_t users[2];       // of the last command, of the last configuration
  std::uint32_t actions;        // `gluCalcActions`
  std::uint32_t isReporting;    // `glEnableProbeData`
  bool isSourceInvalid;         // `gbIsInvalidSrc`
  std::uint32_t meters;         // meters of the programme
  std::vector<double> weights;  // their weights
  bool isInOrder;               // system status
  bool isDecoderDetected;       // Dolby decoder
  std::uint64_t blocks[4];      // powers of the last blocks
  std::uint32_t blocksCounted;  // blocks since the reset, as far as the engine counts them
};

/// The present state.
ServiceState TakeState();

/// Which groups of the state an operation may change; the others must stay.
struct Changes {
  bool reader, settings, actions, reporting, source, programme, status, engine;
};

/// Asserts that only the given groups have changed since `before`.
void CheckOnlyChanged(const ServiceState& before, const Changes& changes);

/// Asserts what holds at all times: every value in its range, texts terminated, a weight only for a
/// meter of the programme.
void CheckState();

/// Resets the service to the state in which the wiring starts it for `meterSet` and `cluster`,
/// except that its publishers are not bound to anything.
void StartService(std::uint32_t meterSet, std::uint32_t cluster);

/// Engine and programme alone, as after the start.
void StartEngine();

}  // namespace fuzz
