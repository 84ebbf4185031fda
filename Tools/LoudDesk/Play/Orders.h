// What the user can tell a service while something is played to it, as it comes in: a word or its
// letter, on a line of its own.

#pragma once

#include <optional>
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

/// What the user has typed.
struct TypedOrder {
  std::string text;              // the line; what cannot be printed in it is '?'
  const Order* order = nullptr;  // what it means; null: nothing
};

class OrderInput {
 public:
  /// Reads an open descriptor, which stays the caller's. A terminal is read only while this process
  /// is in its foreground: in the background the lines are the shell's.
  explicit OrderInput(int descriptor) : mDescriptor(descriptor) {}

  /// Whether the user can type orders into a terminal now.
  bool IsTyped() const;

  /// The next line; nothing while there is none, and for good when the input has ended. Blank lines
  /// do not count.
  std::optional<TypedOrder> Next();

 private:
  bool IsReadable() const;
  void Read();

  int mDescriptor;
  bool mIsOpen = true;
  std::string mPending;  // read and not yet taken
};

}  // namespace louddesk
