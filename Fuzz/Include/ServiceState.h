// The whole state of the service that messages can change, and the properties that it always has.

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
  std::uint32_t users[2];       // users of the last command and of the last configuration
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

/// A copy of the current state.
ServiceState TakeState();

/// The groups of the state that an operation may change. The others must not change.
struct Changes {
  bool reader, settings, actions, reporting, source, programme, status, engine;
};

/// Asserts that only the given groups have changed since `before`.
void CheckOnlyChanged(const ServiceState& before, const Changes& changes);

/// Asserts the properties that always hold: every value is in its range, texts are terminated, and
/// only meters of the programme have a weight.
void CheckState();

/// Resets the service to the state in which the wiring starts it for `meterSet` and `cluster`,
/// except that its publishers are not bound to anything.
void StartService(std::uint32_t meterSet, std::uint32_t cluster);

/// Resets only the engine and the programme to their state after the start.
void StartEngine();

}  // namespace fuzz
