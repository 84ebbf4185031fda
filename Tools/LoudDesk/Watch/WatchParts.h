// The parts of the live meter as pictures of text cells: what each shows in its rows. Stateless.

#pragma once

#include <cstddef>

#include "MeterGraphics.h"
#include "TextScreen.h"
#include "WatchModel.h"

namespace louddesk {

/// Scales of the loudness bars, EBU Tech 3341, section 2.7: -18 to +9 LU and -36 to +18 LU.
enum class LoudnessScale { kPlus9, kPlus18 };

/// What the user chose.
struct WatchLook {
  unsigned meterSet = 1;
  unsigned cluster = 1;
  double target = -23.0;  // LKFS, 0 LU on the scale
  LoudnessScale scale = LoudnessScale::kPlus9;
  Glyphs glyphs = Glyphs::kBlocks;
};

/// What a part is drawn from, and where to.
struct PartView {
  const WatchModel& model;
  const WatchLook& look;
  WatchModel::Time now;
  TextScreen& screen;
};

/// Neighbouring rows of the window.
struct RowSpan {
  std::size_t first;
  std::size_t count;
};

/// The name of the meter, and the state of the service: one row.
void DrawHeader(const PartView& view, RowSpan rows);

/// What to think of that state, and the age of the last message: one row.
void DrawStatus(const PartView& view, RowSpan rows);

/// The numbers over the loudness bars: one row.
void DrawLoudnessScale(const PartView& view, RowSpan rows);

/// Momentary and short-term loudness: two rows.
void DrawLoudnessBars(const PartView& view, RowSpan rows);

/// The true peak, with the highest of the last seconds: one row.
void DrawPeakBar(const PartView& view, RowSpan rows);

/// The numbers under that bar: one row.
void DrawPeakScale(const PartView& view, RowSpan rows);

/// A line that says since when the figures count: one row.
void DrawFiguresRule(const PartView& view, RowSpan rows);

/// The rows that all figures need in a window of so many columns.
std::size_t FigureRows(std::size_t columns);

/// As many figures as there is room for, the most important ones first.
void DrawFigures(const PartView& view, RowSpan rows);

/// The short-term loudness of the last minutes: two rows or more.
void DrawHistoryPart(const PartView& view, RowSpan rows);

/// The last acknowledgements: two rows or more.
void DrawNotes(const PartView& view, RowSpan rows);

/// How to end, and the scale: one row.
void DrawFooter(const PartView& view, RowSpan rows);

}  // namespace louddesk
