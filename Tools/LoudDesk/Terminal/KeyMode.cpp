// The terminal's mode, which signal handlers give back too: what they use lives outside of the
// object, and every call in them is safe there.

#include "KeyMode.h"

#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <iterator>

namespace louddesk {

namespace {

int gTerminal = -1;                   // written by KeyMode's constructor
termios gBefore;                      // mode to give back, written by Take while nothing is taken
volatile std::sig_atomic_t gIsTaken;  // whether the terminal is in our mode

bool IsInForeground() {
  return tcgetpgrp(gTerminal) == getpgrp();
}

bool EnterKeyMode() {
  if (tcgetattr(gTerminal, &gBefore) != 0)
    return false;
  termios keys = gBefore;
  keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  keys.c_cc[VMIN] = 1;
  keys.c_cc[VTIME] = 0;
  return tcsetattr(gTerminal, TCSANOW, &keys) == 0;
}

void GiveBack() {
  if (gIsTaken == 0)
    return;
  gIsTaken = 0;
  if (IsInForeground())
    tcsetattr(gTerminal, TCSANOW, &gBefore);
}

// Ctrl-Z: stops as if there were no handler. The next `Take` is after the user has come back.
void StopBySignal(int signal) {
  const int error = errno;
  GiveBack();
  struct sigaction usual {};
  usual.sa_handler = SIG_DFL;
  struct sigaction ours {};
  sigaction(signal, &usual, &ours);
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, signal);
  sigset_t before;
  raise(signal);
  pthread_sigmask(SIG_UNBLOCK, &stop, &before);  // stopped here
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  sigaction(signal, &ours, nullptr);
  errno = error;
}

struct Handler {
  int signal;
  void (*function)(int);
  int flags;
};

// SIGINT and SIGTERM are the messaging library's: they end the play, and so the object's life.
const Handler kHandlers[] = {
    {SIGTSTP, StopBySignal, SA_RESTART},
    {SIGTTIN, SIG_IGN, 0},
};

struct sigaction gUsual[std::size(kHandlers)];  // what was there before the object

// A signal that is ignored stays so.
void Install() {
  for (std::size_t i = 0; i < std::size(kHandlers); ++i) {
    struct sigaction action {};
    action.sa_handler = kHandlers[i].function;
    action.sa_flags = kHandlers[i].flags;
    sigaction(kHandlers[i].signal, nullptr, &gUsual[i]);
    if (gUsual[i].sa_handler != SIG_IGN)
      sigaction(kHandlers[i].signal, &action, nullptr);
  }
}

void Uninstall() {
  for (std::size_t i = 0; i < std::size(kHandlers); ++i)
    sigaction(kHandlers[i].signal, &gUsual[i], nullptr);
}

}  // namespace

KeyMode::KeyMode(int terminal) : mFatalSignals(GiveBack) {
  gTerminal = terminal;
  Install();
}

KeyMode::~KeyMode() {
  GiveBack();
  Uninstall();
}

// No signal may come between the mode and the note of it.
bool KeyMode::Take() {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  const bool isInForeground = IsInForeground();
  if (isInForeground && gIsTaken == 0)
    gIsTaken = EnterKeyMode() ? 1 : 0;
  const bool isOurs = isInForeground && gIsTaken != 0;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return isOurs;
}

}  // namespace louddesk
