// The keys of the live meter, one per row of a table.

#include "WatchKeys.h"

#include <algorithm>
#include <cstring>

#include "LuMessages.h"
#include "Terminal.h"

namespace louddesk {
namespace {

constexpr double kTargetStep = 1;  // LU

void MoveTarget(WatchLook& look, const WatchModel& model, double step) {
  look.target = std::clamp(LimitsOf(look, model).target + step, kLowestTarget, kHighestTarget);
}

void RaiseTarget(WatchLook& look, WatchModel& model) {
  MoveTarget(look, model, kTargetStep);
}

void LowerTarget(WatchLook& look, WatchModel& model) {
  MoveTarget(look, model, -kTargetStep);
}

void ChangeScale(WatchLook& look, WatchModel& model) {
  look.scale = LimitsOf(look, model).scale == kLowScale ? kHighScale : kLowScale;
}

void ResetMaxima(WatchLook&, WatchModel& model) {
  model.ResetMaxima();
}

void ToggleHelp(WatchLook& look, WatchModel&) {
  look.showsHelp = !look.showsHelp;
}

struct KeyRow {
  const char* keys;  // characters for the action
  int key;           // key that is not a character; 0: none
  const char* help;
  void (*act)(WatchLook& look, WatchModel& model);
};

constexpr KeyRow kKeys[] = {
    {"sS", 0, "s       scale +9 or +18", ChangeScale},
    {"+=", kKeyUp, "+ up    target up by 1 LU", RaiseTarget},
    {"-_", kKeyDown, "- down  target down by 1 LU", LowerTarget},
    {"mM", 0, "m       reset the maxima seen here", ResetMaxima},
    {"hH?", 0, "h       this help, on and off", ToggleHelp},
};

constexpr char kQuitHelp[] = "q       quit";

struct CommandRow {
  char key;
  const char* command;
  const char* help;
};

constexpr CommandRow kCommands[] = {
    {'1', cLuCmd::kStartText, "1       start: a new measurement begins"},
    {'2', cLuCmd::kPauseText, "2       pause: the figures stay"},
    {'3', cLuCmd::kPlayText, "3       play: the figures continue"},
    {'4', cLuCmd::kStopText, "4       stop, in the mode Manual"},
    {'5', cLuCmd::kResetText, "5       reset: the figures start again"},
};

bool IsAmong(int key, const char* keys) {
  return key > 0 && key < 128 && std::strchr(keys, key) != nullptr;
}

}  // namespace

void ActOnKey(int key, WatchLook& look, WatchModel& model) {
  for (const KeyRow& row : kKeys)
    if (IsAmong(key, row.keys) || (row.key != 0 && key == row.key))
      row.act(look, model);
}

const char* CommandOfKey(int key) {
  for (const CommandRow& row : kCommands)
    if (key == row.key)
      return row.command;
  return nullptr;
}

bool IsQuitKey(int key) {
  return IsAmong(key, "qQ");
}

std::vector<std::string> HelpLines(bool isControlling) {
  std::vector<std::string> lines;
  for (const KeyRow& row : kKeys)
    lines.emplace_back(row.help);
  if (isControlling)
    for (const CommandRow& row : kCommands)
      lines.emplace_back(row.help);
  lines.emplace_back(kQuitHelp);
  return lines;
}

}  // namespace louddesk
