// The contents of a terminal window as text cells, independent of any terminal.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace louddesk {

/// How a cell is drawn. Its meaning is always in the text as well.
enum class Ink {
  kPlain,
  kStrong,     // figures and names
  kFaint,      // scales and guide lines
  kGood,       // within the limits
  kLow,        // below a limit
  kAlert,      // above a limit, or a service that does not respond
  kBadge,      // the state of a service that responds
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
  /// A screen of blank cells.
  explicit TextScreen(ScreenSize size);

  std::size_t Columns() const { return mColumns; }
  std::size_t Rows() const { return mRows.size(); }
  const std::vector<TextCell>& Row(std::size_t row) const { return mRows[row]; }

  /// Writes one cell. Does nothing outside the screen.
  void Put(std::size_t row, std::size_t column, char32_t glyph, Ink ink);

  /// Writes text from `column` on, one cell per character. Bytes that are not printable ASCII
  /// become '?'. Text beyond the right edge is cut off.
  void Write(std::size_t row, std::size_t column, const std::string& text, Ink ink);

  /// Writes text that ends just before `column`. Text that does not fit is cut at its start.
  void WriteRight(std::size_t row, std::size_t column, const std::string& text, Ink ink);

  /// The row as UTF-8 without trailing blanks.
  std::string Text(std::size_t row) const;

 private:
  std::size_t mColumns;
  std::vector<std::vector<TextCell>> mRows;
};

}  // namespace louddesk
