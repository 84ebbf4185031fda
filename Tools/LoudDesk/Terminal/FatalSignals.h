// Gives something back even when a signal ends the process. One object at a time and process.

#pragma once

namespace louddesk {

class FatalSignals {
 public:
  /// From now on a signal that would end the process calls `giveBack` first; then the process ends
  /// by that signal. Signals that are ignored, as SIGHUP under nohup, or have a handler, as SIGINT
  /// and SIGTERM where they end a subcommand in order, are left alone. REQUIRES: `giveBack` may be
  /// called in a signal handler.
  explicit FatalSignals(void (*giveBack)());

  /// Leaves the signals as they were.
  ~FatalSignals();

  FatalSignals(const FatalSignals&) = delete;
  FatalSignals& operator=(const FatalSignals&) = delete;
};

}  // namespace louddesk
