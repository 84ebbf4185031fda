// The readings of a period, thinned out for plots. Memory does not grow with the length of the
// period.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "MeasuredFile.h"
#include "RecordedSecond.h"

namespace louddesk {

class PeriodCurve {
 public:
  /// A curve for a period of `seconds`. REQUIRES: seconds > 0.
  explicit PeriodCurve(std::int64_t seconds);

  /// Adds the second that begins `offset` seconds after the beginning of the period, and the
  /// integrated loudness from the beginning of the period to the end of this second.
  /// REQUIRES: 0 <= offset < length of the period.
  void Take(std::int64_t offset, const RecordedSecond& second,
            const std::optional<double>& integrated);

  /// Whether the curve shows the integrated loudness at the end of this second. Computing it takes
  /// a pass over a histogram, which is too slow for every second of a month.
  bool ShowsIntegratedOf(std::int64_t offset) const;

  /// Two points for each stretch of the period: the first with the highest readings, the second
  /// with the lowest and at the end of the stretch. Without a reading in the stretch, they have no
  /// value.
  std::vector<SeriesPoint> Points() const;

 private:
  struct Extremes {
    std::optional<float> low;
    std::optional<float> high;

    void Take(float reading);
  };

  // Adjacent seconds that are shown together.
  struct Stretch {
    Extremes momentary;               // LKFS
    Extremes shortTerm;               // LKFS
    Extremes truePeak;                // dBTP
    double highestPeakAt = 0.0;       // end of its second, s since the beginning of the period
    std::optional<float> integrated;  // at the end of the stretch, LKFS
  };

  std::int64_t mSeconds;
  std::int64_t mStep;  // s in a stretch
  std::vector<Stretch> mStretches;
};

}  // namespace louddesk
