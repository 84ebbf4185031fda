// Signal handlers that write one prepared text. A handler may call little more than write and
// raise.

#include "InterruptedLine.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace louddesk {
namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

constexpr std::size_t kMostColumns = 500;

int gTerminal = -1;
std::array<char, kMostColumns + 2> gEmptyLine{};
std::size_t gEmptyLineSize = 0;
std::array<struct sigaction, kSignals.size()> gEarlierActions{};

// The action is the default again by now, and the signal comes as soon as the handler returns.
void EmptyLineAndEnd(int signalNumber) {
  const ssize_t written = write(gTerminal, gEmptyLine.data(), gEmptyLineSize);
  static_cast<void>(written);
  raise(signalNumber);
}

// A terminal may move to the next line after its last column, so that one stays free.
void PrepareEmptyLine(std::size_t columns) {
  const std::size_t spaces = std::min(columns > 0 ? columns - 1 : 0, kMostColumns);
  gEmptyLine.fill(' ');
  gEmptyLine[0] = '\r';
  gEmptyLine[spaces + 1] = '\r';
  gEmptyLineSize = spaces + 2;
}

}  // namespace

InterruptedLine::InterruptedLine(int terminalDescriptor, std::size_t columns) {
  gTerminal = terminalDescriptor;
  PrepareEmptyLine(columns);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &gEarlierActions[i]);
    if (gEarlierActions[i].sa_handler == SIG_IGN)
      continue;
    struct sigaction action = {};
    action.sa_handler = EmptyLineAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(kSignals[i], &action, nullptr);
  }
}

InterruptedLine::~InterruptedLine() {
  for (std::size_t i = 0; i < kSignals.size(); ++i)
    sigaction(kSignals[i], &gEarlierActions[i], nullptr);
}

}  // namespace louddesk
