// What must be given back even when a signal ends the process. One object at a time and process.

#pragma once

namespace louddesk {

class FatalSignals {
 public:
  /// From now on a signal that ends the process, but SIGINT and SIGTERM, which end the subcommands
  /// in order, calls `giveBack` first. The process then ends by that signal as it would have. A
  /// signal that is ignored, as SIGHUP behind nohup, stays so. REQUIRES: `giveBack` may be called
  /// in a signal handler.
  explicit FatalSignals(void (*giveBack)());

  /// Leaves the signals as they were.
  ~FatalSignals();

  FatalSignals(const FatalSignals&) = delete;
  FatalSignals& operator=(const FatalSignals&) = delete;
};

}  // namespace louddesk
