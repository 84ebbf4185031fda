// Layout of the live meter. The parts are a table from top to bottom; each gets its rows by rank.

#include "WatchLayout.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace louddesk {

namespace {

void DrawNothing(const PartView&, RowSpan) {}

// A part of the window. Parts get their least rows in the order of rank, as far as they fit; what
// is left goes to those that can use more.
struct Part {
  void (*draw)(const PartView& view, RowSpan rows);
  unsigned rank;      // 1 comes first
  std::size_t least;  // rows
  std::size_t most;   // rows
  unsigned growth;    // rows in a round of growing
};

constexpr std::size_t kAnyRows = 1000;

constexpr Part kParts[] = {
    {DrawHeader, 1, 1, 1, 0},         //
    {DrawStatus, 5, 1, 1, 0},         //
    {DrawNothing, 12, 1, 1, 0},       //
    {DrawLoudnessScale, 6, 1, 1, 0},  //
    {DrawLoudnessBars, 2, 2, 2, 0},   //
    {DrawNothing, 13, 1, 1, 0},       //
    {DrawPeakBar, 4, 1, 1, 0},        //
    {DrawPeakScale, 10, 1, 1, 0},     //
    {DrawFiguresRule, 9, 1, 1, 0},    //
    {DrawFigures, 3, 3, 3, 0},        //
    {DrawHistoryPart, 8, 4, kAnyRows, 3},
    {DrawNotes, 7, 2, 12, 1},
    {DrawFooter, 11, 1, 1, 0},
};

using Heights = std::array<std::size_t, std::size(kParts)>;

std::size_t GiveLeastRows(Heights& heights, std::size_t rows) {
  for (unsigned rank = 1; rank <= std::size(kParts); ++rank)
    for (std::size_t i = 0; i < std::size(kParts); ++i)
      if (kParts[i].rank == rank && kParts[i].least <= rows) {
        heights[i] = kParts[i].least;
        rows -= kParts[i].least;
      }
  return rows;
}

void Grow(Heights& heights, std::size_t rows) {
  for (std::size_t before = rows + 1; rows > 0 && rows < before;) {
    before = rows;
    for (std::size_t i = 0; i < std::size(kParts); ++i) {
      if (heights[i] == 0)
        continue;
      const std::size_t more =
          std::min({std::size_t{kParts[i].growth}, kParts[i].most - heights[i], rows});
      heights[i] += more;
      rows -= more;
    }
  }
}

TextScreen TooSmall(ScreenSize size) {
  TextScreen screen(size);
  const std::string text = "needs " + std::to_string(kSmallestWindow.columns) + "x" +
                           std::to_string(kSmallestWindow.rows);
  screen.Write(0, 0, text, Ink::kStrong);
  return screen;
}

}  // namespace

TextScreen ComposeWatch(const WatchModel& model, const WatchLook& look, ScreenSize size,
                        WatchModel::Time now) {
  if (size.columns < kSmallestWindow.columns || size.rows < kSmallestWindow.rows)
    return TooSmall(size);
  TextScreen screen(size);
  const PartView view{model, look, now, screen};
  Heights heights{};
  Grow(heights, GiveLeastRows(heights, size.rows));
  std::size_t row = 0;
  for (std::size_t i = 0; i < std::size(kParts); ++i) {
    if (heights[i] > 0)
      kParts[i].draw(view, {row, heights[i]});
    row += heights[i];
  }
  return screen;
}

}  // namespace louddesk
