// The second computation. Slow and plain by intent.

#include "SecondComputation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

using Codes = std::vector<unsigned>;  // 0: below -70 LKFS; k: -70 + 0.02 (k - 1) LKFS and more
using Powers = std::vector<std::uint64_t>;  // of the programme, one a block

constexpr float kNoReading = -99.0f;
constexpr std::size_t kBlocksPerReading = 4;  // 400 ms
constexpr std::size_t kReadingsPerSecond = 10;
constexpr std::size_t kShortTermWindow = 30;     // 3 s
constexpr std::size_t kProgrammeWindow = 72000;  // 2 h

// L = 10 log10(P) - 152.6905962 - 0.6974
float LoudnessOf(std::uint64_t power) {
  return static_cast<float>(10.0 * std::log10(static_cast<double>(power)) - 152.6905962 - 0.6974);
}

unsigned CodeOf(float loudness) {
  const float x = (loudness + 70.0f) / 0.02f;
  if (x < 0.0f)
    return 0;
  return x + 1.0f >= 4001.0f ? 4000u : static_cast<unsigned>(x + 1.0f);
}

// The power that stands for a code: 1857398385681617 x 10^((-70 + 0.02 (k - 1) + 0.7074) / 10),
// the 0.7074 taken as 0.6974 and the single-precision 0.01.
std::uint64_t PowerOfCode(unsigned code) {
  if (code == 0)
    return 0;
  const double exponent = (-70.0 + 0.02 * (code - 1.0) + 0.7073999997764826) / 10.0;
  return static_cast<std::uint64_t>(exponent < 0 ? 1857398385681617.0 / std::pow(10.0, -exponent)
                                                 : 1857398385681617.0 * std::pow(10.0, exponent));
}

template <typename T>
std::vector<T> Last(const std::vector<T>& values, std::size_t count) {
  return {values.end() - static_cast<std::ptrdiff_t>(std::min(count, values.size())), values.end()};
}

template <typename T>
std::vector<T> First(const std::vector<T>& values, std::size_t count) {
  return {values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count)};
}

// Mean power of the codes at or above the gate, as a loudness. Code 0 never counts.
float MeanAbove(const Codes& codes, float gate) {
  std::uint64_t power = 0;
  std::uint64_t count = 0;
  for (const unsigned code : codes) {
    if (code == 0 || code < CodeOf(gate))
      continue;
    power += PowerOfCode(code);
    ++count;
  }
  return count == 0 ? kNoReading : LoudnessOf(power / count);
}

// ITU-R BS.1770: the absolute gate, then a relative one below the mean of what passed.
float GatedMean(const Codes& codes, float relativeGate) {
  const float ungated = MeanAbove(codes, -70.0f);
  const float gate = ungated + relativeGate;
  return gate < -70.0f ? ungated : MeanAbove(codes, gate);
}

// EBU Tech 3342: from the 10th to the 95th percentile, in whole percents.
float RangeOf(Codes codes) {
  const float gate = GatedMean(codes, -20.0f) - 20.0f;
  if (gate < -70.0f)
    return 0.0f;
  std::sort(codes.begin(), codes.end());
  const auto firstAbove = std::lower_bound(codes.begin(), codes.end(), CodeOf(gate));
  const Codes above(firstAbove, codes.end());
  int low = 0;
  for (std::size_t i = above.size(); i-- > 0;)
    if ((i + 1) * 100 / above.size() > 9)
      low = static_cast<int>(above[i]);
  int high = 0;
  for (std::size_t i = 0; i < codes.size(); ++i)
    if ((codes.size() - i) * 100 / above.size() > 4)
      high = static_cast<int>(codes[i]);
  return static_cast<float>((high - low) * 0.02);
}

std::uint64_t ProgrammePower(const louddesk::BlockReading& block,
                             const std::vector<float>& weights) {
  std::uint64_t sum = 0;
  for (std::size_t meter = 0; meter < weights.size(); ++meter)
    sum += static_cast<std::uint64_t>(static_cast<double>(block.powers[meter]) *
                                      static_cast<double>(weights[meter]));
  return sum != 0 ? sum : 1;
}

std::uint16_t ProgrammePeak(const louddesk::BlockReading& block, std::size_t meters) {
  const std::uint32_t peak = *std::max_element(
      block.peaks.begin(), block.peaks.begin() + static_cast<std::ptrdiff_t>(meters));
  return static_cast<std::uint16_t>(peak != 0 ? peak : 1);
}

