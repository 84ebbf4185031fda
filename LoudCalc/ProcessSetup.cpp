// Signals, environment and open files of the process. Main thread, before anything else runs.

#include "ProcessSetup.h"

#include <czmq.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr char kLibraryVariablePrefix[] = "ZSYS_";

constexpr int kEndingSignals[] = {SIGTERM, SIGINT};
constexpr int kStraySignals[] = {SIGHUP, SIGUSR1, SIGUSR2, SIGPIPE, SIGALRM, SIGXFSZ, SIGTTOU};

void Interrupt(int) {
  zsys_interrupted = 1;
}

}  // namespace

void EndOnTermination() {
  // The library's own handler does the same, but is installed only at the library's first use.
  zsys_handler_set(nullptr);
  struct sigaction action = {};
  action.sa_handler = Interrupt;
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : kEndingSignals) {
    sigaction(signal, &action, nullptr);
    sigaddset(&signals, signal);
  }
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

void IgnoreStraySignals() {
  for (const int signal : kStraySignals)
    std::signal(signal, SIG_IGN);
}

void ForgetLibraryEnvironment() {
  std::vector<std::string> names;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
    if (std::strncmp(*variable, kLibraryVariablePrefix, sizeof kLibraryVariablePrefix - 1) == 0)
      names.emplace_back(*variable, std::strcspn(*variable, "="));
  for (const std::string& name : names)
    unsetenv(name.c_str());
}

void AllowManyClients() {
  rlimit limit = {};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
    return;
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, kMostOpenFiles);
  setrlimit(RLIMIT_NOFILE, &limit);
}
