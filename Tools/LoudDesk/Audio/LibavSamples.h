// The samples of decoded frames, of any form that FFmpeg's decoders have, as numbers of double
// precision. No rate, layout or level changes, so that no sample is more than multiplied.
// Stateless.

#pragma once

#include <cstddef>

#include "LibavHeaders.h"

namespace louddesk {

/// Writes `frames` frames from the frame `first` on, interleaved, full scale 1.0. REQUIRES: there
/// are so many.
using SampleReader = void (*)(const AVFrame& frame, std::size_t first, std::size_t frames,
                              double* samples);

/// The reader of a form of samples (`AVSampleFormat`); null for one that is not known.
SampleReader SampleReaderFor(int form);

}  // namespace louddesk
