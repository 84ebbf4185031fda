// Text cells of a window.

#include "TextScreen.h"

#include <utf8.h>

#include <algorithm>
#include <iterator>

namespace louddesk {
namespace {

char32_t AsciiOf(char c) {
  return c >= ' ' && c <= '~' ? static_cast<char32_t>(c) : U'?';
}

}  // namespace

TextScreen::TextScreen(ScreenSize size)
    : mColumns(size.columns), mRows(size.rows, std::vector<TextCell>(size.columns)) {}

void TextScreen::Put(std::size_t row, std::size_t column, char32_t glyph, Ink ink) {
  if (row < Rows() && column < mColumns)
    mRows[row][column] = TextCell{glyph, ink};
}

void TextScreen::Write(std::size_t row, std::size_t column, const std::string& text, Ink ink) {
  for (std::size_t i = 0; i < text.size(); ++i)
    Put(row, column + i, AsciiOf(text[i]), ink);
}

void TextScreen::WriteRight(std::size_t row, std::size_t column, const std::string& text, Ink ink) {
  const std::size_t cut = text.size() - std::min(text.size(), column);
  Write(row, column - (text.size() - cut), text.substr(cut), ink);
}

std::string TextScreen::Text(std::size_t row) const {
  std::string text;
  for (const TextCell& cell : mRows[row])
    utf8::append(cell.glyph, std::back_inserter(text));
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace louddesk
