// The user's terminal as a window of text cells. One object at a time and process, on one thread.
// Takes the terminal over while it lives and gives it back as it was, also when a signal ends the
// process.

#pragma once

#include <optional>

#include "FatalSignals.h"
#include "MeterGraphics.h"
#include "TextScreen.h"

struct screen;

namespace louddesk {

/// Keys that are not characters.
constexpr int kKeyUp = 0x110000;
constexpr int kKeyDown = 0x110001;

class Terminal {
 public:
  /// Takes over the terminal on standard output. Throws std::runtime_error, with one line for the
  /// user, when its kind is not known or cannot place its cursor. Without colours when the
  /// environment has NO_COLOR.
  Terminal();

  /// Gives it back.
  ~Terminal();

  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// The window as it is now.
  ScreenSize Size() const;

  /// What it can show, by the user's locale.
  Glyphs Glyph() const { return mGlyphs; }

  /// Whether standard input is a terminal, where keys can be pressed.
  bool HasKeys() const { return mHasKeys; }

  /// Shows the cells; only what has changed is written.
  void Show(const TextScreen& cells);

  /// The next character typed or key pressed, 0 when there is none. Takes note of a new size of the
  /// window.
  int ReadKey();

 private:
  void PrepareColours();

  struct screen* mScreen;                     // owned
  std::optional<FatalSignals> mFatalSignals;  // while ncurses has the terminal
  Glyphs mGlyphs;
  bool mHasKeys;
  bool mHasColours = false;
};

}  // namespace louddesk
