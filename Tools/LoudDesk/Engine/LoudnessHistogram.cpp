// Counts readings and applies the gates.

#include "LoudnessHistogram.h"

#include <algorithm>

#include "Bin.h"
#include "LoudInteg.h"

namespace louddesk {
namespace {

// Fills the table of powers by code. The engine does so when it is built, but this process may have
// no engine.
void FillBinCenters() {
  static const bool isFilled = (Cbin::InitBinCenters(), true);
  static_cast<void>(isFilled);
}

std::uint64_t Percent(std::uint64_t count, std::uint64_t total) {
  return count * 100 / total;
}

// The first code, counted up from `lowest`, at which the lower percentage is reached.
// REQUIRES: total > 0, and `total` counts the readings from `lowest` on.
std::size_t LowEnd(const std::vector<std::uint64_t>& counts, std::size_t lowest,
                   std::uint64_t total) {
  std::size_t code = lowest;
  for (std::uint64_t count = counts[code]; Percent(count, total) < kLraPercentBelow;)
    count += counts[++code];
  return code;
}

// The first code, counted down from the top, at which the upper percentage is reached.
// REQUIRES: total > 0.
std::size_t HighEnd(const std::vector<std::uint64_t>& counts, std::uint64_t total) {
  std::size_t code = kMaxLoudnessCode;
  for (std::uint64_t count = counts[code]; Percent(count, total) < kLraPercentAbove;)
    count += counts[--code];
  return code;
}

}  // namespace

LoudnessHistogram::LoudnessHistogram(float relativeGate)
    : mRelativeGate(relativeGate), mCounts(kNumLoudnessCodes, 0) {
  FillBinCenters();
}

void LoudnessHistogram::Count(std::uint16_t code) {
  ++mCounts[code];
  if (code == 0)
    return;
  ++mPassed.count;
  mPassed.power += Cbin::BinCenters[code];
  mHighest = std::max<std::size_t>(mHighest, code);
}

void LoudnessHistogram::Add(const LoudnessHistogram& other) {
  for (std::size_t code = 0; code < mCounts.size(); ++code)
    mCounts[code] += other.mCounts[code];
  mPassed.count += other.mPassed.count;
  mPassed.power += other.mPassed.power;
  mHighest = std::max(mHighest, other.mHighest);
}

std::optional<double> LoudnessHistogram::GatedLoudness() const {
  if (mPassed.count == 0)
    return std::nullopt;
  return GatedLkfs();
}

std::optional<double> LoudnessHistogram::RelativeGate() const {
  if (mPassed.count == 0 || GateLkfs() < kAbsoluteGateLkfs)
    return std::nullopt;
  return GateLkfs();
}

std::optional<LoudnessRange> LoudnessHistogram::Range() const {
  const float gate = mPassed.count == 0 ? kNoLoudnessLkfs : GatedLkfs() - kLraGateDepthLu;
  if (gate < kAbsoluteGateLkfs)
    return std::nullopt;
  const std::size_t lowest = Cbin::GetBinIndx(gate);
  const std::uint64_t total = SumFrom(lowest).count;
  const std::size_t low = LowEnd(mCounts, lowest, total);
  const std::size_t high = HighEnd(mCounts, total);
  const int steps = static_cast<int>(high) - static_cast<int>(low);
  return LoudnessRange{LoudnessOfCode(low), LoudnessOfCode(high),
                       static_cast<float>(steps * kBinWidthLu)};
}

LoudnessHistogram::Sum LoudnessHistogram::SumFrom(std::size_t lowestCode) const {
  Sum sum{0, 0};
  for (std::size_t code = std::max<std::size_t>(lowestCode, 1); code <= mHighest; ++code) {
    sum.count += mCounts[code];
    sum.power += static_cast<PowerSum>(mCounts[code]) * Cbin::BinCenters[code];
  }
  return sum;
}

float LoudnessHistogram::GateLkfs() const {
  return LoudnessOfPower(static_cast<std::uint64_t>(mPassed.power / mPassed.count)) + mRelativeGate;
}

// REQUIRES: a reading above the absolute gate. At least one reading is then above the relative gate
// too.
float LoudnessHistogram::GatedLkfs() const {
  const float gate = GateLkfs();
  const Sum sum = gate < kAbsoluteGateLkfs ? mPassed : SumFrom(Cbin::GetBinIndx(gate));
  return LoudnessOfPower(static_cast<std::uint64_t>(sum.power / sum.count));
}

}  // namespace louddesk
