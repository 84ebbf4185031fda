// A terminal's window as text cells, put together without any terminal.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace louddesk {

/// How a cell is written; what it means is always in the text too.
enum class Ink {
  kPlain,
  kStrong,     // figures and names
  kFaint,      // scales and what is only there to guide the eye
  kGood,       // within the limits
  kLow,        // below a limit
  kAlert,      // above a limit, or a service that does not answer
  kBadge,      // the state of a service that answers
  kAlertBadge  // the state of one that does not
};

struct TextCell {
  char32_t glyph = U' ';
  Ink ink = Ink::kPlain;
};

struct ScreenSize {
  std::size_t columns;
  std::size_t rows;
};

class TextScreen {
 public:
  /// Blank cells.
  explicit TextScreen(ScreenSize size);

  std::size_t Columns() const { return mColumns; }
  std::size_t Rows() const { return mRows.size(); }
  const std::vector<TextCell>& Row(std::size_t row) const { return mRows[row]; }

  /// Writes one cell; outside the screen nothing.
  void Put(std::size_t row, std::size_t column, char32_t glyph, Ink ink);

  /// Writes text from `column` on, one cell a character; bytes that are not printable ASCII become
  /// '?'. What does not fit is cut.
  void Write(std::size_t row, std::size_t column, const std::string& text, Ink ink);

  /// Writes text that ends just before `column`; what does not fit is cut at its beginning.
  void WriteRight(std::size_t row, std::size_t column, const std::string& text, Ink ink);

  /// The row as UTF-8 without the blanks at its end.
  std::string Text(std::size_t row) const;

 private:
  std::size_t mColumns;
  std::vector<std::vector<TextCell>> mRows;
};

}  // namespace louddesk
