// What a loudness command does to the pending actions.

#pragma once

#include <cstdint>

#include "LuEnumerations.h"

/// A change of `gluCalcActions`.
struct ActionChange {
  std::uint32_t clear;  // bits to clear first
  std::uint32_t set;    // bits to set then
};

/// Restart of the measurement: a start, an accepted configuration or preset.
extern const ActionChange kRestart;

/// A pending stop; publishing ends with it.
extern const ActionChange kStop;

/// `actions` after the change.
std::uint32_t Apply(const ActionChange& change, std::uint32_t actions);

/// `actions` after `command`, given the last command carried out and the configured mode, goes to
/// `result`. False for a value that no user can send; `result` then equals `actions`.
bool ApplyCommand(LuCmd_e command, LuCmd_e last, LoudModes_e mode, std::uint32_t actions,
                  std::uint32_t& result);
