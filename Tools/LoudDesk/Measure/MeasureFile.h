// Measures whole files: front end and meters, block by block.

#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "AudioFile.h"
#include "MeasuredFile.h"

namespace louddesk {

/// Called with the frames measured so far, once for each block or rest.
using Progress = std::function<void(std::uint64_t)>;

/// What is kept of a measurement beside its figures.
enum class Series {
  kNone,
  kEveryBlock,
};

/// Measures the programmes of a file from where it stands to its end, in one pass. Of what is left
/// behind the last whole block, less than 100 ms, the true peak counts; loudness is that of whole
/// blocks. Throws `AudioFileError` when the file cannot be read to its end or holds a sample that
/// is not a number. REQUIRES: a programme at least, each of channels that the file has.
std::vector<MeasuredProgramme> MeasureFile(AudioFile& file,
                                           const std::vector<Programme>& programmes, Series series,
                                           const Progress& progress);

}  // namespace louddesk