// The 400 ms that end with block `last`; what lies before the first block is silence.
float MomentaryAt(const Powers& powers, std::size_t last) {
  std::uint64_t sum = 0;
  for (std::size_t i = last + 1 < kBlocksPerReading ? 0 : last + 1 - kBlocksPerReading; i <= last;
       ++i)
    sum += powers[i];
  return sum < kBlocksPerReading ? kNoReading : LoudnessOf(sum / kBlocksPerReading);
}

float TruePeakOf(std::uint16_t peak) {
  const float level = static_cast<float>(20.0f * std::log10(static_cast<float>(peak)) - 90.3087);
  return level < -99.0f ? kNoReading : level;
}

std::int16_t Tenths(float value) {
  return value > kNoReading ? static_cast<std::int16_t>(std::lround(value * 10)) : kNoLoudnessCode;
}

std::int16_t Hundredths(float value) {
  return value > kNoReading ? static_cast<std::int16_t>(std::lround(value * 100)) : kNoTruePeakCode;
}

// Number of readings up to the last one that stood at `position` (1 to 10) of its second; 0: none
// did.
std::size_t ReadingsUpTo(std::size_t position, std::size_t readings) {
  return readings < position
             ? 0
             : (readings - position) / kReadingsPerSecond * kReadingsPerSecond + position;
}

float ShortTermAt(const Codes& codes, std::size_t readings) {
  return MeanAbove(Last(First(codes, readings), kShortTermWindow), -70.0f);
}

// One short-term reading at the end of each second before reading number `readings`.
Codes ShortTermCodes(const Codes& codes, std::size_t readings) {
  Codes result;
  for (std::size_t end = kReadingsPerSecond; end < readings; end += kReadingsPerSecond)
    result.push_back(CodeOf(ShortTermAt(codes, end)));
  return result;
}

// A gated figure that is refreshed at one position of each second.
float RefreshedMean(const Codes& codes, std::size_t position, std::size_t window) {
  const std::size_t readings = ReadingsUpTo(position, codes.size());
  return readings == 0 ? kNoReading : GatedMean(Last(First(codes, readings), window), -10.0f);
}

float RefreshedRange(const Codes& codes, std::size_t position, std::size_t window) {
  const std::size_t readings = ReadingsUpTo(position, codes.size());
  return RangeOf(Last(ShortTermCodes(codes, readings), window));
}

}  // namespace

LoudnessData_t ComputeFigures(const std::vector<louddesk::BlockReading>& blocks,
                              const SecondComputationSettings& settings) {
  Powers powers;
  for (const louddesk::BlockReading& block : blocks)
    powers.push_back(ProgrammePower(block, settings.weights));

  float maxMomentary = kNoReading;
  float momentary = kNoReading;
  float truePeak = kNoReading;
  float maxTruePeak = kNoReading;
  Codes codes;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const float reading = MomentaryAt(powers, i);
    maxMomentary = std::max(maxMomentary, reading);
    if (i + 1 < kBlocksPerReading)
      continue;
    momentary = reading;
    codes.push_back(CodeOf(reading));
    truePeak = TruePeakOf(ProgrammePeak(blocks[i], settings.weights.size()));
    maxTruePeak = std::max(maxTruePeak, truePeak);
  }
  const bool hasReading = !codes.empty();

  LoudnessData_t figures{};
  // Nothing is coded before the first whole 400 ms.
  figures.MaxMomentary = hasReading ? Tenths(maxMomentary) : kNoLoudnessCode;
  figures.Momentary = Tenths(momentary);
  figures.ShortTerm = Tenths(ShortTermAt(codes, codes.size()));
  figures.Integrated =
      Tenths(RefreshedMean(codes, 7, settings.integratedWindow * kReadingsPerSecond));
  figures.Lra =
      static_cast<std::int16_t>(RefreshedRange(codes, 2, settings.loudnessRangeWindow) * 10.0f);
  figures.Program = Tenths(RefreshedMean(codes, 4, kProgrammeWindow));
  figures.MaxTruePeak = Hundredths(maxTruePeak);
  figures.TruePeak = Hundredths(truePeak);
  return figures;
}
