// The front end of the desk tool: converts samples to the data that a unit's signal-processing
// stage publishes every 100 ms, ready for the raw loudness data message. One meter per stream of
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

/// The range of supported sample rates, Hz.
constexpr int kLowestSampleRate = 8000;
constexpr int kHighestSampleRate = 192000;

/// The position of a sample that is not a number.
struct BadSample {
  std::size_t channel;  // counted from 0
  std::uint64_t frame;  // counted from 0 at the start of the stream
};

/// The error for a source with a bad sample: its channel (from 1), frame and time.
std::string BadSampleText(const BadSample& sample, int sampleRate);

/// The end of the scale of one channel's power, 2^61 / `channels`. It keeps the weighted sum over
/// all channels and four blocks from overflowing the service's 64 bits. That is +15 LKFS for each
/// of 32 channels, +30 LKFS for a single one. A reading of this value means this much or more.
std::uint64_t LargestBlockPower(std::size_t channels);

/// Power of a channel in the service's integer scale (see `LoudnessOfPower`), limited to
/// `LargestBlockPower`. `meanSquare` is K-weighted, full scale 1.0.
std::uint64_t BlockPower(double meanSquare, std::size_t channels);

/// True peak in the service's scale, where `kFullScalePeak` is full scale, limited to
/// `kLargestPeak`. A reading of this limit means this much or more.
std::uint32_t BlockPeak(float peak);

/// Measures a stream block by block. Block n has the frames from floor(n x rate / 10) up to but
/// excluding floor((n + 1) x rate / 10), so blocks do not drift at rates like 11025 Hz. Allocates
/// nothing after construction.
class BlockMeter {
 public:
  enum class Peaks { kTrue, kNone };

  /// Starts from silence. With `Peaks::kNone` every peak reads 0, at half the processing cost.
  /// REQUIRES: 1 <= channels <= 32, kLowestSampleRate <= sampleRate <= kHighestSampleRate.
  BlockMeter(std::size_t channels, int sampleRate, Peaks peaks = Peaks::kTrue);

  /// Number of frames that the next call of `Measure` needs.
  std::size_t FramesInNextBlock() const;

  /// The largest number of frames in a block.
  std::size_t MaxFramesInBlock() const;

  /// Measures the next block of `FramesInNextBlock()` interleaved frames, full scale 1.0. Channel i
  /// becomes meter i + 1; entries beyond the channels are 0. If a sample is infinite or not a
  /// number, returns the position of the first one and leaves `reading` and the meter unchanged.
  std::optional<BadSample> Measure(const double* samples, BlockReading& reading);

  /// Measures an incomplete last block of `frames` frames. It has a true peak, but its powers read
  /// 0, because power is a mean over a whole block. Returns the position of a bad sample like
  /// `Measure`. Nothing can be measured afterwards. REQUIRES: frames < FramesInNextBlock().
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
  std::uint64_t mBlock = 0;  // index of the next block
};

}  // namespace louddesk
