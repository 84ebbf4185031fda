// Gives a terminal that ncurses has taken over back when a signal ends the process, where ncurses
// itself may not be called. One object at a time and process.

#pragma once

#include "FatalSignals.h"

namespace louddesk {

/// The modes of the terminal on standard output. To be made before the terminal is taken over.
class ShellMode {
 public:
  ShellMode();
};

class TerminalRestorer {
 public:
  /// From now on the terminal gets its own picture, cursor and the modes of `ShellMode` back when a
  /// signal ends the process. REQUIRES: ncurses has the terminal, of which `shell` was made before.
  explicit TerminalRestorer(const ShellMode& shell);

 private:
  FatalSignals mFatalSignals;
};

}  // namespace louddesk
