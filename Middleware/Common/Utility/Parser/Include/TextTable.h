// Converts texts of messages and documents to enumerations and back: ordered tables of text and
// value, searched from the top. The order of a table is part of its format. Stateless.

#pragma once

#include <cstddef>
#include <cstring>

/// One row of a table: a text of the wire format and the value that it stands for.
template <typename Value>
struct TextEntry {
  const char* text;  // never null
  Value value;
};

/// The value of the first row whose text occurs anywhere in `text` (case-sensitive). If one row's
/// text contains another's, the longer one must come first. `fallback` for a null text and for one
/// that contains none of the rows.
template <typename Value, std::size_t kRows>
Value FindBySubstring(const TextEntry<Value> (&table)[kRows], const char* text, Value fallback) {
  if (text == nullptr)
    return fallback;
  for (const TextEntry<Value>& row : table)
    if (std::strstr(text, row.text) != nullptr)
      return row.value;
  return fallback;
}

/// The value of the first row whose text equals `text` (case-sensitive). `fallback` for a null text
/// and for one that equals none of the rows.
template <typename Value, std::size_t kRows>
Value FindByEquality(const TextEntry<Value> (&table)[kRows], const char* text, Value fallback) {
  if (text == nullptr)
    return fallback;
  for (const TextEntry<Value>& row : table)
    if (std::strcmp(text, row.text) == 0)
      return row.value;
  return fallback;
}

/// The text of the first row with `value`, or `fallbackText` when no row has it. The table's texts
/// are literals, so the result stays valid for the life of the process.
template <typename Value, std::size_t kRows>
const char* FindText(const TextEntry<Value> (&table)[kRows], Value value,
                     const char* fallbackText) {
  for (const TextEntry<Value>& row : table)
    if (row.value == value)
      return row.text;
  return fallbackText;
}
