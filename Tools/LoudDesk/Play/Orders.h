// What the user can tell a service while something is played to it: a word or its letter, on a line
// of its own. Stateless.

#pragma once

#include <string>

namespace louddesk {

enum class OrderKind {
  kCommand,       // a loudness command of the protocol
  kReportingOn,   // loudness data and acknowledgements
  kReportingOff,  // neither
  kHelp,          // what orders there are
  kQuit,          // the end of the play
};

struct Order {
  OrderKind kind;
  const char* word;
  char letter;
  const char* command = "";  // of a command: as the protocol calls it
};

/// The order that a line means, case and blanks around it aside; null for any other line.
const Order* OrderOf(const std::string& line);

/// All words with their letters, "start (s), pause (p), ... and quit (q)".
std::string OrderWords();

}  // namespace louddesk
