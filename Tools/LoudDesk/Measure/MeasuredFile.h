// A file and everything measured in it.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Figures.h"
#include "Programme.h"
#include "ProgrammeMeter.h"

namespace louddesk {

/// The reading at the end of a block; nothing where there is no reading. The point of an incomplete
/// last block has its own true peak, no momentary and short-term loudness, and otherwise the
/// figures of the block before. The engine computes in single precision.
struct SeriesPoint {
  double seconds = 0.0;             // end of the block, since the start of the file, s
  std::optional<float> momentary;   // loudness of the last 400 ms, LKFS
  std::optional<float> shortTerm;   // loudness of the last 3 s, LKFS
  std::optional<float> integrated;  // gated loudness so far, LKFS
  std::optional<float> lra;         // loudness range so far, LU
  std::optional<float> truePeak;    // of the block, dBTP
};

/// The results for one programme.
struct MeasuredProgramme {
  Programme programme;
  Figures figures;                       // of the whole file
  std::vector<ChannelFigures> channels;  // in the order of the programme
  ProgrammeReadings readings;            // of the whole file
  std::vector<SeriesPoint> points;  // one per block of 100 ms and one for a rest, in order of time;
                                    // empty unless a series was requested
};

/// The properties of a file other than its samples.
struct FileFacts {
  std::string path;  // any bytes
  std::string format;
  int sampleRate = 0;  // Hz
  std::size_t channels = 0;
  std::optional<std::uint64_t> bytes;  // nothing for input that is not a regular file
  std::string sha256;                  // in hexadecimal; empty if not requested
  std::string damage = {};        // what is missing from the file and the figures; empty: nothing
  std::string otherStreams = {};  // that there are audio streams beside the measured one; empty:
                                  // there are none, or one was requested
};

struct MeasuredFile {
  FileFacts facts;
  std::vector<MeasuredProgramme> programmes;  // at least one
};

}  // namespace louddesk
