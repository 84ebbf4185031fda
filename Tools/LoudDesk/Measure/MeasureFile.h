// Measures whole files: front end and meter, block by block.

#pragma once

#include <cstdint>
#include <functional>

#include "AudioFile.h"
#include "ProgrammeMeter.h"

namespace louddesk {

/// Told the frames measured so far, once a block or rest that the meter has just taken.
using Progress = std::function<void(std::uint64_t)>;

/// Measures a file from where it stands to its end, block by block, with a meter of its own. Of
/// what is left behind the last whole block, less than 100 ms, the true peak counts; loudness is
/// that of whole blocks. Throws `AudioFileError` when the file cannot be read to its end or holds a
/// sample that is no number.
Figures MeasureFile(ProgrammeMeter& meter, AudioFile& file, const Progress& progress);

}  // namespace louddesk
