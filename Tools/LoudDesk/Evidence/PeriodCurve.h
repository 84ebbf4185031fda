// The readings of a period thinned out for plots, in memory that does not grow with its length.

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
  /// Of a period of so many seconds. REQUIRES: seconds > 0.
  explicit PeriodCurve(std::int64_t seconds);

  /// Takes the second that begins `offset` seconds after the period did, and the integrated
  /// loudness of the period up to its end. REQUIRES: 0 <= offset < length of the period.
  void Take(std::int64_t offset, const RecordedSecond& second,
            const std::optional<double>& integrated);

  /// Whether the integrated loudness at the end of this second is shown. Finding it takes a pass
  /// over a histogram, which is not worth its time for every second of a month.
  bool ShowsIntegratedOf(std::int64_t offset) const;

  /// Two points for each stretch of the period, one with the highest readings and one with the
  /// lowest, the last at the end of the period. Nothing in those of stretches without a reading.
  std::vector<SeriesPoint> Points() const;

 private:
  struct Extremes {
    std::optional<float> low;
    std::optional<float> high;

    void Take(float reading);
  };

  // Neighbouring seconds as one.
  struct Stretch {
    Extremes momentary;               // LKFS
    Extremes shortTerm;               // LKFS
    Extremes truePeak;                // dBTP
    double highestPeakAt = 0.0;       // end of its second, s since the beginning
    std::optional<float> integrated;  // LKFS
  };

  std::int64_t mSeconds;
  std::int64_t mStep;  // s of a stretch
  std::vector<Stretch> mStretches;
};

}  // namespace louddesk
