// Macros for log lines, which begin with the name of the source file's unit and the source line.

#pragma once

#include "Logger.h"

/// The unit that writes levelled lines, and the logger.
struct LogSource {
  const char* unit;  // name of the unit
  Logger* logger;    // null: silent
  int threshold;     // lowest level that is written, MsgLevel_e
};

/// Levelled line of a `LogSource`, for example
/// LOUDCALC_LOG(Log(), Warn, "\"Topic %s not handled\"", topic).
#define LOUDCALC_LOG(source, level, format, ...)                                                \
  do {                                                                                          \
    const LogSource logSource = (source);                                                       \
    if (logSource.logger != nullptr && logSource.threshold <= MsgLevel_##level)                 \
      logSource.logger->level("%s|%u|" format, logSource.unit, static_cast<unsigned>(__LINE__), \
                              ##__VA_ARGS__);                                                   \
  } while (false)

/// Plain console line of the unit of that name on `stream` (stdout or stderr).
#define LOUDCALC_PRINT(unit, stream, format, ...) \
  Logger::Fprintf(stream, "%s|%u| " format, unit, static_cast<unsigned>(__LINE__), ##__VA_ARGS__)
