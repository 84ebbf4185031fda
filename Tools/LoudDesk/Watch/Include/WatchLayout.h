// The live meter as a picture of text cells: what stands where in a window of any size. Stateless.

#pragma once

#include <string>

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

/// The smallest window that the meter fits into, with its state, its bars and nothing else.
constexpr ScreenSize kSmallestWindow = {40, 3};

/// The meter at `now`. A small window shows the parts that matter most; one that is smaller than
/// the smallest says what it needs.
TextScreen ComposeWatch(const WatchModel& model, const WatchLook& look, ScreenSize size,
                        WatchModel::Time now);

}  // namespace louddesk
