// The loudness figures, computed a second time.

#include "SecondComputation.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kNoReading = -99.0F;
constexpr std::size_t kMomentaryBlocks = 4;  // 400 ms
constexpr std::size_t kReadingsPerSecond = 10;
constexpr std::size_t kShortTermWindow = 30;     // 3 s
constexpr std::size_t kProgrammeWindow = 72000;  // 2 h

using Codes = std::vector<unsigned>;

// L = 10 log10(P) - 152.6905962 - 0.6974
float LoudnessOf(std::uint64_t power) {
  return static_cast<float>(10.0 * std::log10(static_cast<double>(power)) - 152.6905962 - 0.6974);
}

// Bins of 0.02 LU from -70 LKFS up, in single precision; the last one is 4000.
unsigned CodeOf(float loudness) {
  const float position = (loudness + 70.0F) / 0.02F;
  if (position < 0.0F)
    return 0;
  return static_cast<unsigned>(std::min(position + 1.0F, 4000.0F));
}

// The power that stands for a code: 1857398385681617 x 10^((-70 + 0.02 (k - 1) + 0.7074) / 10),
// with 0.7074 as the sum of 0.6974 and the single-precision 0.01.
std::uint64_t PowerOfCode(unsigned code) {
  const double exponent = (-70.0 + 0.02 * (code - 1.0) + 0.7073999997764826) / 10.0;
  return static_cast<std::uint64_t>(exponent < 0 ? 1857398385681617.0 / std::pow(10.0, -exponent)
                                                 : 1857398385681617.0 * std::pow(10.0, exponent));
}

Codes Last(const Codes& codes, std::size_t count) {
  return {codes.end() - static_cast<std::ptrdiff_t>(std::min(count, codes.size())), codes.end()};
}

// Loudness of the mean power of the codes at or above the gate. Code 0 never counts.
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

// ITU-R BS.1770: the absolute gate, then a gate relative to the mean of the readings that passed
// it.
float GatedMean(const Codes& codes, float relativeGate) {
  const float ungated = MeanAbove(codes, -70.0F);
  const float gate = ungated + relativeGate;
  return gate < -70.0F ? ungated : MeanAbove(codes, gate);
}

// EBU Tech 3342: among the readings above the gate, the distance from the lowest code with 10 % of
// the readings at or below it to the highest with 5 % of them at or above it.
float RangeOf(Codes codes) {
  const float gate = GatedMean(codes, -20.0F) - 20.0F;
  if (gate < -70.0F)
    return 0.0F;
  std::sort(codes.begin(), codes.end());
  codes.erase(codes.begin(), std::lower_bound(codes.begin(), codes.end(), CodeOf(gate)));
  std::size_t low = 0;
  while ((low + 1) * 100 / codes.size() < 10)
    ++low;
  std::size_t high = codes.size() - 1;
  while ((codes.size() - high) * 100 / codes.size() < 5)
    --high;
  return static_cast<float>((static_cast<int>(codes[high]) - static_cast<int>(codes[low])) * 0.02);
}

float TruePeakOf(std::uint16_t peak) {
  if (peak == 0)
    return kNoReading;
  const float level = 20.0F * std::log10(static_cast<float>(peak));
  return static_cast<float>(static_cast<double>(level) - 90.3087);
}

std::int16_t Rounded(float value) {
  return static_cast<std::int16_t>(std::lround(value));
}

std::int16_t Tenths(float lkfs) {
  return lkfs > kNoReading ? Rounded(lkfs * 10.0F) : std::int16_t{-990};
}

}  // namespace

std::uint64_t PowerOf(double lkfs) {
  return static_cast<std::uint64_t>(
      std::llround(std::pow(10.0, (lkfs + 152.6905962 + 0.6974) / 10)));
}

SecondComputation::SecondComputation(std::size_t integratedWindow, std::size_t rangeWindow)
    : mIntegratedReadings(integratedWindow * kReadingsPerSecond), mRangeReadings(rangeWindow) {}

void SecondComputation::Reset() {
  const float program = mFigures.program;
  mPowers.clear();
  mMomentary.clear();
  mShortTerm.clear();
  mFigures = Figures();
  mFigures.program = program;
}

void SecondComputation::Add(std::uint64_t power, std::uint16_t peak) {
  mPowers.push_back(power);
  const float momentary = MomentaryNow();
  mFigures.maxMomentary = std::max(mFigures.maxMomentary, momentary);
  if (mPowers.size() < kMomentaryBlocks)
    return;
  mFigures.momentary = momentary;
  mMomentary.push_back(CodeOf(momentary));
  mFigures.shortTerm = MeanAbove(Last(mMomentary, kShortTermWindow), -70.0F);
  RefreshOncePerSecond();
  mFigures.truePeak = TruePeakOf(peak);
  mFigures.maxTruePeak = std::max(mFigures.maxTruePeak, mFigures.truePeak);
}

LoudnessData_t SecondComputation::Coded() const {
  if (mPowers.size() < kMomentaryBlocks)
    return {-990, -990, -990, -990, 0, -990, -9900, -9900};
  return {Tenths(mFigures.maxMomentary),
          Tenths(mFigures.momentary),
          Tenths(mFigures.shortTerm),
          Tenths(mFigures.integrated),
          static_cast<std::int16_t>(mFigures.range * 10.0F),  // toward zero
          Tenths(mFigures.program),
          Rounded(mFigures.maxTruePeak * 100.0F),
          Rounded(mFigures.truePeak * 100.0F)};
}

// Loudness of the last 400 ms. The time before the first block counts as silence.
float SecondComputation::MomentaryNow() const {
  const std::size_t blocks = std::min(kMomentaryBlocks, mPowers.size());
  std::uint64_t sum = 0;
  for (std::size_t i = mPowers.size() - blocks; i < mPowers.size(); ++i)
    sum += mPowers[i];
  return sum < kMomentaryBlocks ? kNoReading : LoudnessOf(sum / kMomentaryBlocks);
}

void SecondComputation::RefreshOncePerSecond() {
  switch (mMomentary.size() % kReadingsPerSecond) {
    case 2:
      mFigures.range = RangeOf(Last(mShortTerm, mRangeReadings));
      break;
    case 4:
      mFigures.program = GatedMean(Last(mMomentary, kProgrammeWindow), -10.0F);
      break;
    case 7:
      mFigures.integrated = GatedMean(Last(mMomentary, mIntegratedReadings), -10.0F);
      break;
    case 0:
      mShortTerm.push_back(CodeOf(mFigures.shortTerm));
      break;
    default:
      break;
  }
}
