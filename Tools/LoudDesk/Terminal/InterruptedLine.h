// What Ctrl-C leaves of a line that is written again and again: nothing.

#pragma once

#include <cstddef>

namespace louddesk {

/// While it lives, SIGINT, SIGTERM and SIGHUP empty the cursor's line of a terminal before they end
/// the process as they would have; those that the process ignores stay ignored. One at a time.
class InterruptedLine {
 public:
  /// `terminal` is a file descriptor; the line has `columns` characters.
  InterruptedLine(int terminal, std::size_t columns);

  /// Leaves the signals as they were.
  ~InterruptedLine();

  InterruptedLine(const InterruptedLine&) = delete;
  InterruptedLine& operator=(const InterruptedLine&) = delete;
};

}  // namespace louddesk
