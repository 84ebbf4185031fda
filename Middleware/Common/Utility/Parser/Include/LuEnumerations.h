// Enumerations of the loudness settings and commands, and the actions that commands raise. The
// values of the enumerations travel in messages; their texts are in LuMessages.h. A plain header,
// so that the engine does not depend on JSON.

#pragma once

#include <cstdint>

enum LoudStandards_e : std::int32_t {
  BS1770_3 = 0,
  EBU_R128_9 = 1,   // EBU R 128 on the +9 scale
  EBU_R128_18 = 2,  // EBU R 128 on the +18 scale
  NUM_LOUD_STANDARDS = 3,
  LOUD_STD_DEFAULT = BS1770_3,
};

enum LoudWinType_e : std::int32_t {
  LOUD_WIN_TYPE_MOMENTARY = 0,
  LOUD_WIN_TYPE_SHORT = 1,
  LOUD_WIN_TYPE_INTEGRATED = 2,  // "Custom" in messages
  NUM_LOUD_WIN_TYPES = 3,
  DEFAULT_LOUD_WIN_TYPE = LOUD_WIN_TYPE_MOMENTARY,
};

enum LuAlarm_e : std::int32_t {
  LU_ALARM_NONE = 0,
  LU_ALARM_OVER = 1,
  LU_ALARM_UNDER = 2,
  LU_ALARM_BOTH = 3,
  LU_ALARM_OFF = 4,
  LU_ALARM_MAX = 5,
};

enum teLoudModes : std::int32_t {
  LOUD_MODE_CONTINUOUS = 0,
  LOUD_MODE_START_STOP = 1,  // "Manual" in messages
  NUM_LOUD_MODES = 2,
  LOUD_MODE_DEFAULT = LOUD_MODE_CONTINUOUS,
};
using LoudModes_e = teLoudModes;

enum LuCmd_e : std::int32_t {
  LU_CMD_NONE = 0,
  LU_CMD_STOP = 1,
  LU_CMD_PAUSE = 2,
  LU_CMD_START = 3,
  LU_CMD_PLAY = 4,
  LU_CMD_RESET = 5,
  LU_CMD_PRINT = 6,
  LU_CMD_WAIT4CONF = 7,        // no text; cannot arrive by message
  LU_CMD_PROCESS_PROGRAM = 8,  // no text; cannot arrive by message
  LU_CMD_PROCESS_LUCONF = 9,   // no text; cannot arrive by message
  LU_CMD_NUM_STATES = 10,
};

// Pending actions, as bits. The service performs one on each tick.
constexpr std::uint32_t kActionStart = 0x001;  // acknowledge a start
constexpr std::uint32_t kActionReset = 0x002;  // restart every measurement
constexpr std::uint32_t kActionStop =
    0x004;  // freeze the results; kActionRunning is cleared with it
constexpr std::uint32_t kActionPause = 0x008;    // freeze the results but keep publishing them
constexpr std::uint32_t kActionPlay = 0x010;     // publish live results again
constexpr std::uint32_t kActionRunning = 0x100;  // not pending: data goes out on every tick
