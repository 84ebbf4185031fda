// The figures of any period of a cluster, from the readings that were recorded every second. One
// pass over the seconds, in memory that does not grow with their number.

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

/// What loudness is to be, LKFS, and how far it may be from that on either side, LU.
struct LoudnessAim {
  double target;
  double tolerance;
};

inline bool operator!=(const LoudnessAim& left, const LoudnessAim& right) {
  return left.target != right.target || left.tolerance != right.tolerance;
}

/// An aim from a moment on.
struct AimChange {
  std::int64_t time;  // s since 1970, UTC
  LoudnessAim aim;
};

/// What is asked of a period.
struct PeriodQuestion {
  StationPeriod period;
  Criteria criteria;                    // for passages above limits
  std::optional<LoudnessAim> aim = {};  // throughout; nothing: those that were in force
  std::vector<AimChange> changes = {};  // those in force, in time, the last before the period too
};

/// Of the spans of one kind in a period so many are named, and the others counted.
constexpr std::size_t kMostSpans = 1000;

/// Spans of one kind in a period.
struct PeriodSpans {
  std::vector<StationPeriod> first;  // in time, kMostSpans at most
  std::size_t count = 0;             // of all
  std::int64_t seconds = 0;          // of all

  void Add(const StationPeriod& span);
};

/// What the record says of a period. Of the figures, `seconds` is the time with loudness data, and
/// the times of maxima count from the beginning of the period; they are those at which the reading
/// (of the true peak: its second) ends.
struct PeriodFigures {
  StationPeriod period;
  MeasuredProgramme programme;          // no channels; points as of `PeriodCurve`
  PeriodSpans gaps;                     // what is not in the record
  PeriodSpans unchanged;                // spans with data in which no figure changed, see below
  std::int64_t quietSeconds = 0;        // recorded, but without data: paused, stopped, ...
  std::uint64_t missedReadings = 0;     // of the other seconds, messages that did not come
  std::int64_t invalidSeconds = 0;      // with data, though the programme had no meters
  std::int64_t aimedSeconds = 0;        // with data of meters, and with an aim in force
  std::int64_t aboveSeconds = 0;        // of those, with short-term loudness above its tolerance
  std::int64_t belowSeconds = 0;        // the same below it; silence counts as below
  std::vector<FoundPassages> passages;  // above each limit of the criteria
};

/// A service whose blocks have stopped publishes its last figures for ever. Their readings count,
/// as those of a steady tone do, which look the same; but every span of kNoChangeAfter and more in
/// which no figure changes, silence aside, is named.
///
/// Loudness is gated as ITU-R BS.1770 and EBU Tech 3342 say, by the engine's histograms. The
/// readings are published in tenths of LU, so that each may be off by 0.05 LU, and so may a mean of
/// them at most; Docs/COMPLIANCE.md has more on it. All momentary readings of the period count: the
/// first ones reach up to 400 ms before it.
class PeriodMeter {
 public:
  /// REQUIRES: the period is not empty.
  explicit PeriodMeter(PeriodQuestion question);

  /// Takes the next second; one that is not in the period or not behind the last is passed over.
  void Take(const RecordedSecond& second);

  /// The figures of the whole period.
  PeriodFigures Finish();

 private:
  // Passages above one limit.
  struct Limited {
    const char* name;
    const char* unit;
    PassageGatherer passages;
  };

  void AddLimits();
  void Measure(const RecordedSecond& second);
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
  std::int64_t mNext;              // the first second that was not taken yet
  std::size_t mNextChange = 0;     // of the aim
  StationPeriod mSame;             // the last seconds with data, all with the same figures
  RecordedSecond mLast;            // the last of them
  std::vector<bool> mIsUpperNext;  // by loudness code, see CountMomentary
  std::optional<Limited> mTruePeaks;
  std::optional<Limited> mShortTerms;
  std::optional<Limited> mMomentaries;
};

}  // namespace louddesk
