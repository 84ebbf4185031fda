// A terminal that hands out keys one by one and does not show them. One object at a time and
// process.

#pragma once

#include "FatalSignals.h"

namespace louddesk {

/// The terminal is as it was before whenever this process does not use it: after the object's life,
/// after a signal that ends the process, while the process is stopped (Ctrl-Z) and while it runs in
/// the background. Ctrl-C and the like keep their meaning.
class KeyMode {
 public:
  /// Leaves the terminal alone until `Take`. Reading in the background, which would stop the
  /// process, fails instead.
  explicit KeyMode(int terminal);

  /// Gives the terminal back.
  ~KeyMode();

  KeyMode(const KeyMode&) = delete;
  KeyMode& operator=(const KeyMode&) = delete;

  /// Takes the terminal unless it is taken. False in the background, where it is somebody else's.
  bool Take();

 private:
  FatalSignals mFatalSignals;
};

}  // namespace louddesk
