// What a signal handler writes to the terminal is put together beforehand: only bytes and modes are
// left to be sent.

#include "TerminalRestorer.h"

#include <curses.h>
#include <term.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstddef>

namespace louddesk {
namespace {

termios gShellMode;                      // written by ShellMode
std::array<char, 256> gRestoreSequence;  // written before the handlers are installed
std::size_t gRestoreSequenceSize = 0;

int AppendToSequence(int byte) {
  if (gRestoreSequenceSize < gRestoreSequence.size())
    gRestoreSequence[gRestoreSequenceSize++] = static_cast<char>(byte);
  return byte;
}

// False when the terminal has no such capability.
bool AppendCapability(const char* name) {
  const char* const sequence = tigetstr(name);
  if (sequence == nullptr || sequence == reinterpret_cast<const char*>(-1))
    return false;
  tputs(sequence, 1, AppendToSequence);
  return true;
}

// Plain characters and colours, plain keys, the cursor, and the picture of before or none.
void PrepareRestoreSequence() {
  gRestoreSequenceSize = 0;
  for (const char* name : {"sgr0", "op", "rmkx", "cnorm"})
    AppendCapability(name);
  if (!AppendCapability("rmcup"))
    AppendCapability("clear");
}

// In the background the terminal is somebody else's; ncurses has given it back when it was stopped.
void GiveBack() {
  if (tcgetpgrp(STDOUT_FILENO) != getpgrp())
    return;
  if (write(STDOUT_FILENO, gRestoreSequence.data(), gRestoreSequenceSize) >= 0)
    tcsetattr(STDOUT_FILENO, TCSANOW, &gShellMode);
}

FatalSignals Guarded() {
  PrepareRestoreSequence();
  return FatalSignals(GiveBack);
}

}  // namespace

ShellMode::ShellMode() {
  tcgetattr(STDOUT_FILENO, &gShellMode);
}

TerminalRestorer::TerminalRestorer(const ShellMode&) : mFatalSignals(Guarded()) {}

}  // namespace louddesk
