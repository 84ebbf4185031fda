// What the dispatcher leaves for the reporting: the pending actions, whether to report at all, and
// the configuration in force. The dispatcher raises the actions, the 100 ms tick performs them,
// both on the reactor thread.

#pragma once

#include <cstddef>
#include <cstdint>

// Bits of `gluCalcActions`.
constexpr std::uint32_t kActionStart = 0x001;  // acknowledge a start
constexpr std::uint32_t kActionReset = 0x002;  // restart every measurement
constexpr std::uint32_t kActionStop =
    0x004;  // freeze the results; raised while kActionRunning is cleared
constexpr std::uint32_t kActionPause = 0x008;    // freeze the results, go on publishing them
constexpr std::uint32_t kActionPlay = 0x010;     // publish live results again
constexpr std::uint32_t kActionRunning = 0x100;  // not pending: data goes out on every tick

/// Size of `gsLuConf` in bytes, terminator included.
constexpr std::size_t kLuConfSize = 1024;

extern std::uint32_t gluCalcActions;     // pending actions and the running flag; bits above
extern std::uint32_t glEnableProbeData;  // 0: publish nothing; written by the dispatcher
extern bool gbIsInvalidSrc;              // no meter in the programme; written by the dispatcher
extern std::uint64_t glInvalidSrcCount;  // messages sent since the source became invalid
extern char gsLuConf[kLuConfSize];  // last accepted configuration as JSON, empty until one came
