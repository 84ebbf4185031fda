// Bars, scales and curves of text cells. Stateless.

#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>

#include "TextScreen.h"

namespace louddesk {

/// What a terminal can show: blocks in eighths of a cell, or ASCII.
enum class Glyphs { kBlocks, kAscii };

/// A run of cells in a row.
struct CellRun {
  std::size_t row;
  std::size_t column;
  std::size_t width;
};

/// Values along a bar or up a curve, from its beginning to its end.
struct ValueRange {
  double low;
  double high;
  double alertAbove;  // values above it are in the ink of an alert
  double lowBelow = -std::numeric_limits<double>::infinity();  // those below it in that of low ones
};

/// Column of the run's cell that `value` falls into; the ends stand for what lies beyond.
std::size_t CellOf(const CellRun& run, const ValueRange& range, double value);

/// A bar from the low end up to `value`; without a value an empty one. `mark` is a single cell that
/// stands out where it lies beyond the bar. Where either lies above the high end, the last cell is
/// '>'.
void DrawBar(TextScreen& screen, const CellRun& run, const ValueRange& range,
             std::optional<double> value, std::optional<double> mark, Glyphs glyphs);

/// Numbers at every `step` from the low end on, each centred on its place in a bar, as far as they
/// do not touch one another.
void DrawScale(TextScreen& screen, const CellRun& run, const ValueRange& range, double step,
               bool withPlus);

/// A place of several rows for a curve.
struct CellArea {
  std::size_t row;
  std::size_t column;
  std::size_t width;
  std::size_t rows;
};

/// A column a value, the last value at the right end, with a line at the value `guide`. Even the
/// lowest value shows; no value leaves a gap.
void DrawHistory(TextScreen& screen, const CellArea& area, const ValueRange& range, double guide,
                 const std::deque<std::optional<double>>& values, Glyphs glyphs);

/// Row of the area, counted from its top, that `value` falls into.
std::size_t RowOf(const CellArea& area, const ValueRange& range, double value);

}  // namespace louddesk
