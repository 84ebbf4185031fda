// The figures of any period of a cluster, calculated from its recorded seconds. One pass over the
// seconds; memory does not grow with their number.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "LoudnessLimits.h"
#include "MeasuredFile.h"
#include "PeriodCurve.h"
#include "RecordedSecond.h"
#include "ReportTables.h"
#include "StationReader.h"

namespace louddesk {

/// A target loudness, LKFS, and the permitted deviation up or down, LU.
struct LoudnessAim {
  double target;
  double tolerance;
};

inline bool operator!=(const LoudnessAim& left, const LoudnessAim& right) {
  return left.target != right.target || left.tolerance != right.tolerance;
}

/// An aim and the time from which it applies.
struct AimChange {
  std::int64_t time;  // s since 1970, UTC
  LoudnessAim aim;
};

/// The figures to calculate, and for which period.
struct PeriodQuestion {
  StationPeriod period;
  Criteria criteria;                    // for passages above limits
  std::optional<LoudnessAim> aim = {};  // for the whole period; nothing: as in `changes`
  std::vector<AimChange> changes = {};  // in order of time, from the last one before the period on
};

/// At most this many spans of a kind are listed; the rest are only counted.
constexpr std::size_t kMostSpans = 1000;

/// Spans of one kind in a period.
struct PeriodSpans {
  std::vector<StationPeriod> first;  // in order of time, at most kMostSpans
  std::size_t count = 0;             // number of all spans
  std::int64_t seconds = 0;          // length of all spans together

  void Add(const StationPeriod& span);
};

/// The figures of a period. `seconds` is the time with loudness data. The times of maxima count
/// from the beginning of the period. They are the times at which the reading ends; for the true
/// peak, the end of its second.
struct PeriodFigures {
  StationPeriod period;
  MeasuredProgramme programme;       // no channels; points from `PeriodCurve`
  PeriodSpans gaps;                  // seconds missing from the record
  PeriodSpans unchanged;             // spans with data in which no figure changed, see below
  std::int64_t quietSeconds = 0;     // recorded, but without data: paused, stopped, ...
  std::uint64_t missedReadings = 0;  // messages missed in the other seconds while it measured
  std::int64_t invalidSeconds = 0;   // with data, though the programme had no meters
  std::int64_t aimedSeconds = 0;     // with data and meters while an aim was in force
  std::int64_t aboveSeconds = 0;  // of aimedSeconds, with short-term loudness above the tolerance
  std::int64_t belowSeconds = 0;  // of aimedSeconds, below the tolerance or silent
  std::vector<FoundPassages> passages;  // above each limit of the criteria
};

/// If blocks stop, the service keeps publishing its last figures. These readings are counted,
/// because a steady tone looks the same. But every span of kNoChangeAfter or longer in which no
/// figure changes is reported, except silence.
///
/// The engine's histograms gate the loudness by ITU-R BS.1770 and EBU Tech 3342. Readings are
/// published in tenths of LU, so each has an error of up to 0.05 LU, and their mean has no larger
/// one; see Docs/COMPLIANCE.md. All momentary readings of the period count, although the first ones
/// include up to 400 ms before it.
class PeriodMeter {
 public:
  /// REQUIRES: the period is not empty.
  explicit PeriodMeter(PeriodQuestion question);

  /// Adds the next second. A second outside the period or not later than the last one is ignored.
  void Take(const RecordedSecond& second);

  /// The figures of the whole period.
  PeriodFigures Finish();

 private:
  // The passages above one limit.
  struct Limited {
    const char* name;
    const char* unit;
    PassageGatherer passages;
  };

  void AddLimits();
  void Measure(const RecordedSecond& second);
  void CountMissed(const RecordedSecond& second);
  void CompareWithLast(const RecordedSecond& second);
  void EndUnchanged();
  void CountMomentary(std::int16_t code);
  void TakeMomentary(std::int64_t offset, const RecordedSecond& second);
  void TakeShortTerm(double end, std::int16_t code);
  void TakeTruePeak(double end, std::int16_t code);
  void CompareWithAim(const RecordedSecond& second);
  std::optional<LoudnessAim> AimAt(std::int64_t time);

  PeriodQuestion mQuestion;
  PeriodFigures mFigures;
  PeriodCurve mCurve;
  std::int64_t mNext;              // the first second that has not been processed yet
  std::size_t mNextChange = 0;     // index of the next change of the aim
  StationPeriod mSame;             // the latest seconds with data, all with equal figures
  RecordedSecond mLast;            // the last second with data
  std::uint64_t mMissedAtEnd = 0;  // messages missed at the end of mLast
  std::vector<bool> mIsUpperNext;  // by loudness code, see CountMomentary
  std::optional<Limited> mTruePeaks;
  std::optional<Limited> mShortTerms;
  std::optional<Limited> mMomentaries;
};

}  // namespace louddesk
