// What the keys of the live meter do. Stateless.

#pragma once

#include <string>
#include <vector>

#include "WatchParts.h"

namespace louddesk {

/// Loudness that can be aimed at, LKFS.
constexpr double kLowestTarget = -60;
constexpr double kHighestTarget = 0;

/// Does what `key` stands for to the look or the model; nothing for keys of something else.
void ActOnKey(int key, WatchLook& look, WatchModel& model);

/// The command that `key` sends where the meter controls the service, as messages call it; null for
/// every other key.
const char* CommandOfKey(int key);

/// Whether `key` ends the meter.
bool IsQuitKey(int key);

/// What the keys do, a line each.
std::vector<std::string> HelpLines(bool isControlling);

}  // namespace louddesk
