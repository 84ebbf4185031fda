// Converts the samples of decoded frames, in any format of FFmpeg's decoders, to double precision.
// Rate, layout and level are unchanged: samples are only scaled. Stateless.

#pragma once

#include <cstddef>

#include "LibavHeaders.h"

namespace louddesk {

/// Writes `frames` interleaved frames, from the frame `first` on, full scale 1.0. REQUIRES: the
/// frame has that many.
using SampleReader = void (*)(const AVFrame& frame, std::size_t first, std::size_t frames,
                              double* samples);

/// The reader for an `AVSampleFormat`; null if the format is unknown.
SampleReader SampleReaderFor(int form);

}  // namespace louddesk
