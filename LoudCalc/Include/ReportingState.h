// State that the dispatcher passes to the reporting: the pending actions, whether to report at all,
// and the configuration in force. The dispatcher raises the actions and the 100 ms tick performs
// them, both on the reactor thread.

#pragma once

#include <cstddef>
#include <cstdint>

/// Size of `gsLuConf` in bytes, terminator included.
constexpr std::size_t kLuConfSize = 1024;

extern std::uint32_t gluCalcActions;     // pending actions and the running flag, `kAction...`
extern std::uint32_t glEnableProbeData;  // 0: the tick publishes nothing; written by the dispatcher
extern bool gbIsInvalidSrc;              // no meter in the programme; written by the dispatcher
extern std::uint64_t glInvalidSrcCount;  // messages sent without a source since the last preset
extern char gsLuConf[kLuConfSize];  // last accepted configuration as JSON, empty before the first
