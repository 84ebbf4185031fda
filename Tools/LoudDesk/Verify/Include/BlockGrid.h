// What a meter that works in blocks of 100 ms must read of a single burst of tone, derived from the
// blocks that the burst covers and from nothing of the meter. Stateless.

#pragma once

namespace louddesk {

/// A burst of constant level in silence.
struct Burst {
  int startMs;   // from the beginning of the measurement
  int lengthMs;  // above 0
};

/// How much the highest momentary loudness falls short of the level of the burst, in LU, 0 or less.
/// A momentary reading is the mean power of four blocks, so a burst of 400 ms that begins within a
/// block loses its share of that block at one of its ends: at best 10 log10(1 - d / 4) LU, where d
/// is the distance of its beginning from the nearest border of two blocks, in blocks.
double HighestMomentaryDeviation(const Burst& burst);

/// The same for the highest short-term loudness, which is the mean of the momentary readings of the
/// last 3 s, as far as there are any and they are not silent. A burst of 3 s fills 27 readings, or
/// 26 when it begins within a block; the others of the best thirty reach over its ends.
double HighestShortTermDeviation(const Burst& burst);

}  // namespace louddesk
