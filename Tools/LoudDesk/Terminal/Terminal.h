// The user's terminal as a window of text cells. One object at a time per process, on one thread.
// Takes over the terminal while it lives and restores it afterwards, also when a signal ends the
// process.

#pragma once

#include <optional>

#include "FatalSignals.h"
#include "MeterGraphics.h"
#include "TextScreen.h"

struct screen;

namespace louddesk {

/// Codes of keys that are not characters.
constexpr int kKeyUp = 0x110000;
constexpr int kKeyDown = 0x110001;

class Terminal {
 public:
  /// Takes over the terminal on standard output. Throws std::runtime_error with one line for the
  /// user if the type of the terminal is unknown or it cannot place its cursor. Uses no colours if
  /// the environment variable NO_COLOR is set.
  Terminal();

  /// Restores the terminal.
  ~Terminal();

  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// The current size of the window.
  ScreenSize Size() const;

  /// The glyphs that the user's locale can display.
  Glyphs Glyph() const { return mGlyphs; }

  /// Whether standard input is a terminal, so that keys can be pressed.
  bool HasKeys() const { return mHasKeys; }

  /// Shows the cells. Writes only those that have changed.
  void Show(const TextScreen& cells);

  /// The next character or key, or 0 if there is none. Also takes over a new size of the window.
  int ReadKey();

 private:
  void PrepareColours();

  struct screen* mScreen;                     // owned
  std::optional<FatalSignals> mFatalSignals;  // while ncurses owns the terminal
  Glyphs mGlyphs;
  bool mHasKeys;
  bool mHasColours = false;
};

}  // namespace louddesk
