// Counting by the published codes; gating by the engine's own histogram.

#include "MomentaryReadings.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include "Bin.h"

namespace loudgate {
namespace {

// ITU-R BS.1770, Annex 1: how far the relative gate lies below the loudness above the absolute one.
constexpr float kRelativeGateLu = -10.0F;

constexpr float kCodesPerLu = 10.0F;
const auto kAbsoluteGateCode = static_cast<std::int16_t>(kAbsoluteGateLkfs * kCodesPerLu);

// The powers of the codes are the same for all histograms.
std::unique_ptr<Cbin> MakeBins() {
  static const bool isFilled = (Cbin::InitBinCenters(), true);
  static_cast<void>(isFilled);
  return std::make_unique<Cbin>();
}

void Gate(ReadingHistogram& histogram, const Cbin& bins) {
  const float ungated = bins.GetLoudnessLkfs(kAbsoluteGateLkfs);
  if (ungated == kNoLoudnessLkfs)
    return;
  const float gate = ungated + kRelativeGateLu;
  if (gate >= kAbsoluteGateLkfs)
    histogram.relativeGate = gate;
  histogram.gated = bins.GetLoudnessLkfs(std::max(gate, kAbsoluteGateLkfs));
}

}  // namespace

void MomentaryReadings::Take(std::int16_t code) {
  mCodes.push_back(code);
  if (mCodes.size() > kMaxReadings)
    mCodes.pop_front();
}

void MomentaryReadings::DropLast(std::size_t count) {
  mCodes.resize(mCodes.size() - std::min(count, mCodes.size()));
}

ReadingHistogram MomentaryReadings::Histogram() const {
  ReadingHistogram histogram;
  histogram.readings = mCodes.size();
  std::vector<std::int16_t> above;
  std::copy_if(mCodes.begin(), mCodes.end(), std::back_inserter(above),
               [](std::int16_t code) { return code >= kAbsoluteGateCode; });
  histogram.belowGate = mCodes.size() - above.size();
  if (above.empty())
    return histogram;
  const auto [lowest, highest] = std::minmax_element(above.begin(), above.end());
  histogram.lowest = *lowest;
  histogram.counts.resize(static_cast<std::size_t>(*highest - *lowest) + 1);
  const auto bins = MakeBins();
  for (const std::int16_t code : above) {
    ++histogram.counts[static_cast<std::size_t>(code - histogram.lowest)];
    bins->Increment(Cbin::GetBinIndx(static_cast<float>(code) / kCodesPerLu));
  }
  Gate(histogram, *bins);
  return histogram;
}

}  // namespace loudgate
