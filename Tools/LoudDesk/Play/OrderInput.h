// The user's orders as they come in, a line each. Never waits.

#pragma once

#include <optional>
#include <string>

#include "Orders.h"

namespace louddesk {

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
