// How a unit writes its log lines: each begins with the unit's name and the line in the source. The
// unit defines `constexpr char kUnitName[]` and uses the macros where `mpLogger` and `mLogLevel`,
// its class's logger (null: silent) and threshold, are in scope.

#pragma once

#include "Logger.h"

/// Levelled line through the class's logger, for example
/// LOUDCALC_LOG(Warn, "\"Topic %s not handled\"", topic).
#define LOUDCALC_LOG(level, format, ...)                                                           \
  do {                                                                                             \
    if (mpLogger != nullptr && mLogLevel <= MsgLevel_##level)                                      \
      mpLogger->level("%s|%u|" format, kUnitName, static_cast<unsigned>(__LINE__), ##__VA_ARGS__); \
  } while (false)

/// Plain console line on `stream` (stdout or stderr), whatever the threshold.
#define LOUDCALC_PRINT(stream, format, ...)                                             \
  Logger::Fprintf(stream, "%s|%u| " format, kUnitName, static_cast<unsigned>(__LINE__), \
                  ##__VA_ARGS__)
