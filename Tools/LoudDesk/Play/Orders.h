// What the user can tell a service while something is played to it: a word on a line of its own, or
// a key. Stateless.

#pragma once

#include <string>

namespace louddesk {

enum class OrderKind {
  kCommand,       // a loudness command of the protocol
  kReportingOn,   // loudness data and acknowledgements
  kReportingOff,  // neither
  kHelp,          // what keys or words there are
  kQuit,          // the end of the play
};

struct Order {
  OrderKind kind;
  const char* word;
  char key;
  const char* command = "";  // of a command: as the protocol calls it
};

/// The order that a line means, case and blanks around it aside; null for any other line.
const Order* OrderOfWord(const std::string& line);

/// The order that a key means; null for any other key.
const Order* OrderOfKey(char key);

/// All words, "start, pause, ... and quit".
std::string OrderWords();

/// All keys with their words, in two lines of less than 80 characters.
std::string OrderKeys();

/// One line that says that a word or a key is no order, and names those that are.
std::string UnknownWord(const std::string& word);
std::string UnknownKey(const std::string& key);

}  // namespace louddesk
