// Composes a block of labelled values and prints it on standard output in one piece, so that blocks
// never mix on the console.

#pragma once

#include <string>

class LabelledBlock {
 public:
  /// Appends the label and then the text.
  LabelledBlock& Add(const char* label, const std::string& value) {
    mText.append(label).append(value);
    return *this;
  }

  /// Appends the label and a number or enumeration in decimal, or a bool as 0 or 1.
  template <typename Number>
  LabelledBlock& Add(const char* label, Number value) {
    return Add(label, std::to_string(+value));
  }

  /// Appends the label alone.
  LabelledBlock& Add(const char* label) {
    mText.append(label);
    return *this;
  }

  /// Writes the block and a line feed to standard output and flushes it.
  void Print() const;

 private:
  std::string mText;  // text appended so far
};
