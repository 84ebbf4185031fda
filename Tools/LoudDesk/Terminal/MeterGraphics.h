// Draws bars, scales and curves in text cells. Stateless.

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>

#include "TextScreen.h"

namespace louddesk {

/// What a terminal can display: block characters in eighths of a cell, or ASCII only.
enum class Glyphs { kBlocks, kAscii };

/// Consecutive cells of one row.
struct CellRun {
  std::size_t row;
  std::size_t column;
  std::size_t width;
};

/// The values that a bar or a curve covers, and the limits that colour it.
struct ValueRange {
  double low;
  double high;
  double alertAbove;                                           // higher values have Ink::kAlert
  double lowBelow = -std::numeric_limits<double>::infinity();  // lower ones have Ink::kLow
};

/// Column of the cell that shows `value`. Values out of range fall into the first or last cell.
std::size_t CellOf(const CellRun& run, const ValueRange& range, double value);

/// Draws a bar from the low end up to `value`, or an empty bar without a value. `mark` is a single
/// cell, drawn only beyond the end of the bar. If either value exceeds the range, the last cell is
/// '>'.
void DrawBar(TextScreen& screen, const CellRun& run, const ValueRange& range,
             std::optional<double> value, std::optional<double> mark, Glyphs glyphs);

/// Writes a number at every `step` from the low end on, centred on its position in a bar. Numbers
/// that would touch another one are left out.
void DrawScale(TextScreen& screen, const CellRun& run, const ValueRange& range, double step,
               bool withPlus);

/// A rectangle of cells for a curve.
struct CellArea {
  std::size_t row;
  std::size_t column;
  std::size_t width;
  std::size_t rows;
};

/// Draws one column for each value, the last one at the right edge, and a line at the value
/// `guide`. Even the lowest value fills part of a cell; a missing value leaves a gap.
void DrawHistory(TextScreen& screen, const CellArea& area, const ValueRange& range, double guide,
                 const std::deque<std::optional<double>>& values, Glyphs glyphs);

/// Row of the area, counted from its top, that shows `value`.
std::size_t RowOf(const CellArea& area, const ValueRange& range, double value);

}  // namespace louddesk
