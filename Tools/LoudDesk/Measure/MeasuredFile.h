// A file with everything that was measured in it.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Figures.h"
#include "Programme.h"
#include "ProgrammeMeter.h"

namespace louddesk {

/// What the meter shows at the end of a block; nothing where there is no reading. The point of what
/// a file ends with that is less than a block has a true peak of its own, no momentary and
/// short-term loudness, and the other figures of the last block. Single precision is what the
/// engine computes in.
struct SeriesPoint {
  double seconds = 0.0;             // end of the block since the start of the file, s
  std::optional<float> momentary;   // loudness of the last 400 ms, LKFS
  std::optional<float> shortTerm;   // loudness of the last 3 s, LKFS
  std::optional<float> integrated;  // gated loudness so far, LKFS
  std::optional<float> lra;         // loudness range so far, LU
  std::optional<float> truePeak;    // of the block, dBTP
};

/// What was measured of one programme.
struct MeasuredProgramme {
  Programme programme;
  Figures figures;                       // of the whole file
  std::vector<ChannelFigures> channels;  // in the order of the programme
  ProgrammeReadings readings;            // of the whole file
  std::vector<SeriesPoint> points;       // one for each 100 ms block and one for a rest, in time;
                                         // empty when no series was wanted
};

/// What is known of a file beside its samples.
struct FileFacts {
  std::string path;  // any bytes
  std::string format;
  int sampleRate = 0;  // Hz
  std::size_t channels = 0;
  std::optional<std::uint64_t> bytes;  // nothing for what is not a file
  std::string sha256;                  // in hexadecimal; empty when it was not wanted
  std::string damage = {};  // what of it is missing and not in the figures; empty: nothing
};

struct MeasuredFile {
  FileFacts facts;
  std::vector<MeasuredProgramme> programmes;  // one at least
};

}  // namespace louddesk
