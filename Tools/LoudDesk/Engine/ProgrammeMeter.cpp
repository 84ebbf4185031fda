// Applies the engine's calculation to each block and keeps the results.

#include "ProgrammeMeter.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "BlockMeter.h"
#include "JsonParser.h"

namespace louddesk {
namespace {

// A ring holds one code more than the window fed from it.
constexpr std::uint32_t kShortTermRing = kShortTermBlocks + 1;

// The engine takes one reading of the loudness range per second, at every tenth momentary reading.
bool EndsASecond(std::uint64_t blocks) {
  return (blocks - (kMomentaryBlocks - 1)) % kBlocksPerSecond == 0;
}

std::optional<double> Reading(float loudness) {
  if (loudness <= kNoLoudnessLkfs)
    return std::nullopt;
  return loudness;
}

std::optional<double> PeakReading(std::uint32_t peak) {
  if (peak == 0)
    return std::nullopt;
  return GetTruePeak(static_cast<std::uint16_t>(peak));
}

std::optional<double> SamplePeakReading(float peak) {
  if (peak <= 0.0F)
    return std::nullopt;
  return 20.0 * std::log10(static_cast<double>(peak));
}

double EndOf(std::uint64_t block) {
  return static_cast<double>(block) / kBlocksPerSecond;
}

}  // namespace

template <typename Value>
void ProgrammeMeter::Maximum<Value>::Raise(Value reading, std::uint64_t in) {
  if (reading <= value)
    return;
  value = reading;
  block = in;
}

ProgrammeMeter::ProgrammeMeter(const Programme& programme, std::size_t fileChannels)
    : mProgramme(programme),
      mLargestPower(LargestBlockPower(std::max(fileChannels, programme.size()))),
      mShortTermCodes(kShortTermRing),
      mShortTermReadings(kNoGateLu, &mShortTermCodes) {
  mShortTermReadings.Reset(kShortTermBlocks);
  for (std::size_t i = 0; i < programme.size(); ++i) {
    mWeights[i] = LoudnessSpeakerWeight[SpeakerTypeOf(programme[i].speaker)];
    mMeters |= 1U << i;
  }
}

void ProgrammeMeter::Feed(const BlockReading& block) {
  const ProgrammeBlock sum = SumOf(block);
  ++mBlocks;
  CountPeaks(block, sum.peak, mBlocks);
  SlideMomentary(sum.power);
  if (mBlocks < kMomentaryBlocks)
    return;
  CountMomentary();
  if (mBlocks >= kShortTermBlocks)
    CountShortTerm();
}

void ProgrammeMeter::FeedRest(const BlockReading& rest) {
  CountPeaks(rest, SumOf(rest).peak, mBlocks + 1);
  mHasEnded = true;
}

// Sums a block as the dispatcher does for the engine.
ProgrammeBlock ProgrammeMeter::SumOf(const BlockReading& block) {
  BlockReading picked;
  for (std::size_t i = 0; i < mProgramme.size(); ++i) {
    const std::size_t channel = mProgramme[i].channel;
    picked.peaks[i] = block.peaks[channel];
    picked.powers[i] = std::min(block.powers[channel], mLargestPower);
    if (picked.powers[i] == mLargestPower && mWeights[i] > 0.0)
      mArePowersAtEnd = true;
  }
  ProgrammeBlock sum{};
  SumProgramme({picked.peaks.data(), sizeof picked.peaks},
               {picked.powers.data(), sizeof picked.powers}, mMeters, mWeights, sum);
  return {std::max<std::uint64_t>(sum.power, 1), sum.peak};
}

void ProgrammeMeter::CountPeaks(const BlockReading& reading, std::uint32_t largest,
                                std::uint64_t block) {
  mLastPeak = largest;
  mMaxPeak.Raise(largest, block);
  for (std::size_t channel = 0; channel < kMeters; ++channel) {
    mTruePeaks[channel] = std::max(mTruePeaks[channel], reading.peaks[channel]);
    mSamplePeaks[channel] = std::max(mSamplePeaks[channel], reading.samplePeaks[channel]);
  }
}

void ProgrammeMeter::SlideMomentary(std::uint64_t power) {
  mLastPowers[mBlocks % kMomentaryBlocks] = power;
  const std::uint64_t sum =
      std::accumulate(mLastPowers.begin(), mLastPowers.end(), std::uint64_t{0});
  mMomentary = sum >= kMomentaryBlocks ? LoudnessOfPower(sum / kMomentaryBlocks) : kNoLoudnessLkfs;
}

void ProgrammeMeter::CountMomentary() {
  const std::uint16_t code = Cbin::GetBinIndx(mMomentary);
  mMaxMomentary.Raise(mMomentary, mBlocks);
  mAreCodesAtEnd = mAreCodesAtEnd || mMomentary >= kEndOfCodesLkfs;
  mReadings.momentary.Count(code);
  mShortTermCodes.AddElement(code);
  mShortTermReadings.AddNewSample(code);
}

void ProgrammeMeter::CountShortTerm() {
  mShortTerm = mShortTermReadings.GetGatedLkfsReading();
  mMaxShortTerm.Raise(mShortTerm, mBlocks);
  if (EndsASecond(mBlocks))
    mReadings.shortTerm.Count(Cbin::GetBinIndx(mShortTerm));
}

Figures ProgrammeMeter::Read() const {
  Figures figures;
  figures.seconds = EndOf(mBlocks);
  figures.integrated = mReadings.momentary.GatedLoudness();
  figures.maxMomentary = Reading(mMaxMomentary.value);
  figures.maxShortTerm = Reading(mMaxShortTerm.value);
  figures.maxTruePeak = PeakReading(mMaxPeak.value);
  figures.truePeak = PeakReading(mLastPeak);
  figures.maxMomentaryAt = EndOf(mMaxMomentary.block);
  figures.maxShortTermAt = EndOf(mMaxShortTerm.block);
  figures.maxTruePeakAt = EndOf(mMaxPeak.block);
  figures.isPeakAtLeast = mMaxPeak.value >= kLargestPeak;
  figures.isMomentaryAtLeast = mArePowersAtEnd && mBlocks >= kMomentaryBlocks;
  figures.isLoudnessAtLeast = figures.isMomentaryAtLeast || mAreCodesAtEnd;
  if (!mHasEnded && mBlocks >= kMomentaryBlocks)
    figures.momentary = Reading(mMomentary);
  if (!mHasEnded)
    figures.shortTerm = Reading(mShortTerm);
  if (const auto range = mReadings.shortTerm.Range(); range && !figures.isLoudnessAtLeast)
    figures.lra = range->lu;
  return figures;
}

std::vector<ChannelFigures> ProgrammeMeter::ReadChannels() const {
  std::vector<ChannelFigures> channels;
  for (const ProgrammeChannel& member : mProgramme) {
    const auto known = std::find_if(
        channels.begin(), channels.end(),
        [&](const ChannelFigures& figures) { return figures.channel == member.channel; });
    if (known != channels.end())
      known->speakers += ", " + member.speaker;
    else
      channels.push_back({member.channel, member.speaker, PeakReading(mTruePeaks[member.channel]),
                          SamplePeakReading(mSamplePeaks[member.channel]),
                          mTruePeaks[member.channel] >= kLargestPeak});
  }
  return channels;
}

}  // namespace louddesk
