// The figures of a programme and of its channels.

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace louddesk {

/// The figures of a programme; nothing where there is no reading. Scales have an end, at which a
/// figure means that much or more: 6.02 dBTP for true peaks, +10 LKFS for the readings that
/// integrated and short-term loudness are made from, `LargestBlockPower` for momentary ones. Times
/// are those since the beginning at which what was read ends.
struct Figures {
  double seconds = 0.0;                // length of the programme, s
  std::optional<double> integrated;    // gated loudness, LKFS
  std::optional<double> lra;           // loudness range, LU
  std::optional<double> maxMomentary;  // highest loudness of 400 ms, LKFS
  std::optional<double> maxShortTerm;  // highest loudness of 3 s, LKFS
  std::optional<double> maxTruePeak;   // dBTP
  std::optional<double> momentary;     // loudness of the last 400 ms, LKFS
  std::optional<double> shortTerm;     // loudness of the last 3 s, LKFS
  std::optional<double> truePeak;      // of the last block, dBTP
  double maxMomentaryAt = 0.0;         // when it was first reached, s; 0 where there is none
  double maxShortTermAt = 0.0;         // s
  double maxTruePeakAt = 0.0;          // s
  bool isPeakAtLeast = false;          // maxTruePeak is the end of its scale
  bool isMomentaryAtLeast = false;     // maxMomentary is made from powers at the end of theirs
  bool isLoudnessAtLeast = false;      // integrated and maxShortTerm are made from readings beyond
                                       // the end of theirs; lra is missing for the same reason
};

/// The peaks of one channel of a programme.
struct ChannelFigures {
  std::size_t channel = 0;           // of the file, counted from 0
  std::string speakers;              // that it feeds, by the texts of the preset: "Left"
  std::optional<double> truePeak;    // highest, dBTP; nothing in digital silence
  std::optional<double> samplePeak;  // highest, dBFS; nothing in digital silence
  bool isPeakAtLeast = false;        // truePeak is the end of its scale
};

}  // namespace louddesk
