// Histogram of loudness readings, owned by the integrators. Reactor thread only.

#include "Bin.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

// For converting a loudness to its code. The conversion back uses double precision.
constexpr auto kBinWidthSingle = static_cast<float>(kBinWidthLu);

// Loudness to power, for the bins. The offset is that of `LoudnessOfPower` plus half a bin, the
// half in single precision. The two constants are not the exact inverse of `LoudnessOfPower`: the
// power of a bin converts to 0.0085 LU above the bin's lower edge. That is close to its middle, so
// that coding a loudness hardly biases the mean.
constexpr double kUnitPower = 1857398385681617.0;
constexpr double kBinOffsetDb = 0.7073999997764826;

std::uint16_t BinOf(std::uint16_t code) {
  return std::min(code, kMaxLoudnessCode);
}

std::uint64_t BinCenter(std::size_t code) {
  const double exponent = (LoudnessOfCode(code) + kBinOffsetDb) / 10.0;
  const double power = exponent < 0.0 ? kUnitPower / std::pow(10.0, -exponent)
                                      : kUnitPower * std::pow(10.0, exponent);
  return static_cast<std::uint64_t>(power);
}

constexpr std::size_t GroupOf(std::size_t code) {
  return (code + kCodesPerGroup - 1) / kCodesPerGroup;
}

constexpr std::size_t FirstCodeOf(std::size_t group) {
  return (group - 1) * kCodesPerGroup + 1;
}

void Add(BinSums& sums, std::uint32_t count, std::uint64_t power) {
  sums.count += count;
  sums.power += power;
}

// Whether `count` is at least `percent` percent of `total`. Needs no division.
bool IsReached(std::uint32_t percent, std::uint32_t count, std::uint32_t total) {
  const std::uint32_t hundredfold = count * 100U;  // modulo 2^32 on purpose
  return total != 0 && hundredfold >= std::uint64_t{percent} * total;
}

}  // namespace

float LoudnessOfPower(std::uint64_t power) {
  const double level = 10.0 * std::log10(static_cast<double>(power));
  return static_cast<float>(level - kPowerScaleDb - kWeightingOffsetDb);
}

double LoudnessOfCode(std::size_t code) {
  return kAbsoluteGateLkfs + kBinWidthLu * static_cast<double>(code - 1);
}

void PrintEngineFault(const char* format, ...) {
  std::fputs("LOUD C ERR: ", stdout);
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::fflush(stdout);
}

std::array<std::uint64_t, kNumLoudnessCodes> Cbin::BinCenters{};

void Cbin::Reset() {
  Bins.fill(0);
  NumBinnedValues = 0;
  Groups.fill({});
}

void Cbin::InitBinCenters() {
  BinCenters[0] = 0;
  for (std::size_t code = 1; code < kNumLoudnessCodes; ++code)
    BinCenters[code] = BinCenter(code);
}

std::uint16_t Cbin::GetBinIndx(float loudness) {
  const float bins = (loudness - kAbsoluteGateLkfs) / kBinWidthSingle;
  if (!(bins >= 0.0F))  // also true for NaN
    return 0;
  const float code = bins + 1.0F;
  if (code >= static_cast<float>(kNumLoudnessCodes))
    return kMaxLoudnessCode;
  return static_cast<std::uint16_t>(code);
}

void Cbin::Increment(std::uint16_t code) {
  const std::uint16_t bin = BinOf(code);
  ++NumBinnedValues;
  ++Bins[bin];
  Add(Groups[GroupOf(bin)], 1, BinCenters[bin]);
}

void Cbin::Decrement(std::uint16_t code) {
  const std::uint16_t bin = BinOf(code);
  if (NumBinnedValues != 0)
    --NumBinnedValues;
  else
    PrintEngineFault("Tried to decrement when bins are empty.\n");
  if (Bins[bin] == 0) {
    PrintEngineFault("Tried to decrement bin %d when it was empty.\n", bin);
    return;
  }
  --Bins[bin];
  BinSums& group = Groups[GroupOf(bin)];
  --group.count;
  group.power -= BinCenters[bin];
}

float Cbin::GetLoudnessLkfs(float gate) const {
  if (NumBinnedValues == 0)
    return kNoLoudnessLkfs;
  const BinSums sums = SumsFrom(std::max<std::size_t>(GetBinIndx(gate), 1));
  if (sums.count == 0 || sums.count > sums.power)
    return kNoLoudnessLkfs;
  return LoudnessOfPower(sums.power / sums.count);
}

// Adds single bins up to the next group boundary, then whole groups. The result is exact because
// integer sums do not depend on the order, even when they wrap around.
BinSums Cbin::SumsFrom(std::size_t lowestCode) const {
  const std::size_t firstWholeGroup = GroupOf(lowestCode + kCodesPerGroup - 1);
  BinSums sums;
  for (std::size_t code = lowestCode; code < FirstCodeOf(firstWholeGroup); ++code)
    Add(sums, Bins[code], Bins[code] * BinCenters[code]);
  for (std::size_t group = firstWholeGroup; group < kNumCodeGroups; ++group)
    Add(sums, Groups[group].count, Groups[group].power);
  return sums;
}

float Cbin::GetLra(std::uint16_t lowestCode) const {
  const LraEnds ends = GetLraEnds(lowestCode);
  return static_cast<float>((ends.high - ends.low) * kBinWidthLu);
}

LraEnds Cbin::GetLraEnds(std::uint16_t lowestCode) const {
  if (NumBinnedValues == 0)
    return {0, 0};
  const std::uint32_t total = CountFrom(lowestCode);
  return {LowPoint(lowestCode, total), HighPoint(total)};
}

std::uint32_t Cbin::CountFrom(std::uint16_t lowestCode) const {
  std::uint32_t count = 0;
  for (std::size_t code = lowestCode; code < kNumLoudnessCodes; ++code)
    count += Bins[code];
  return count;
}

// The lowest code at which the readings counted from below reach the lower percentage. Code 0 has
// no loudness and is never the end of a range.
int Cbin::LowPoint(std::uint16_t lowestCode, std::uint32_t total) const {
  std::uint32_t count = 0;
  for (std::size_t code = lowestCode; code < kNumLoudnessCodes; ++code) {
    count += Bins[code];
    if (code != 0 && IsReached(kLraPercentBelow, count, total))
      return static_cast<int>(code);
  }
  return 0;
}

// The highest code at which the readings counted from above reach the upper percentage.
int Cbin::HighPoint(std::uint32_t total) const {
  std::uint32_t count = 0;
  for (std::size_t code = kMaxLoudnessCode; code > 0; --code) {
    count += Bins[code];
    if (IsReached(kLraPercentAbove, count, total))
      return static_cast<int>(code);
  }
  return 0;
}
