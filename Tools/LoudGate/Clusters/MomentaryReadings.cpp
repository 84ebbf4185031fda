// Counts by published code, and gates with the histogram that also measures programmes.

#include "MomentaryReadings.h"

#include <algorithm>
#include <iterator>

#include "Bin.h"
#include "LoudCalcBase.h"
#include "LoudnessHistogram.h"

namespace loudgate {
namespace {

constexpr float kCodesPerLu = 10.0F;
const auto kAbsoluteGateCode = static_cast<std::int16_t>(kAbsoluteGateLkfs * kCodesPerLu);

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
  louddesk::LoudnessHistogram loudness(kLoudnessGateLu);
  for (const std::int16_t code : above) {
    ++histogram.counts[static_cast<std::size_t>(code - histogram.lowest)];
    loudness.Count(Cbin::GetBinIndx(static_cast<float>(code) / kCodesPerLu));
  }
  histogram.relativeGate = loudness.RelativeGate();
  histogram.gated = loudness.GatedLoudness();
  return histogram;
}

}  // namespace loudgate
