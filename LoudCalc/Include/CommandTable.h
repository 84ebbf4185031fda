// The effect of loudness commands on the pending actions.

#pragma once

#include <cstdint>

#include "LuEnumerations.h"

/// A change of `gluCalcActions`.
struct ActionChange {
  std::uint32_t clear;  // bits cleared first
  std::uint32_t set;    // bits set afterwards
};

/// Restart of the measurement: a start, an accepted configuration or preset.
extern const ActionChange kRestart;

/// A pending stop; publishing ends with it.
extern const ActionChange kStop;

/// `actions` after the change.
std::uint32_t Apply(const ActionChange& change, std::uint32_t actions);

/// Sets `result` to `actions` as changed by `command`, which depends on the last command carried
/// out and on the configured mode. False for a `command` that no user can send; `result` then
/// equals `actions`.
bool ApplyCommand(LuCmd_e command, LuCmd_e last, LoudModes_e mode, std::uint32_t actions,
                  std::uint32_t& result);
