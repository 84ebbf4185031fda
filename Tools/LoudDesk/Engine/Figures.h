// The figures of a programme and of its channels.

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace louddesk {

/// The figures of a programme; nothing where there is no reading. A figure at the end of its scale
/// means "this much or more". The scales end at 6.02 dBTP for true peaks, at +10 LKFS for the
/// readings behind integrated and short-term loudness, and at `LargestBlockPower` for momentary
/// readings. Times are those at which the window of a reading ends, counted from the start.
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
  double maxMomentaryAt = 0.0;         // end of its first occurrence, s; 0 if there is none
  double maxShortTermAt = 0.0;         // s
  double maxTruePeakAt = 0.0;          // s
  bool isPeakAtLeast = false;          // maxTruePeak is at the end of its scale
  bool isMomentaryAtLeast = false;     // a power behind maxMomentary is at the end of its scale
  bool isLoudnessAtLeast = false;      // readings behind integrated and maxShortTerm exceed the
                                       // scale; lra is then missing
};

/// The peaks of one channel of a programme.
struct ChannelFigures {
  std::size_t channel = 0;           // index in the file, counted from 0
  std::string speakers;              // that it feeds, as named in presets: "Left"
  std::optional<double> truePeak;    // highest, dBTP; nothing in digital silence
  std::optional<double> samplePeak;  // highest, dBFS; nothing in digital silence
  bool isPeakAtLeast = false;        // truePeak is at the end of its scale
};

}  // namespace louddesk
