// The actions of keys in the live meter. Stateless.

#pragma once

#include <string>
#include <vector>

#include "WatchParts.h"

namespace louddesk {

/// The range of loudness targets, LKFS.
constexpr double kLowestTarget = -60;
constexpr double kHighestTarget = 0;

/// Applies the action of `key` to the look or the model. Ignores keys with other or no actions.
void ActOnKey(int key, WatchLook& look, WatchModel& model);

/// The command for `key`, by its name in messages, when the meter controls the service; null for
/// all other keys.
const char* CommandOfKey(int key);

/// Whether `key` ends the meter.
bool IsQuitKey(int key);

/// A description of the keys, one line each.
std::vector<std::string> HelpLines(bool isControlling);

}  // namespace louddesk
