// The front end of the desk tool: from samples to what a unit's signal-processing stage would
// publish of every 100 ms, ready for the raw loudness data message. One meter per stream of
// samples.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "BlockReading.h"
#include "KWeighting.h"
#include "TruePeak.h"

namespace louddesk {

/// Sample rates in Hz that the front end is made for.
constexpr int kLowestSampleRate = 8000;
constexpr int kHighestSampleRate = 192000;

/// The place of a sample that is not a number.
struct BadSample {
  std::size_t channel;  // counted from zero
  std::uint64_t frame;  // counted from zero at the beginning of the stream
};

/// What is wrong with a source that holds such a sample: its channel (from 1), frame and time.
std::string BadSampleText(const BadSample& sample, int sampleRate);

/// The end of the scale of a channel's power, 2^61 / `channels`, so that the weighted sum over
/// all channels and four blocks does not wrap around in the service's 64 bits: +15 LKFS for each of
/// 32 channels, +30 for a single one. A power that reads so was this or more.
std::uint64_t LargestBlockPower(std::size_t channels);

/// Power of a channel in the service's integer scale (see `LoudnessOfPower`) from its K-weighted
/// mean square, full scale 1.0, up to `LargestBlockPower`.
std::uint64_t BlockPower(double meanSquare, std::size_t channels);

/// True peak with `kFullScalePeak` for full scale, up to `kLargestPeak`, where the service's scale
/// ends: a peak that reads so was this or more.
std::uint32_t BlockPeak(float peak);

/// Measures a stream block by block. Block n holds the frames from floor(n x rate / 10) up to but
/// excluding floor((n + 1) x rate / 10), so that no block drifts at rates like 11025 Hz. Allocates
/// nothing after construction.
class BlockMeter {
 public:
  enum class Peaks { kTrue, kNone };

  /// Starts from silence. With `Peaks::kNone` every peak reads 0, for half the work.
  /// REQUIRES: 1 <= channels <= 32, kLowestSampleRate <= sampleRate <= kHighestSampleRate.
  BlockMeter(std::size_t channels, int sampleRate, Peaks peaks = Peaks::kTrue);

  /// Frames that the next call of `Measure` takes.
  std::size_t FramesInNextBlock() const;

  /// Most frames that any block takes.
  std::size_t MaxFramesInBlock() const;

  /// Measures the next block from `FramesInNextBlock()` interleaved frames, full scale 1.0: channel
  /// i becomes meter i + 1, entries beyond the channels are 0. When a sample is infinite or not a
  /// number, returns the place of the first such; `reading` and the meter are then as before.
  std::optional<BadSample> Measure(const double* samples, BlockReading& reading);

  /// Measures the `frames` that a stream ends with when they do not fill a block. They have a true
  /// peak, as every sample has one, but no power, which is a mean over a whole block: the powers
  /// read 0. The place of a sample that is not a number is returned as by `Measure`. Nothing can be
  /// measured after it. REQUIRES: frames < FramesInNextBlock().
  std::optional<BadSample> MeasureRest(const double* samples, std::size_t frames,
                                       BlockReading& reading);

 private:
  std::uint64_t FirstFrameOf(std::uint64_t block) const;
  std::optional<BadSample> FindBadSample(const double* samples, std::size_t frames) const;
  std::optional<BadSample> MeasureFrames(const double* samples, std::size_t frames,
                                         ChannelEnergies& energies, BlockReading& reading);
  void MeasureChunk(const double* samples, std::size_t frames, ChannelEnergies& energies,
                    ChannelPeaks& peaks, ChannelPeaks& samplePeaks);

  std::size_t mChannels;
  std::uint64_t mSampleRate;  // Hz
  Peaks mPeaks;
  KWeightingFilter mFilter;
  TruePeakMeter mTruePeak;
  std::uint64_t mBlock = 0;  // number of the next block
};

}  // namespace louddesk
