// Draws the parts of the live meter into their rows of text cells. Stateless.

#pragma once

#include <cstddef>
#include <optional>

#include "MeterGraphics.h"
#include "TextScreen.h"
#include "WatchModel.h"

namespace louddesk {

/// The user's choices. Without a choice, the configuration that the service republishes applies.
struct WatchLook {
  unsigned meterSet = 1;
  unsigned cluster = 1;
  std::optional<double> target;     // 0 LU on the scale, LKFS
  std::optional<int> scale;         // of the loudness bars: 9 or 18, LU
  std::optional<double> tolerance;  // on either side of the target, LU
  bool isControlling = false;       // sends commands in place of the application server
  bool isOneOfMany = false;         // opened from the overview of all clusters
  bool showsHelp = false;           // on top of the picture
  Glyphs glyphs = Glyphs::kBlocks;
};

/// The user's choices, or the limits of the service's configuration.
WatchLimits LimitsOf(const WatchLook& look, const WatchModel& model);

/// The input of a part, and the screen to draw it on.
struct PartView {
  const WatchModel& model;
  const WatchLook& look;
  const WatchLimits& limits;
  WatchModel::Time now;
  TextScreen& screen;
};

/// Consecutive rows of the window.
struct RowSpan {
  std::size_t first;
  std::size_t count;
};

/// The parts of the window from top to bottom.
enum class WatchPart {
  kHeader,  // one row: name of the meter, state of the service
  kStatus,  // one row: explanation of the state, age of the last message
  kGapAboveBars,
  kLoudnessScale,  // one row: numbers above the loudness bars
  kLoudnessBars,   // two rows: momentary and short-term loudness
  kGapAbovePeak,
  kPeakBar,      // one row: true peak and held peak
  kPeakScale,    // one row: numbers below the peak bar
  kRangeBar,     // one row: loudness range
  kFiguresRule,  // one row: the windows of the figures
  kFigures,      // as many figures as fit, in order of importance
  kHistory,      // four or more rows: short-term loudness of the last minutes
  kNotes,        // two or more rows: last acknowledgements
  kFooter,       // one row: how to quit, and the scale
};

void DrawPart(WatchPart part, const PartView& view, RowSpan rows);

/// The number of rows that all figures need in a window of `columns` columns.
std::size_t FigureRows(std::size_t columns);

}  // namespace louddesk
