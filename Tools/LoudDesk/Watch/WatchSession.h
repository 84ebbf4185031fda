// One watch of a running service, from the first connection to the status of the program.

#pragma once

#include <optional>
#include <ostream>

#include "WatchLayout.h"

namespace louddesk {

enum class WatchFormat {
  kScreen,  // the meter in a terminal's window
  kLines,   // for people, about a line a second
  kCsv,     // a row a message
  kJson,    // an object a message, one a line
};

struct WatchOptions {
  WatchLook look;
  WatchFormat format = WatchFormat::kLines;
  std::optional<unsigned long> count;  // ends after so many loudness messages
  std::optional<double> seconds;       // ends after so long, s
};

/// Watches until the count, the time or the user ends it. Rows and lines go to `out`, each as soon
/// as it is known; a line for whatever goes wrong goes to `errors`, beside rows also when they do
/// not come. Returns the status of the program: 0, also after Ctrl-C; 1 when no message came in the
/// time given, the terminal cannot be used or `out` takes no more.
int Watch(const WatchOptions& options, std::ostream& out, std::ostream& errors);

}  // namespace louddesk
