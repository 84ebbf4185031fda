// The orders that a user types while something is played: a word or its letter, one per line.

#pragma once

#include <optional>
#include <string>

namespace louddesk {

enum class OrderKind {
  kCommand,       // a loudness command of the protocol
  kReportingOn,   // switch on loudness data and acknowledgements
  kReportingOff,  // switch them off
  kHelp,          // list the orders
  kQuit,          // end playback
};

struct Order {
  OrderKind kind;
  const char* word;
  char letter;
  const char* command = "";  // name in the protocol, for kCommand
};

/// The order for a line; null if there is none. Ignores case and surrounding blanks.
const Order* OrderOf(const std::string& line);

/// All words with their letters: "start (s), pause (p), ... and quit (q)".
std::string OrderWords();

/// A line that the user has typed.
struct TypedOrder {
  std::string text;              // the line, with '?' for unprintable characters
  const Order* order = nullptr;  // null: not an order
};

class OrderInput {
 public:
  /// Reads an open descriptor, which the caller keeps. A terminal is read only while this process
  /// is in its foreground; otherwise the lines belong to the shell.
  explicit OrderInput(int descriptor) : mDescriptor(descriptor) {}

  /// Whether the user can type orders into a terminal now.
  bool IsTyped() const;

  /// The next line that is not blank; nothing if there is none, or if the input has ended.
  std::optional<TypedOrder> Next();

 private:
  bool IsReadable() const;
  void Read();

  int mDescriptor;
  bool mIsOpen = true;
  std::string mPending;  // read and not yet taken
};

}  // namespace louddesk
