// The command table. Stateless.

#include "CommandTable.h"

namespace {

// Last command that a rule requires.
enum class Last { Any, Stop, Pause, StopOrPause };

// Configured mode that a rule requires.
enum class Mode { Any, StartStop };

struct Rule {
  LuCmd_e command;
  Last last;
  Mode mode;
  ActionChange change;
};

constexpr ActionChange kNoChange{0, 0};
constexpr ActionChange kRestartChange{kActionPlay | kActionPause | kActionStop,
                                      kActionRunning | kActionReset | kActionStart};
constexpr std::uint32_t kEndedByStop =
    kActionRunning | kActionPlay | kActionPause | kActionStart;                    // 0x119
constexpr std::uint32_t kEndedByPause = kActionPlay | kActionStop | kActionStart;  // 0x015
constexpr std::uint32_t kEndedByPlay = kActionPause | kActionStop | kActionStart;  // 0x00D
constexpr ActionChange kStopChange{kEndedByStop, kActionStop};

// The first rule that fits applies.
constexpr Rule kRules[] = {
    {LU_CMD_STOP, Last::Any, Mode::StartStop, kStopChange},
    {LU_CMD_STOP, Last::Any, Mode::Any, kNoChange},
    {LU_CMD_PAUSE, Last::Stop, Mode::StartStop, kStopChange},
    {LU_CMD_PAUSE, Last::Any, Mode::Any, {kEndedByPause, kActionPause}},
    {LU_CMD_START, Last::Any, Mode::Any, kRestartChange},
    {LU_CMD_PLAY, Last::Stop, Mode::Any, kRestartChange},
    {LU_CMD_PLAY, Last::Any, Mode::Any, {kEndedByPlay, kActionPlay}},
    {LU_CMD_RESET, Last::StopOrPause, Mode::StartStop, {kEndedByStop, kActionStop | kActionReset}},
    {LU_CMD_RESET, Last::Pause, Mode::Any, {kEndedByPause, kActionPause | kActionReset}},
    {LU_CMD_RESET, Last::Any, Mode::Any, {0, kActionReset}},
    {LU_CMD_PRINT, Last::Any, Mode::Any, kNoChange},
};

bool Fits(Last wanted, LuCmd_e last) {
  switch (wanted) {
    case Last::Stop:
      return last == LU_CMD_STOP;
    case Last::Pause:
      return last == LU_CMD_PAUSE;
    case Last::StopOrPause:
      return last == LU_CMD_STOP || last == LU_CMD_PAUSE;
    case Last::Any:
      break;
  }
  return true;
}

bool Fits(Mode wanted, LoudModes_e mode) {
  return wanted == Mode::Any || mode == LOUD_MODE_START_STOP;
}

}  // namespace

const ActionChange kRestart = kRestartChange;
const ActionChange kStop = kStopChange;

std::uint32_t Apply(const ActionChange& change, std::uint32_t actions) {
  return (actions & ~change.clear) | change.set;
}

bool ApplyCommand(LuCmd_e command, LuCmd_e last, LoudModes_e mode, std::uint32_t actions,
                  std::uint32_t& result) {
  for (const Rule& rule : kRules) {
    if (rule.command == command && Fits(rule.last, last) && Fits(rule.mode, mode)) {
      result = Apply(rule.change, actions);
      return true;
    }
  }
  result = actions;
  return false;
}
