// Drives the terminal with ncurses.

#include "Terminal.h"

#include <curses.h>
#include <langinfo.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace louddesk {
namespace {

// Numbers of the colour pairs; 0 is the default pair of the terminal.
constexpr short kPlainPair = 0;
constexpr short kGoodPair = 1;
constexpr short kAlertPair = 2;
constexpr short kLowPair = 3;
constexpr short kNoBackground = -1;

struct InkLook {
  attr_t attributes;
  short pair;
};

// In the order of Ink. Alerts also stand out without colours, and the text states their meaning.
constexpr InkLook kLooks[] = {
    {A_NORMAL, kPlainPair},  {A_BOLD, kPlainPair},
    {A_DIM, kPlainPair},     {A_NORMAL, kGoodPair},
    {A_NORMAL, kLowPair},    {A_BOLD, kAlertPair},
    {A_REVERSE, kPlainPair}, {A_REVERSE | A_BOLD, kAlertPair},
};

termios gShellModes;  // written before the handlers are installed

// Restores the attributes, the keypad mode and the cursor, clears the screen and, where the
// terminal has saved it, brings back the previous one. Called by signal handlers, which may not
// call ncurses. A background process does nothing: the terminal belongs to another process and was
// restored when this one was stopped.
void RestoreTerminal() {
  constexpr char kSequence[] = "\033[0m\033[?1l\033>\033[?25h\033[H\033[2J\033[?1049l";
  if (tcgetpgrp(STDOUT_FILENO) == getpgrp() &&
      write(STDOUT_FILENO, kSequence, sizeof kSequence - 1) > 0)
    tcsetattr(STDOUT_FILENO, TCSANOW, &gShellModes);
}

// Delivers keys one at a time, as ncurses needs them, but keeps translating carriage return to line
// feed. Otherwise a line typed ahead would reach the shell without its line end.
void TakeSingleKeys() {
  cbreak();
  termios modes;
  if (tcgetattr(STDOUT_FILENO, &modes) != 0)
    return;
  modes.c_iflag |= ICRNL;
  tcsetattr(STDOUT_FILENO, TCSANOW, &modes);
  def_prog_mode();
}

Glyphs GlyphsOfLocale() {
  // Only the character set: numbers always have a decimal point.
  std::setlocale(LC_CTYPE, "");
  return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? Glyphs::kBlocks : Glyphs::kAscii;
}

std::string UnusableTerminal(const char* reason) {
  const char* name = std::getenv("TERM");
  return std::string("the terminal \"") + (name == nullptr ? "" : name) + "\" " + reason +
         "; set TERM, or use --format csv or json";
}

// Without this, a terminal would write the whole picture on one line.
bool CanPlaceCursor() {
  return tigetstr("cup") != nullptr;
}

// Set and not empty, see https://no-color.org.
bool WantsNoColours() {
  const char* const wish = std::getenv("NO_COLOR");
  return wish != nullptr && *wish != '\0';
}

}  // namespace

Terminal::Terminal() : mGlyphs(GlyphsOfLocale()), mHasKeys(isatty(STDIN_FILENO) != 0) {
  tcgetattr(STDOUT_FILENO, &gShellModes);
  mScreen = newterm(nullptr, stdout, stdin);
  if (mScreen == nullptr)
    throw std::runtime_error(UnusableTerminal("is not known"));
  if (!CanPlaceCursor()) {
    endwin();
    delscreen(mScreen);
    throw std::runtime_error(UnusableTerminal("cannot place its cursor"));
  }
  mFatalSignals.emplace(RestoreTerminal);
  TakeSingleKeys();
  noecho();
  curs_set(0);
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
  PrepareColours();
}

Terminal::~Terminal() {
  curs_set(1);
  endwin();
  mFatalSignals.reset();
  delscreen(mScreen);
}

void Terminal::PrepareColours() {
  if (WantsNoColours() || !has_colors() || start_color() == ERR || use_default_colors() == ERR)
    return;
  init_pair(kGoodPair, COLOR_GREEN, kNoBackground);
  init_pair(kAlertPair, COLOR_RED, kNoBackground);
  init_pair(kLowPair, COLOR_YELLOW, kNoBackground);
  mHasColours = true;
}

ScreenSize Terminal::Size() const {
  return {static_cast<std::size_t>(std::max(COLS, 0)),
          static_cast<std::size_t>(std::max(LINES, 0))};
}

void Terminal::Show(const TextScreen& cells) {
  erase();
  for (std::size_t row = 0; row < cells.Rows(); ++row)
    for (std::size_t column = 0; column < cells.Columns(); ++column) {
      const TextCell& cell = cells.Row(row)[column];
      const InkLook& look = kLooks[static_cast<std::size_t>(cell.ink)];
      const wchar_t text[] = {static_cast<wchar_t>(cell.glyph), L'\0'};
      cchar_t character;
      setcchar(&character, text, look.attributes, mHasColours ? look.pair : kPlainPair, nullptr);
      mvadd_wch(static_cast<int>(row), static_cast<int>(column), &character);
    }
  refresh();
}

int Terminal::ReadKey() {
  switch (const int key = getch()) {
    case ERR:
      return 0;
    case KEY_UP:
      return kKeyUp;
    case KEY_DOWN:
      return kKeyDown;
    default:
      return key;
  }
}

}  // namespace louddesk
