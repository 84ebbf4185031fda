// Layout of the live meter: the parts from top to bottom, and in which order they get their rows.

#include "WatchLayout.h"

#include <algorithm>
#include <array>
#include <limits>

namespace louddesk {
namespace {

void DrawNothing(const PartView&, RowSpan) {}

// The parts of the window from top to bottom.
enum PartPlace : std::size_t {
  kHeader,
  kStatus,
  kGapAboveBars,
  kLoudnessScale,
  kLoudnessBars,
  kGapAbovePeak,
  kPeakBar,
  kPeakScale,
  kFiguresRule,
  kFigures,
  kHistory,
  kNotes,
  kFooter,
  kPartCount
};

using Draw = void (*)(const PartView& view, RowSpan rows);

constexpr Draw kDraw[kPartCount] = {
    DrawHeader,         //
    DrawStatus,         //
    DrawNothing,        //
    DrawLoudnessScale,  //
    DrawLoudnessBars,   //
    DrawNothing,        //
    DrawPeakBar,        //
    DrawPeakScale,      //
    DrawFiguresRule,    //
    DrawFigures,        //
    DrawHistoryPart,    //
    DrawNotes,          //
    DrawFooter,         //
};

// Rows for a part. Shares are given in their order, as far as they fit.
struct Share {
  PartPlace part;
  std::size_t rows;
};

// Figures twice: the second half needs rows of its own where the window is narrow. Notes twice: a
// new start has three answers.
constexpr Share kShares[] = {
    {kHeader, 1},         //
    {kLoudnessBars, 2},   //
    {kFigures, 3},        //
    {kPeakBar, 1},        //
    {kStatus, 1},         //
    {kLoudnessScale, 1},  //
    {kFigures, 3},        //
    {kFiguresRule, 1},    //
    {kNotes, 2},          //
    {kHistory, 4},        //
    {kPeakScale, 1},      //
    {kNotes, 2},          //
    {kFooter, 1},         //
    {kGapAboveBars, 1},   //
    {kGapAbovePeak, 1},   //
};

// What is left goes to these, in rounds.
constexpr Share kGrowth[] = {{kHistory, 3}, {kNotes, 1}};

constexpr std::size_t kMostNotes = 12;  // with their rule

using Heights = std::array<std::size_t, kPartCount>;

std::size_t MostRows(PartPlace part, std::size_t columns) {
  if (part == kFigures)
    return FigureRows(columns);
  return part == kNotes ? kMostNotes : std::numeric_limits<std::size_t>::max();
}

Heights GiveRows(ScreenSize size) {
  Heights heights{};
  std::size_t left = size.rows;
  const auto give = [&](PartPlace part, std::size_t rows) {
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

}  // namespace

TextScreen ComposeWatch(const WatchModel& model, const WatchLook& look, ScreenSize size,
                        WatchModel::Time now) {
  if (size.columns < kSmallestWindow.columns || size.rows < kSmallestWindow.rows)
    return TooSmall(size);
  TextScreen screen(size);
  const PartView view{model, look, now, screen};
  const Heights heights = GiveRows(size);
  std::size_t row = 0;
  for (std::size_t part = 0; part < kPartCount; ++part) {
    if (heights[part] > 0)
      kDraw[part](view, {row, heights[part]});
    row += heights[part];
  }
  return screen;
}

}  // namespace louddesk
