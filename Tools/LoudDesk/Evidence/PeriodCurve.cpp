// Collects the extremes of stretches.

#include "PeriodCurve.h"

#include <algorithm>

#include "RecordedReadings.h"

namespace louddesk {
namespace {

// Two for each column of a plot, so that no column between others lacks a reading.
constexpr std::int64_t kMostStretches = 1800;

std::int64_t DivideRoundingUp(std::int64_t value, std::int64_t by) {
  return (value + by - 1) / by;
}

std::optional<float> Single(const std::optional<double>& figure) {
  return figure ? std::optional(static_cast<float>(*figure)) : std::nullopt;
}

}  // namespace

void PeriodCurve::Extremes::Take(float reading) {
  low = std::min(low.value_or(reading), reading);
  high = std::max(high.value_or(reading), reading);
}

PeriodCurve::PeriodCurve(std::int64_t seconds)
    : mSeconds(seconds),
      mStep(DivideRoundingUp(seconds, kMostStretches)),
      mStretches(static_cast<std::size_t>(DivideRoundingUp(seconds, mStep))) {}

void PeriodCurve::Take(std::int64_t offset, const RecordedSecond& second,
                       const std::optional<double>& integrated) {
  Stretch& stretch = mStretches[static_cast<std::size_t>(offset / mStep)];
  for (const std::int16_t code : second.momentary)
    if (const auto reading = MomentaryOf(code))
      stretch.momentary.Take(static_cast<float>(*reading));
  if (const auto reading = LoudnessOf(second.shortTerm))
    stretch.shortTerm.Take(static_cast<float>(*reading));
  if (const auto reading = Single(TruePeakOf(second.truePeak))) {
    if (*reading > stretch.truePeak.high.value_or(*reading - 1.0F))
      stretch.highestPeakAt = static_cast<double>(offset + 1);
    stretch.truePeak.Take(*reading);
  }
  if (integrated)
    stretch.integrated = Single(integrated);
}

bool PeriodCurve::ShowsIntegratedOf(std::int64_t offset) const {
  return (offset + 1) % mStep == 0 || offset + 1 == mSeconds;
}

std::vector<SeriesPoint> PeriodCurve::Points() const {
  std::vector<SeriesPoint> points;
  std::int64_t end = 0;
  for (const Stretch& stretch : mStretches) {
    const auto begin = static_cast<double>(end);
    end = std::min(end + mStep, mSeconds);
    const double highestAt = stretch.truePeak.high ? stretch.highestPeakAt : begin;
    points.push_back({highestAt,
                      stretch.momentary.high,
                      stretch.shortTerm.high,
                      stretch.integrated,
                      {},
                      stretch.truePeak.high});
    points.push_back({static_cast<double>(end),
                      stretch.momentary.low,
                      stretch.shortTerm.low,
                      stretch.integrated,
                      {},
                      stretch.truePeak.low});
  }
  return points;
}

}  // namespace louddesk
