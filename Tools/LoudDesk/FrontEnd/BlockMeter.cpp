// The front end cuts a stream into blocks, and each block into chunks that stay in the fastest
// cache during all filter passes.

#include "BlockMeter.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "Bin.h"
#include "Lanes.h"

namespace louddesk {
namespace {

constexpr std::size_t kChunkFrames =
    std::min(KWeightingFilter::kMaxFrames, TruePeakMeter::kMaxFrames);

// Limits the samples for the filters: magnitudes below -300 dBFS become silence, those above +300
// dBFS are reduced to it. This does not affect readings, which begin at -153 dB and end far below
// +300.
constexpr double kSmallestSample = 1e-15;
constexpr double kLargestSample = 1e15;

// 0 LKFS is the reference level of the service's scale; BS.1770 defines loudness as -0.691 + 10
// log10(z).
const double kPowerScale = std::pow(10.0, (kPowerScaleDb + kWeightingOffsetDb - 0.691) / 10.0);

constexpr std::uint64_t kLargestPowerOfAll = std::uint64_t{1} << 61;

template <typename Lane>
Lane Conditioned(const Lane& samples) {
  const Lane raised = Larger<Lane>(samples, Lane{} - kLargestSample);
  const Lane limited = Smaller<Lane>(raised, Lane{} + kLargestSample);
  return Magnitude<Lane>(limited) < kSmallestSample ? Lane{} : limited;
}

// Returns the conditioned samples.
const double* Condition(const double* samples, std::size_t count, double* conditioned) {
  std::transform(samples, samples + count, conditioned, Conditioned<double>);
  return conditioned;
}

// Whether all are numbers and conditioned already, as those of nearly every file are. Without a
// branch per sample.
bool AreConditioned(const double* samples, std::size_t count) {
  constexpr std::size_t kPair = kWidth<DoublePair, double>;
  auto areConditioned = DoublePair{} == DoublePair{};
  std::size_t i = 0;
  for (; i + kPair <= count; i += kPair) {
    const auto pair = Load<DoublePair>(samples + i);
    areConditioned &= Conditioned<DoublePair>(pair) == pair;
  }
  return areConditioned[0] != 0 && areConditioned[1] != 0 &&
         (i == count || Conditioned<double>(samples[i]) == samples[i]);
}

bool IsNumber(double sample) {
  return std::fabs(sample) <= std::numeric_limits<double>::max();
}

}  // namespace

std::string BadSampleText(const BadSample& sample, int sampleRate) {
  return fmt::format("contains a sample that is not a number in channel {}, frame {} ({:.3f} s)",
                     sample.channel + 1, sample.frame,
                     static_cast<double>(sample.frame) / sampleRate);
}

std::uint64_t LargestBlockPower(std::size_t channels) {
  return kLargestPowerOfAll / channels;
}

std::uint64_t BlockPower(double meanSquare, std::size_t channels) {
  const std::uint64_t largest = LargestBlockPower(channels);
  const double power = std::round(meanSquare * kPowerScale);
  return power < static_cast<double>(largest) ? static_cast<std::uint64_t>(power) : largest;
}

std::uint32_t BlockPeak(float peak) {
  return static_cast<std::uint32_t>(std::min(std::round(static_cast<double>(peak) * kFullScalePeak),
                                             static_cast<double>(kLargestPeak)));
}

BlockMeter::BlockMeter(std::size_t channels, int sampleRate, Peaks peaks)
    : mChannels(channels),
      mSampleRate(static_cast<std::uint64_t>(sampleRate)),
      mPeaks(peaks),
      mFilter(KWeightingFor(sampleRate), channels),
      mTruePeak(OversamplingFor(sampleRate), channels) {}

std::size_t BlockMeter::FramesInNextBlock() const {
  return static_cast<std::size_t>(FirstFrameOf(mBlock + 1) - FirstFrameOf(mBlock));
}

std::size_t BlockMeter::MaxFramesInBlock() const {
  return static_cast<std::size_t>((mSampleRate + kBlocksPerSecond - 1) / kBlocksPerSecond);
}

std::optional<BadSample> BlockMeter::Measure(const double* samples, BlockReading& reading) {
  const std::size_t frames = FramesInNextBlock();
  ChannelEnergies energies{};
  if (const auto badSample = MeasureFrames(samples, frames, energies, reading))
    return badSample;
  for (std::size_t channel = 0; channel < mChannels; ++channel)
    reading.powers[channel] =
        BlockPower(energies[channel] / static_cast<double>(frames), mChannels);
  ++mBlock;
  return std::nullopt;
}

std::optional<BadSample> BlockMeter::MeasureRest(const double* samples, std::size_t frames,
                                                 BlockReading& reading) {
  ChannelEnergies energies{};
  return MeasureFrames(samples, frames, energies, reading);
}

std::uint64_t BlockMeter::FirstFrameOf(std::uint64_t block) const {
  return block * mSampleRate / kBlocksPerSecond;
}

std::optional<BadSample> BlockMeter::FindBadSample(const double* samples,
                                                   std::size_t frames) const {
  const double* end = samples + frames * mChannels;
  const double* bad = std::find_if_not(samples, end, IsNumber);
  if (bad == end)
    return std::nullopt;
  const auto index = static_cast<std::size_t>(bad - samples);
  return BadSample{index % mChannels, FirstFrameOf(mBlock) + index / mChannels};
}

// Leaves the powers at 0.
std::optional<BadSample> BlockMeter::MeasureFrames(const double* samples, std::size_t frames,
                                                   ChannelEnergies& energies,
                                                   BlockReading& reading) {
  const bool areConditioned = AreConditioned(samples, frames * mChannels);
  if (const auto badSample = areConditioned ? std::nullopt : FindBadSample(samples, frames))
    return badSample;
  ChannelPeaks peaks{};
  reading = BlockReading{};
  for (std::size_t done = 0; done < frames; done += kChunkFrames) {
    const double* chunk = samples + done * mChannels;
    std::array<double, kChunkFrames * kMeters> conditioned;
    const std::size_t chunkFrames = std::min(kChunkFrames, frames - done);
    if (!areConditioned)
      chunk = Condition(chunk, chunkFrames * mChannels, conditioned.data());
    MeasureChunk(chunk, chunkFrames, energies, peaks, reading.samplePeaks);
  }
  for (std::size_t channel = 0; channel < mChannels; ++channel)
    reading.peaks[channel] = BlockPeak(peaks[channel]);
  return std::nullopt;
}

void BlockMeter::MeasureChunk(const double* samples, std::size_t frames, ChannelEnergies& energies,
                              ChannelPeaks& peaks, ChannelPeaks& samplePeaks) {
  mFilter.AddEnergies(samples, frames, energies);
  if (mPeaks == Peaks::kTrue)
    mTruePeak.Raise(samples, frames, peaks, samplePeaks);
}

}  // namespace louddesk
