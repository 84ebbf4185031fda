// Layout of the live meter: its parts from top to bottom, and their priorities for rows.

#include "WatchLayout.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "WatchKeys.h"

namespace louddesk {
namespace {

// Rows for a part. Shares are granted in order, as long as they fit.
struct Share {
  WatchPart part;
  std::size_t rows;
};

// Figures have two entries, because their second half needs its own rows in a narrow window. Notes
// have two, because a restart has three answers.
constexpr Share kShares[] = {
    {WatchPart::kHeader, 1},       {WatchPart::kLoudnessBars, 2}, {WatchPart::kFigures, 3},
    {WatchPart::kPeakBar, 1},      {WatchPart::kStatus, 1},       {WatchPart::kLoudnessScale, 1},
    {WatchPart::kFigures, 3},      {WatchPart::kFiguresRule, 1},  {WatchPart::kNotes, 2},
    {WatchPart::kHistory, 4},      {WatchPart::kRangeBar, 1},     {WatchPart::kPeakScale, 1},
    {WatchPart::kNotes, 2},        {WatchPart::kFooter, 1},       {WatchPart::kGapAboveBars, 1},
    {WatchPart::kGapAbovePeak, 1},
};

// Receive the remaining rows in turn.
constexpr Share kGrowth[] = {{WatchPart::kHistory, 3}, {WatchPart::kNotes, 1}};

constexpr std::size_t kMostNotes = 12;  // including their rule

// Number of rows of each part, from top to bottom.
using Heights = std::map<WatchPart, std::size_t>;

std::size_t MostRows(WatchPart part, std::size_t columns) {
  if (part == WatchPart::kFigures)
    return FigureRows(columns);
  return part == WatchPart::kNotes ? kMostNotes : std::numeric_limits<std::size_t>::max();
}

Heights GiveRows(ScreenSize size) {
  Heights heights;
  std::size_t left = size.rows;
  const auto give = [&](WatchPart part, std::size_t rows) {
    heights[part] += rows;
    left -= rows;
  };
  for (const Share& share : kShares)
    if (share.rows <= left &&
        heights[share.part] + share.rows <= MostRows(share.part, size.columns))
      give(share.part, share.rows);
  for (std::size_t before = left + 1; left < before;) {
    before = left;
    for (const Share& share : kGrowth)
      if (heights[share.part] > 0)
        give(share.part, std::min({share.rows, left,
                                   MostRows(share.part, size.columns) - heights[share.part]}));
  }
  return heights;
}

TextScreen TooSmall(ScreenSize size) {
  TextScreen screen(size);
  const std::string text = "needs " + std::to_string(kSmallestWindow.columns) + "x" +
                           std::to_string(kSmallestWindow.rows);
  screen.Write(0, 0, text, Ink::kStrong);
  return screen;
}

// Draws the help in the middle of the window, with a blank margin.
void DrawHelp(TextScreen& screen, const std::vector<std::string>& lines) {
  constexpr std::size_t kWidth = 48;
  const std::size_t rows = lines.size() + 2;
  const std::size_t top = (screen.Rows() - std::min(screen.Rows(), rows)) / 2;
  const std::size_t left = (screen.Columns() - std::min(screen.Columns(), kWidth)) / 2;
  for (std::size_t i = 0; i < rows; ++i) {
    screen.Write(top + i, left, std::string(kWidth, ' '), Ink::kBadge);
    if (i > 0 && i <= lines.size())
      screen.Write(top + i, left + 2, lines[i - 1], Ink::kBadge);
  }
}

}  // namespace

TextScreen ComposeWatch(const WatchModel& model, const WatchLook& look, ScreenSize size,
                        WatchModel::Time now) {
  if (size.columns < kSmallestWindow.columns || size.rows < kSmallestWindow.rows)
    return TooSmall(size);
  TextScreen screen(size);
  const WatchLimits limits = LimitsOf(look, model);
  const PartView view{model, look, limits, now, screen};
  std::size_t row = 0;
  for (const auto& [part, count] : GiveRows(size)) {
    if (count > 0)
      DrawPart(part, view, {row, count});
    row += count;
  }
  if (look.showsHelp)
    DrawHelp(screen, HelpLines(look.isControlling));
  return screen;
}

}  // namespace louddesk
