// Seconds of a record for tests.

#pragma once

#include <cstdint>
#include <vector>

#include "PeriodMeter.h"

namespace louddesk {

/// 2024-11-19T00:00:00Z.
constexpr std::int64_t kTuesday = 1731974400;

/// A second with ten momentary readings and one short-term reading, all of `tenths` (0.1 LKFS).
inline RecordedSecond SecondAt(std::int64_t time, std::int16_t tenths) {
  RecordedSecond second;
  second.time = time;
  second.momentary.fill(tenths);
  second.shortTerm = tenths;
  second.truePeak = -600;
  second.state = RecordedState::kRunning;
  second.isSourceValid = true;
  return second;
}

/// Appends `count` such seconds.
inline void Append(std::vector<RecordedSecond>& seconds, int count, std::int16_t tenths) {
  for (int i = 0; i < count; ++i)
    seconds.push_back(SecondAt(seconds.empty() ? kTuesday : seconds.back().time + 1, tenths));
}

/// The period that all these seconds cover.
inline StationPeriod PeriodOf(const std::vector<RecordedSecond>& seconds) {
  return {seconds.front().time, seconds.back().time + 1};
}

inline PeriodFigures FiguresOf(const std::vector<RecordedSecond>& seconds,
                               const PeriodQuestion& question) {
  PeriodMeter meter(question);
  for (const RecordedSecond& second : seconds)
    meter.Take(second);
  return meter.Finish();
}

inline PeriodFigures FiguresOf(const std::vector<RecordedSecond>& seconds) {
  return FiguresOf(seconds, {PeriodOf(seconds), {}});
}

}  // namespace louddesk
