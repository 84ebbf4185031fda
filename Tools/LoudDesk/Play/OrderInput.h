// The user's orders as they come in: keys of a terminal, lines of anything else. Never waits.

#pragma once

#include <optional>
#include <string>

#include "KeyMode.h"
#include "Orders.h"

namespace louddesk {

/// What the user has typed.
struct TypedOrder {
  std::string text;              // a line, or a key; what cannot be printed in it is '?'
  const Order* order = nullptr;  // what it means; null: nothing
};

class OrderInput {
 public:
  /// Reads an open descriptor, which stays the caller's. A terminal is taken as KeyMode does,
  /// as soon as this process is in the foreground.
  explicit OrderInput(int descriptor);

  /// Whether the user can press keys now.
  bool HasKeys();

  /// The next order or what should be one; nothing while there is none, and for good when the input
  /// has ended. Empty lines, blanks and keys without a character do not count.
  std::optional<TypedOrder> Next();

 private:
  bool IsReadable() const;
  void Read();
  std::optional<TypedOrder> NextKey();
  std::optional<TypedOrder> NextLine();

  int mDescriptor;
  std::optional<KeyMode> mKeyMode;  // of a terminal
  bool mIsOpen = true;
  std::string mPending;  // read and not yet taken
};

}  // namespace louddesk
