// Verdicts, counted in hundredths.

#include "Verdict.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "FigureText.h"

namespace louddesk {
namespace {

constexpr char kPlusMinus[] = "\xC2\xB1";  // the sign in UTF-8

constexpr char kAtLeast[] = "at least ";
constexpr char kBeyond[] = "; how much more is beyond the scale";
constexpr char kNothingMeasured[] = "There is no reading, so nothing is judged";

// A figure that limits are about.
struct FigureKind {
  LimitedFigure figure;
  const char* name;
  const char* unit;
  const char* distanceUnit;
  std::optional<double> Figures::*value;
  bool Figures::*isAtLeast;  // null: always within its scale
};

constexpr FigureKind kFigureKinds[] = {
    {LimitedFigure::kIntegrated, "Integrated loudness", " LKFS", " LU", &Figures::integrated,
     &Figures::isLoudnessAtLeast},
    {LimitedFigure::kMaxTruePeak, "Maximum true peak", " dBTP", " dB", &Figures::maxTruePeak,
     &Figures::isPeakAtLeast},
    {LimitedFigure::kMaxShortTerm, "Maximum short-term loudness", " LKFS", " LU",
     &Figures::maxShortTerm, &Figures::isLoudnessAtLeast},
    {LimitedFigure::kMaxMomentary, "Maximum momentary loudness", " LKFS", " LU",
     &Figures::maxMomentary, &Figures::isMomentaryAtLeast},
    {LimitedFigure::kLra, "Loudness range", " LU", " LU", &Figures::lra, nullptr},
};

// Read back from the text, because that is what decides where a tie goes.
long Hundredths(double figure) {
  return std::lround(std::stod(FigureText(figure, "")) * 100.0);
}

double FromHundredths(long hundredths) {
  return static_cast<double>(hundredths) / 100.0;
}

std::string Text(double figure) {
  return FigureText(figure, "");
}

AllowedRange RangeFor(LimitedFigure figure, const Criteria& criteria) {
  const LoudnessLimits& limits = criteria.limits;
  switch (figure) {
    case LimitedFigure::kIntegrated:
      if (!criteria.target || !limits.tolerance)
        return {};
      return {*criteria.target - *limits.tolerance, *criteria.target + *limits.tolerance};
    case LimitedFigure::kMaxTruePeak:
      return {std::nullopt, limits.maxTruePeak};
    case LimitedFigure::kMaxShortTerm:
      return {std::nullopt, limits.maxShortTerm};
    case LimitedFigure::kMaxMomentary:
      return {std::nullopt, limits.maxMomentary};
    case LimitedFigure::kLra:
      break;
  }
  return {limits.minRange, limits.maxRange};
}

std::string AllowedText(const FigureKind& kind, const AllowedRange& range,
                        const Criteria& criteria) {
  if (kind.figure == LimitedFigure::kIntegrated)
    return Text(*criteria.target) + kind.unit + " " + kPlusMinus +
           Text(*criteria.limits.tolerance) + kind.distanceUnit;
  if (range.lowest && range.highest)
    return Text(*range.lowest) + " to " + Text(*range.highest) + kind.unit;
  return range.highest ? "at most " + Text(*range.highest) + kind.unit
                       : kAtLeast + Text(*range.lowest) + kind.unit;
}

const char* NameOfLimit(const AllowedRange& range, bool isLowest) {
  if (range.lowest && range.highest)
    return isLowest ? " the lower limit" : " the upper limit";
  return " the limit";
}

// "0.10 LU below the target". Beside the target of loudness, beside the nearer limit of others.
std::string DistanceText(const FigureKind& kind, double measured, const AllowedRange& range,
                         const Criteria& criteria) {
  const long value = Hundredths(measured);
  const bool hasTarget = kind.figure == LimitedFigure::kIntegrated;
  const bool isLowest =
      !range.highest || (range.lowest && measured - *range.lowest < *range.highest - measured);
  const double beside = hasTarget ? *criteria.target : isLowest ? *range.lowest : *range.highest;
  const long distance = value - Hundredths(beside);
  const char* place = hasTarget ? " the target" : NameOfLimit(range, isLowest);
  if (distance == 0)
    return std::string("on") + place;
  return Text(FromHundredths(std::labs(distance))) + kind.distanceUnit +
         (distance > 0 ? " above" : " below") + place;
}

void Judge(Verdict& verdict, const FigureKind& kind, bool isAtLeast, const Criteria& criteria) {
  const AllowedRange& range = verdict.range;
  const bool isTooHigh = range.highest && IsWrittenAbove(*verdict.measured, *range.highest);
  const bool isTooLow = range.lowest && IsWrittenAbove(*range.lowest, *verdict.measured);
  const std::string written = (isAtLeast ? kAtLeast : "") + Text(*verdict.measured) + kind.unit;
  if (isAtLeast && !isTooHigh) {
    verdict.judgement = Judgement::kOpen;
    verdict.finding = written + kBeyond;
    return;
  }
  verdict.judgement = isTooHigh || isTooLow ? Judgement::kFail : Judgement::kPass;
  verdict.finding = written + ", " + DistanceText(kind, *verdict.measured, range, criteria);
}

bool IsLimited(const AllowedRange& range) {
  return range.lowest || range.highest;
}

}  // namespace

bool IsWrittenAbove(double figure, double limit) {
  return Hundredths(figure) > Hundredths(limit);
}

std::string CriteriaText(const Criteria& criteria) {
  std::string text;
  for (const FigureKind& kind : kFigureKinds) {
    const AllowedRange range = RangeFor(kind.figure, criteria);
    if (!IsLimited(range))
      continue;
    std::string name = kind.name;
    name.front() = static_cast<char>(name.front() - 'A' + 'a');
    text += (text.empty() ? ": " : ", ") + name + " " + AllowedText(kind, range, criteria);
  }
  if (text.empty() && criteria.target)
    text = ": target " + Text(*criteria.target) + " LKFS, nothing is judged";
  return criteria.title + text;
}

std::vector<Verdict> VerdictsOn(const Figures& figures, const Criteria& criteria) {
  std::vector<Verdict> verdicts;
  for (const FigureKind& kind : kFigureKinds) {
    const AllowedRange range = RangeFor(kind.figure, criteria);
    if (!IsLimited(range))
      continue;
    Verdict verdict{Judgement::kNoReading, kind.figure, range,
                    figures.*kind.value,   kind.name,   AllowedText(kind, range, criteria),
                    kNothingMeasured};
    if (verdict.measured)
      Judge(verdict, kind, kind.isAtLeast != nullptr && figures.*kind.isAtLeast, criteria);
    verdicts.push_back(std::move(verdict));
  }
  return verdicts;
}

const char* WordFor(Judgement judgement) {
  switch (judgement) {
    case Judgement::kPass:
      return "Pass";
    case Judgement::kFail:
      return "Fail";
    case Judgement::kOpen:
      return "Open";
    case Judgement::kNotJudged:
      return "Not judged";
    case Judgement::kNoReading:
      break;
  }
  return "No reading";
}

Judgement OverallJudgement(const std::vector<Verdict>& verdicts) {
  Judgement overall = verdicts.empty() ? Judgement::kNotJudged : Judgement::kPass;
  for (const Verdict& verdict : verdicts) {
    if (verdict.judgement == Judgement::kFail)
      return Judgement::kFail;
    if (verdict.judgement == Judgement::kNoReading ||
        (verdict.judgement == Judgement::kOpen && overall == Judgement::kPass))
      overall = verdict.judgement;
  }
  return overall;
}

TargetGain GainOf(const Figures& figures, const Criteria& criteria) {
  TargetGain gain;
  if (!criteria.target || !figures.integrated || figures.isLoudnessAtLeast)
    return gain;
  const long toTarget = Hundredths(*criteria.target) - Hundredths(*figures.integrated);
  gain.toTarget = FromHundredths(toTarget);
  if (!criteria.peakCeiling || !figures.maxTruePeak)
    gain.withinPeak = gain.toTarget;
  else if (!figures.isPeakAtLeast)
    gain.withinPeak = FromHundredths(
        std::min(toTarget, Hundredths(*criteria.peakCeiling) - Hundredths(*figures.maxTruePeak)));
  return gain;
}

}  // namespace louddesk
