// Bars, scales and curves.

#include "MeterGraphics.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace louddesk {
namespace {

constexpr unsigned kEighths = 8;

constexpr char32_t kFullBlock = U'\u2588';
constexpr char32_t kNoBlock = U'\u2590';      // minus n: left block of n eighths
constexpr char32_t kLowestBlock = U'\u2580';  // plus n: lower block of n eighths
constexpr char32_t kMark = U'\u2503';         // heavy vertical line
constexpr char32_t kGuideLine = U'\u2508';    // dotted line
constexpr char32_t kEmptyCell = U'\u00B7';    // middle dot

// Relative position of `value` in the range, 0 to 1.
double Fraction(const ValueRange& range, double value) {
  return std::clamp((value - range.low) / (range.high - range.low), 0.0, 1.0);
}

// Number of filled eighths in a bar of `cells` cells.
unsigned long EighthsOf(std::size_t cells, const ValueRange& range, double value) {
  const double all = static_cast<double>(cells * kEighths);
  return static_cast<unsigned long>(std::lround(Fraction(range, value) * all));
}

// Number of filled eighths in cell `index` when the whole bar has `eighths`.
unsigned FillOfCell(unsigned long eighths, std::size_t index) {
  const unsigned long before = static_cast<unsigned long>(index) * kEighths;
  return static_cast<unsigned>(std::clamp(eighths, before, before + kEighths) - before);
}

char32_t BarGlyph(unsigned fill, Glyphs glyphs) {
  if (glyphs == Glyphs::kAscii)
    return fill >= kEighths / 2 ? U'#' : U'.';
  if (fill == 0)
    return kEmptyCell;
  return fill == kEighths ? kFullBlock : kNoBlock - fill;
}

char32_t CurveGlyph(unsigned fill, Glyphs glyphs) {
  if (glyphs == Glyphs::kAscii)
    return fill >= kEighths / 2 ? U'#' : U' ';
  return fill == 0 ? U' ' : kLowestBlock + fill;
}

// The value at the start of cell `index` out of `cells`.
double ValueAt(std::size_t index, std::size_t cells, const ValueRange& range) {
  return range.low +
         (range.high - range.low) * static_cast<double>(index) / static_cast<double>(cells);
}

Ink InkAt(std::size_t index, std::size_t cells, const ValueRange& range) {
  const double value = ValueAt(index, cells, range);
  if (value >= range.alertAbove)
    return Ink::kAlert;
  return value < range.lowBelow ? Ink::kLow : Ink::kGood;
}

void DrawMark(TextScreen& screen, const CellRun& run, const ValueRange& range,
              unsigned long eighths, double mark, Glyphs glyphs) {
  const std::size_t cell = CellOf(run, range, mark);
  if (FillOfCell(eighths, cell - run.column) == 0)
    screen.Put(run.row, cell, glyphs == Glyphs::kAscii ? U'|' : kMark,
               mark > range.alertAbove ? Ink::kAlert : Ink::kStrong);
}

}  // namespace

std::size_t CellOf(const CellRun& run, const ValueRange& range, double value) {
  const double cells = static_cast<double>(run.width);
  const auto index = static_cast<std::size_t>(Fraction(range, value) * cells);
  return run.column + std::min(index, run.width - 1);
}

void DrawBar(TextScreen& screen, const CellRun& run, const ValueRange& range,
             std::optional<double> value, std::optional<double> mark, Glyphs glyphs) {
  const unsigned long eighths = value ? EighthsOf(run.width, range, *value) : 0;
  for (std::size_t i = 0; i < run.width; ++i) {
    const unsigned fill = FillOfCell(eighths, i);
    screen.Put(run.row, run.column + i, BarGlyph(fill, glyphs),
               fill == 0 ? Ink::kFaint : InkAt(i, run.width, range));
  }
  if (mark)
    DrawMark(screen, run, range, eighths, *mark, glyphs);
  if (std::max(value.value_or(range.low), mark.value_or(range.low)) > range.high)
    screen.Put(run.row, run.column + run.width - 1, U'>', Ink::kAlert);
}

void DrawScale(TextScreen& screen, const CellRun& run, const ValueRange& range, double step,
               bool withPlus) {
  std::size_t free = 0;  // first column available for a number
  for (double value = range.low; value <= range.high; value += step) {
    const std::string number = fmt::format(withPlus && value > 0 ? "{:+.0f}" : "{:.0f}", value);
    const std::size_t centre = CellOf(run, range, value);
    const std::size_t begin = centre - std::min(centre, number.size() / 2);
    if (begin < free || begin + number.size() > run.column + run.width + 1)
      continue;
    screen.Write(run.row, begin, number, Ink::kFaint);
    free = begin + number.size() + 1;
  }
}

void DrawHistory(TextScreen& screen, const CellArea& area, const ValueRange& range, double guide,
                 const std::deque<std::optional<double>>& values, Glyphs glyphs) {
  const std::size_t guideRow = RowOf(area, range, guide);
  for (std::size_t i = 0; i < area.width; ++i)
    screen.Put(area.row + guideRow, area.column + i, glyphs == Glyphs::kAscii ? U'-' : kGuideLine,
               Ink::kFaint);
  const std::size_t count = std::min(values.size(), area.width);
  for (std::size_t i = 0; i < count; ++i) {
    const std::optional<double>& value = values[values.size() - 1 - i];
    if (!value)
      continue;
    const unsigned long eighths = std::max(EighthsOf(area.rows, range, *value), 1ul);
    for (std::size_t up = 0; up < area.rows && FillOfCell(eighths, up) > 0; ++up)
      screen.Put(area.row + area.rows - 1 - up, area.column + area.width - 1 - i,
                 CurveGlyph(FillOfCell(eighths, up), glyphs), InkAt(up, area.rows, range));
  }
}

std::size_t RowOf(const CellArea& area, const ValueRange& range, double value) {
  const double rows = static_cast<double>(area.rows);
  const auto up = static_cast<std::size_t>(Fraction(range, value) * rows);
  return area.rows - 1 - std::min(up, area.rows - 1);
}

}  // namespace louddesk
