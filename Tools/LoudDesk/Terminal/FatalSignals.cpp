// Handlers of the signals that end a process. A signal handler can reach global state only.

#include "FatalSignals.h"

#include <csignal>
#include <iterator>

namespace louddesk {
namespace {

// Signals from the user (Ctrl-C, Ctrl-\), of a lost terminal or reader, and of faults in this
// program.
constexpr int kSignals[] = {SIGINT,  SIGTERM, SIGHUP, SIGQUIT, SIGPIPE,
                            SIGABRT, SIGSEGV, SIGBUS, SIGFPE,  SIGILL};

void (*gGiveBack)();                           // written while no handler is installed
struct sigaction gUsual[std::size(kSignals)];  // handlers from before the object was built

void EndBySignal(int signal) {
  gGiveBack();
  raise(signal);  // SA_RESETHAND has restored the default action
}

}  // namespace

FatalSignals::FatalSignals(void (*giveBack)()) {
  gGiveBack = giveBack;
  struct sigaction action {};
  action.sa_handler = EndBySignal;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &gUsual[i]);
    if (gUsual[i].sa_handler == SIG_DFL)
      sigaction(kSignals[i], &action, nullptr);
  }
}

FatalSignals::~FatalSignals() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i)
    sigaction(kSignals[i], &gUsual[i], nullptr);
}

}  // namespace louddesk
