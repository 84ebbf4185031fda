// The coded results of one meter set, as the engine leaves them and the publisher sends them.

#pragma once

#include <cstdint>

/// Loudness fields in tenths of LKFS (`Lra` in tenths of LU), true-peak fields in hundredths of dBTP.
struct LoudnessData_t {
  std::int16_t MaxMomentary;  // highest momentary loudness since the last reset, 0.1 LKFS
  std::int16_t Momentary;     // loudness of the last 400 ms, 0.1 LKFS
  std::int16_t ShortTerm;     // loudness of the last 3 s, 0.1 LKFS
  std::int16_t Integrated;    // gated loudness of the user's window, 0.1 LKFS
  std::int16_t Lra;           // loudness range, 0.1 LU
  std::int16_t Program;       // gated loudness of the last two hours, 0.1 LKFS
  std::int16_t MaxTruePeak;   // highest true peak since the last reset, 0.01 dBTP
  std::int16_t TruePeak;      // true peak of the last block, 0.01 dBTP
};

/// Code of a loudness field without a reading.
constexpr std::int16_t kNoLoudnessCode = -990;

/// Code of a true-peak field without a signal.
constexpr std::int16_t kNoTruePeakCode = -9900;
