// One reader for each sample format: a sample type, interleaved or planar.

#include "LibavSamples.h"

#include <cstdint>
#include <type_traits>

namespace louddesk {
namespace {

// Integers map to -1.0 up to one step below 1.0. Zero of unsigned samples is in the middle of their
// range.
template <typename Sample>
double ToDouble(Sample sample) {
  if constexpr (std::is_floating_point_v<Sample>) {
    return sample;
  } else {
    constexpr double kFullScale = static_cast<double>(std::uint64_t{1} << (8 * sizeof(Sample) - 1));
    constexpr double kMiddle = std::is_unsigned_v<Sample> ? kFullScale : 0.0;
    return (static_cast<double>(sample) - kMiddle) * (1.0 / kFullScale);
  }
}

template <typename Sample>
const Sample* PlaneOf(const AVFrame& frame, std::size_t plane) {
  return reinterpret_cast<const Sample*>(frame.extended_data[plane]);
}

template <typename Sample>
void ReadInterleaved(const AVFrame& frame, std::size_t first, std::size_t frames, double* samples) {
  const auto channels = static_cast<std::size_t>(frame.ch_layout.nb_channels);
  const Sample* from = PlaneOf<Sample>(frame, 0) + first * channels;
  for (std::size_t i = 0; i < frames * channels; ++i)
    samples[i] = ToDouble(from[i]);
}

template <typename Sample>
void ReadPlanes(const AVFrame& frame, std::size_t first, std::size_t frames, double* samples) {
  const auto channels = static_cast<std::size_t>(frame.ch_layout.nb_channels);
  for (std::size_t channel = 0; channel < channels; ++channel) {
    const Sample* from = PlaneOf<Sample>(frame, channel) + first;
    for (std::size_t i = 0; i < frames; ++i)
      samples[i * channels + channel] = ToDouble(from[i]);
  }
}

}  // namespace

SampleReader SampleReaderFor(int form) {
  switch (form) {
    case AV_SAMPLE_FMT_U8:
      return ReadInterleaved<std::uint8_t>;
    case AV_SAMPLE_FMT_S16:
      return ReadInterleaved<std::int16_t>;
    case AV_SAMPLE_FMT_S32:
      return ReadInterleaved<std::int32_t>;
    case AV_SAMPLE_FMT_S64:
      return ReadInterleaved<std::int64_t>;
    case AV_SAMPLE_FMT_FLT:
      return ReadInterleaved<float>;
    case AV_SAMPLE_FMT_DBL:
      return ReadInterleaved<double>;
    case AV_SAMPLE_FMT_U8P:
      return ReadPlanes<std::uint8_t>;
    case AV_SAMPLE_FMT_S16P:
      return ReadPlanes<std::int16_t>;
    case AV_SAMPLE_FMT_S32P:
      return ReadPlanes<std::int32_t>;
    case AV_SAMPLE_FMT_S64P:
      return ReadPlanes<std::int64_t>;
    case AV_SAMPLE_FMT_FLTP:
      return ReadPlanes<float>;
    case AV_SAMPLE_FMT_DBLP:
      return ReadPlanes<double>;
    default:
      return nullptr;
  }
}

}  // namespace louddesk
