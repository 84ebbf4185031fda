// The parts of the live meter as pictures of text cells: what each shows in its rows. Stateless.

#pragma once

#include <cstddef>
#include <optional>

#include "MeterGraphics.h"
#include "TextScreen.h"
#include "WatchModel.h"

namespace louddesk {

/// What the user chose. Without a choice the configuration that the service republishes holds.
struct WatchLook {
  unsigned meterSet = 1;
  unsigned cluster = 1;
  std::optional<double> target;     // LKFS, 0 LU on the scale
  std::optional<int> scale;         // of the loudness bars: 9 or 18, LU
  std::optional<double> tolerance;  // either side of the target, LU
  bool isControlling = false;       // in the place of the application server
  bool isOneOfMany = false;         // opened from the overview of all clusters
  bool showsHelp = false;           // over the picture
  Glyphs glyphs = Glyphs::kBlocks;
};

/// The user's choice or, where there is none, what the service's configuration says.
WatchLimits LimitsOf(const WatchLook& look, const WatchModel& model);

/// What a part is drawn from, and where to.
struct PartView {
  const WatchModel& model;
  const WatchLook& look;
  const WatchLimits& limits;
  WatchModel::Time now;
  TextScreen& screen;
};

/// Neighbouring rows of the window.
struct RowSpan {
  std::size_t first;
  std::size_t count;
};

/// The parts of the window from top to bottom.
enum class WatchPart {
  kHeader,  // the name of the meter, and the state of the service: one row
  kStatus,  // what that state means, and the age of the last message: one row
  kGapAboveBars,
  kLoudnessScale,  // the numbers over the loudness bars: one row
  kLoudnessBars,   // momentary and short-term loudness: two rows
  kGapAbovePeak,
  kPeakBar,      // the true peak, with the highest of the last seconds: one row
  kPeakScale,    // the numbers under that bar: one row
  kRangeBar,     // the loudness range: one row
  kFiguresRule,  // since when the figures count: one row
  kFigures,      // as many figures as there is room for, the most important ones first
  kHistory,      // the short-term loudness of the last minutes: two rows or more
  kNotes,        // the last acknowledgements: two rows or more
  kFooter,       // how to end, and the scale: one row
};

void DrawPart(WatchPart part, const PartView& view, RowSpan rows);

/// The rows that all figures need in a window of so many columns.
std::size_t FigureRows(std::size_t columns);

}  // namespace louddesk
