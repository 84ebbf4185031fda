// Counts the seconds one by one.

#include "PeriodMeter.h"

#include <algorithm>
#include <utility>

#include "Bin.h"
#include "BlockMeter.h"
#include "LoudCalcBase.h"
#include "RecordedReadings.h"
#include "Verdict.h"
#include "WatchModel.h"

namespace louddesk {
namespace {

// Half the width of a loudness code, LU.
constexpr double kHalfCode = kBinWidthLu / 2.0;

constexpr double kSecond = 1.0;
constexpr double kTenth = 1.0 / kBlocksPerSecond;

// A reading in tenths of LU lies on the boundary between two loudness codes. These functions return
// the code above it and the code below it.
std::uint16_t CodeAbove(double loudness) {
  return Cbin::GetBinIndx(static_cast<float>(loudness + kHalfCode));
}

std::uint16_t CodeBelow(double loudness) {
  return Cbin::GetBinIndx(static_cast<float>(loudness - kHalfCode));
}

void Raise(std::optional<double>& maximum, double& at, double reading, double time) {
  if (maximum && reading <= *maximum)
    return;
  maximum = reading;
  at = time;
}

// Whether a second is not silent and all its figures equal those of the second before.
bool IsUnchanged(const RecordedSecond& last, const RecordedSecond& second) {
  const std::int16_t code = second.momentary.front();
  const bool isSteady = std::all_of(second.momentary.begin(), second.momentary.end(),
                                    [code](std::int16_t other) { return other == code; });
  return isSteady && LoudnessOf(code) && second.time == last.time + 1 &&
         second.momentary == last.momentary && second.shortTerm == last.shortTerm &&
         second.truePeak == last.truePeak;
}

double LargestTruePeak() {
  return GetTruePeak(static_cast<std::uint16_t>(kLargestPeak));
}

}  // namespace

void PeriodSpans::Add(const StationPeriod& span) {
  ++count;
  seconds += span.to - span.from;
  if (first.size() < kMostSpans)
    first.push_back(span);
}

PeriodMeter::PeriodMeter(PeriodQuestion question)
    : mQuestion(std::move(question)),
      mCurve(mQuestion.period.to - mQuestion.period.from),
      mNext(mQuestion.period.from),
      mIsUpperNext(kNumLoudnessCodes) {
  mFigures.period = mQuestion.period;
  AddLimits();
}

void PeriodMeter::AddLimits() {
  const LoudnessLimits& limits = mQuestion.criteria.limits;
  if (limits.maxTruePeak)
    mTruePeaks = {"True peak", "dBTP", {*limits.maxTruePeak, kSecond, kMostPassages}};
  if (limits.maxShortTerm)
    mShortTerms = {
        "Short-term loudness", "LKFS", {*limits.maxShortTerm, kShortTermSeconds, kMostPassages}};
  if (limits.maxMomentary)
    mMomentaries = {
        "Momentary loudness", "LKFS", {*limits.maxMomentary, kMomentarySeconds, kMostPassages}};
}

void PeriodMeter::Take(const RecordedSecond& second) {
  if (second.time < mNext || second.time >= mQuestion.period.to)
    return;
  if (second.time > mNext)
    mFigures.gaps.Add({mNext, second.time});
  mNext = second.time + 1;
  if (MissedIn(second) == second.momentary.size()) {
    ++mFigures.quietSeconds;
    return;
  }
  CountMissed(second);
  CompareWithLast(second);
  mFigures.invalidSeconds += second.isSourceValid ? 0 : 1;
  Measure(second);
}

void PeriodMeter::Measure(const RecordedSecond& second) {
  mFigures.programme.figures.seconds += kSecond;
  const std::int64_t offset = second.time - mQuestion.period.from;
  TakeMomentary(offset, second);
  TakeShortTerm(static_cast<double>(offset + 1), second.shortTerm);
  TakeTruePeak(static_cast<double>(offset + 1), second.truePeak);
  CompareWithAim(second);
  mCurve.Take(offset, second,
              mCurve.ShowsIntegratedOf(offset)
                  ? mFigures.programme.readings.momentary.GatedLoudness()
                  : std::nullopt);
}

// If the seconds before or after this one have no data, the measurement begins or ends within it,
// and the readings that it lacks there were never sent.
void PeriodMeter::CountMissed(const RecordedSecond& second) {
  const auto& readings = second.momentary;
  const auto isMissed = [](std::int16_t code) { return code == kMissedReading; };
  const auto first = std::find_if_not(readings.begin(), readings.end(), isMissed);
  const auto behind = std::find_if_not(readings.rbegin(), readings.rend(), isMissed).base();
  if (second.time == mLast.time + 1 || second.time == mQuestion.period.from)
    mFigures.missedReadings += mMissedAtEnd + static_cast<std::uint64_t>(first - readings.begin());
  mFigures.missedReadings += static_cast<std::uint64_t>(std::count_if(first, behind, isMissed));
  mMissedAtEnd = static_cast<std::uint64_t>(readings.end() - behind);
}

void PeriodMeter::CompareWithLast(const RecordedSecond& second) {
  if (!IsUnchanged(mLast, second)) {
    EndUnchanged();
    mSame.from = second.time;
  }
  mSame.to = second.time + 1;
  mLast = second;
}

void PeriodMeter::EndUnchanged() {
  if (std::chrono::seconds(mSame.to - mSame.from) >= kNoChangeAfter)
    mFigures.unchanged.Add(mSame);
}

// A loudness code is 0.02 LU wide and is evaluated at its middle. If readings were always counted
// in the code above or always in the one below, the mean would be half a code too high or too low.
// So equal readings are counted alternately above and below.
void PeriodMeter::CountMomentary(std::int16_t code) {
  LoudnessHistogram& histogram = mFigures.programme.readings.momentary;
  const auto loudness = LoudnessOf(code);
  if (!loudness) {
    histogram.Count(0);
    return;
  }
  const std::uint16_t above = CodeAbove(*loudness);
  const bool isUpper = mIsUpperNext[above];
  mIsUpperNext[above] = !isUpper;
  histogram.Count(isUpper ? above : CodeBelow(*loudness));
}

void PeriodMeter::TakeMomentary(std::int64_t offset, const RecordedSecond& second) {
  Figures& figures = mFigures.programme.figures;
  double end = static_cast<double>(offset);
  for (const std::int16_t code : second.momentary) {
    end += kTenth;
    if (code == kMissedReading)
      continue;
    CountMomentary(code);
    const auto reading = LoudnessOf(code);
    if (!reading)
      continue;
    Raise(figures.maxMomentary, figures.maxMomentaryAt, *reading, end);
    figures.isLoudnessAtLeast = figures.isLoudnessAtLeast || *reading >= kEndOfCodesLkfs;
    if (mMomentaries)
      mMomentaries->passages.Take(end, *reading);
  }
}

void PeriodMeter::TakeShortTerm(double end, std::int16_t code) {
  const auto reading = LoudnessOf(code);
  mFigures.programme.readings.shortTerm.Count(reading ? CodeAbove(*reading) : std::uint16_t{0});
  if (!reading)
    return;
  Figures& figures = mFigures.programme.figures;
  Raise(figures.maxShortTerm, figures.maxShortTermAt, *reading, end);
  if (mShortTerms)
    mShortTerms->passages.Take(end, *reading);
}

void PeriodMeter::TakeTruePeak(double end, std::int16_t code) {
  const auto reading = TruePeakOf(code);
  if (!reading)
    return;
  Figures& figures = mFigures.programme.figures;
  Raise(figures.maxTruePeak, figures.maxTruePeakAt, *reading, end);
  figures.isPeakAtLeast = figures.isPeakAtLeast || !IsWrittenAbove(LargestTruePeak(), *reading);
  if (mTruePeaks)
    mTruePeaks->passages.Take(end, *reading);
}

void PeriodMeter::CompareWithAim(const RecordedSecond& second) {
  const std::optional<LoudnessAim> aim = AimAt(second.time);
  if (!aim || !second.isSourceValid)
    return;
  ++mFigures.aimedSeconds;
  const auto loudness = LoudnessOf(second.shortTerm);
  if (loudness && IsWrittenAbove(*loudness, aim->target + aim->tolerance))
    ++mFigures.aboveSeconds;
  else if (!loudness || IsWrittenAbove(aim->target - aim->tolerance, *loudness))
    ++mFigures.belowSeconds;
}

std::optional<LoudnessAim> PeriodMeter::AimAt(std::int64_t time) {
  if (mQuestion.aim)
    return mQuestion.aim;
  while (mNextChange < mQuestion.changes.size() && mQuestion.changes[mNextChange].time <= time)
    ++mNextChange;
  return mNextChange == 0 ? std::nullopt : std::optional(mQuestion.changes[mNextChange - 1].aim);
}

PeriodFigures PeriodMeter::Finish() {
  if (mNext < mQuestion.period.to)
    mFigures.gaps.Add({mNext, mQuestion.period.to});
  mNext = mQuestion.period.to;
  if (mLast.time + 1 == mQuestion.period.to)
    mFigures.missedReadings += mMissedAtEnd;
  EndUnchanged();
  MeasuredProgramme& programme = mFigures.programme;
  programme.figures.integrated = programme.readings.momentary.GatedLoudness();
  if (const auto range = programme.readings.shortTerm.Range();
      range && !programme.figures.isLoudnessAtLeast)
    programme.figures.lra = range->lu;
  programme.points = mCurve.Points();
  for (const auto* limited : {&mTruePeaks, &mShortTerms, &mMomentaries})
    if (*limited)
      mFigures.passages.push_back({(*limited)->name, (*limited)->unit, (*limited)->passages.First(),
                                   (*limited)->passages.Count()});
  return std::move(mFigures);
}

}  // namespace louddesk
