// Measures whole files block by block.

#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "AudioFile.h"
#include "MeasuredFile.h"

namespace louddesk {

/// Called with the number of frames measured so far, after each block or rest.
using Progress = std::function<void(std::uint64_t)>;

/// What to keep of a measurement beside its figures.
enum class Series {
  kNone,
  kEveryBlock,
};

/// Measures the programmes of a file from its current position to its end, in one pass. The rest
/// after the last whole block (less than 100 ms) counts for the true peak only. Throws
/// `AudioFileError` if the file cannot be read to its end or contains a sample that is not a
/// number. REQUIRES: at least one programme, with channels that the file has.
std::vector<MeasuredProgramme> MeasureFile(AudioFile& file,
                                           const std::vector<Programme>& programmes, Series series,
                                           const Progress& progress);

}  // namespace louddesk
