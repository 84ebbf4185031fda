// Runs a clean-up function when a signal ends the process. One object at a time per process.

#pragma once

namespace louddesk {

class FatalSignals {
 public:
  /// From now on, a signal that would end the process first calls `giveBack`; the same signal then
  /// ends the process. Signals that are ignored (SIGHUP under nohup) or already handled (SIGINT and
  /// SIGTERM in subcommands that stop cleanly on them) are left alone.
  /// REQUIRES: `giveBack` is async-signal-safe.
  explicit FatalSignals(void (*giveBack)());

  /// Restores the previous handlers.
  ~FatalSignals();

  FatalSignals(const FatalSignals&) = delete;
  FatalSignals& operator=(const FatalSignals&) = delete;
};

}  // namespace louddesk
