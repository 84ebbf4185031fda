// State shared by the dispatcher and the reporting. Both write it, on the reactor thread only.

#include "ReportingState.h"

std::uint32_t gluCalcActions = 0;
std::uint32_t glEnableProbeData = 0;
bool gbIsInvalidSrc = false;
std::uint64_t glInvalidSrcCount = 0;
char gsLuConf[kLuConfSize] = {};
