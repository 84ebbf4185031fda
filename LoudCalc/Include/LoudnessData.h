// The coded results of one meter set, as the engine writes them and the publisher sends them.

#pragma once

#include <cstdint>

/// Code of a loudness field without a reading.
constexpr std::int16_t kNoLoudnessCode = -990;

/// Code of a true-peak field without a signal.
constexpr std::int16_t kNoTruePeakCode = -9900;

/// Loudness fields in tenths of LKFS (`Lra` in tenths of LU), true-peak fields in hundredths of
/// dBTP. A new record holds no readings.
struct LoudnessData_t {
  std::int16_t MaxMomentary =
      kNoLoudnessCode;  // highest momentary loudness since the last reset, 0.1 LKFS
  std::int16_t Momentary = kNoLoudnessCode;    // loudness of the last 400 ms, 0.1 LKFS
  std::int16_t ShortTerm = kNoLoudnessCode;    // loudness of the last 3 s, 0.1 LKFS
  std::int16_t Integrated = kNoLoudnessCode;   // gated loudness of the user's window, 0.1 LKFS
  std::int16_t Lra = 0;                        // loudness range, 0.1 LU
  std::int16_t Program = kNoLoudnessCode;      // gated loudness of the last two hours, 0.1 LKFS
  std::int16_t MaxTruePeak = kNoTruePeakCode;  // highest true peak since the last reset, 0.01 dBTP
  std::int16_t TruePeak = kNoTruePeakCode;     // true peak of the last block, 0.01 dBTP
};
