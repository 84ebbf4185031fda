// One file measured block by block: what the report and the table of series are made from.

#pragma once

#include <string>
#include <vector>

#include "MeasureFile.h"

namespace louddesk {

/// What the meter shows at the end of a block; nothing where there is no reading. The point of what
/// a file ends with when it is no block any more has a true peak of its own, no momentary and
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

/// A file with everything that was measured in it.
struct MeasuredSeries {
  std::string file;                   // path, any bytes
  Figures figures;                    // of the whole file
  std::vector<SeriesPoint> points;    // one for each 100 ms block and one for a rest, in time
  LoudnessDistribution distribution;  // at the end of the file
};

/// The point of a block that ends at `seconds`, from the figures read after it.
SeriesPoint PointOf(double seconds, const Figures& figures);

/// Measures a file as `MeasureFile` does and keeps the figures after every block. Throws
/// `AudioFileError`.
MeasuredSeries MeasureSeries(ProgrammeMeter& meter, AudioFile& file, const Progress& progress);

}  // namespace louddesk
