// Compares figures in whole hundredths.

#include "Verdict.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "FigureText.h"

namespace louddesk {
namespace {

constexpr char kAtLeast[] = "at least ";
constexpr char kBeyond[] = "; how much more is beyond the scale";
constexpr char kNothingMeasured[] = "There is no reading, so nothing is judged";

// A figure that can have a limit.
struct FigureKind {
  const char* name;
  const char* key;
  const char* unit;
  const char* distanceUnit;
  std::optional<double> Figures::*value;
  bool Figures::*isAtLeast;                        // null: never exceeds its scale
  std::optional<double> LoudnessLimits::*lowest;   // null: no such limit
  std::optional<double> LoudnessLimits::*highest;  // null: judged by target and tolerance

  bool HasTarget() const { return highest == nullptr; }
};

constexpr FigureKind kFigureKinds[] = {
    {"Integrated loudness", "Integrated", " LKFS", " LU", &Figures::integrated,
     &Figures::isLoudnessAtLeast, nullptr, nullptr},
    {"Maximum true peak", "MaxTruePeak", " dBTP", " dB", &Figures::maxTruePeak,
     &Figures::isPeakAtLeast, nullptr, &LoudnessLimits::maxTruePeak},
    {"Maximum short-term loudness", "MaxShortTerm", " LKFS", " LU", &Figures::maxShortTerm,
     &Figures::isLoudnessAtLeast, nullptr, &LoudnessLimits::maxShortTerm},
    {"Maximum momentary loudness", "MaxMomentary", " LKFS", " LU", &Figures::maxMomentary,
     &Figures::isMomentaryAtLeast, nullptr, &LoudnessLimits::maxMomentary},
    {"Loudness range", "Lra", " LU", " LU", &Figures::lra, nullptr, &LoudnessLimits::minRange,
     &LoudnessLimits::maxRange},
};

struct JudgementWords {
  const char* forPeople;
  const char* forPrograms;  // empty: none
};

// Indexed by Judgement.
constexpr JudgementWords kWords[] = {{"Pass", "pass"},
                                     {"Fail", "fail"},
                                     {"No reading", "open"},
                                     {"Open", "open"},
                                     {"Not judged", ""}};
static_assert(std::size(kWords) == static_cast<std::size_t>(Judgement::kNotJudged) + 1);

// Parsed from the text, so that ties round the same way as in the text.
long Hundredths(double figure) {
  return std::lround(std::stod(FigureText(figure)) * 100.0);
}

double FromHundredths(long hundredths) {
  return static_cast<double>(hundredths) / 100.0;
}

AllowedRange RangeFor(const FigureKind& kind, const Criteria& criteria) {
  const LoudnessLimits& limits = criteria.limits;
  if (!kind.HasTarget())
    return {kind.lowest == nullptr ? std::nullopt : limits.*kind.lowest, limits.*kind.highest};
  if (!criteria.target || !limits.tolerance)
    return {};
  return {*criteria.target - *limits.tolerance, *criteria.target + *limits.tolerance};
}

std::string AllowedText(const FigureKind& kind, const AllowedRange& range,
                        const Criteria& criteria) {
  if (kind.HasTarget())
    return FigureText(*criteria.target) + kind.unit + " " + kPlusMinus +
           FigureText(*criteria.limits.tolerance) + kind.distanceUnit;
  if (range.lowest && range.highest)
    return FigureText(*range.lowest) + " to " + FigureText(*range.highest) + kind.unit;
  return range.highest ? "at most " + FigureText(*range.highest) + kind.unit
                       : kAtLeast + FigureText(*range.lowest) + kind.unit;
}

const char* NameOfLimit(const AllowedRange& range, bool isLowest) {
  if (range.lowest && range.highest)
    return isLowest ? " the lower limit" : " the upper limit";
  return " the limit";
}

// "0.10 LU below the target". Compares loudness with the target, other figures with the nearer
// limit.
std::string DistanceText(const FigureKind& kind, double measured, const AllowedRange& range,
                         const Criteria& criteria) {
  const long value = Hundredths(measured);
  const bool isLowest =
      !range.highest || (range.lowest && measured - *range.lowest < *range.highest - measured);
  const double beside = kind.HasTarget() ? *criteria.target
                        : isLowest       ? *range.lowest
                                         : *range.highest;
  const long distance = value - Hundredths(beside);
  const char* place = kind.HasTarget() ? " the target" : NameOfLimit(range, isLowest);
  if (distance == 0)
    return std::string("on") + place;
  return FigureText(FromHundredths(std::labs(distance))) + kind.distanceUnit +
         (distance > 0 ? " above" : " below") + place;
}

void Judge(Verdict& verdict, const FigureKind& kind, bool isAtLeast, const Criteria& criteria) {
  const AllowedRange& range = verdict.range;
  const bool isTooHigh = range.highest && IsWrittenAbove(*verdict.measured, *range.highest);
  const bool isTooLow = range.lowest && IsWrittenAbove(*range.lowest, *verdict.measured);
  const std::string written =
      (isAtLeast ? kAtLeast : "") + FigureText(*verdict.measured) + kind.unit;
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
    const AllowedRange range = RangeFor(kind, criteria);
    if (!IsLimited(range))
      continue;
    std::string name = kind.name;
    name.front() = static_cast<char>(name.front() - 'A' + 'a');
    text += (text.empty() ? ": " : ", ") + name + " " + AllowedText(kind, range, criteria);
  }
  if (text.empty() && criteria.target)
    text = ": target " + FigureText(*criteria.target) + " LKFS, nothing is judged";
  return criteria.title + text;
}

std::vector<Verdict> VerdictsOn(const Figures& figures, const Criteria& criteria) {
  std::vector<Verdict> verdicts;
  for (const FigureKind& kind : kFigureKinds) {
    const AllowedRange range = RangeFor(kind, criteria);
    if (!IsLimited(range))
      continue;
    Verdict verdict{Judgement::kNoReading, kind.key,  range,
                    figures.*kind.value,   kind.name, AllowedText(kind, range, criteria),
                    kNothingMeasured};
    if (verdict.measured)
      Judge(verdict, kind, kind.isAtLeast != nullptr && figures.*kind.isAtLeast, criteria);
    verdicts.push_back(std::move(verdict));
  }
  return verdicts;
}

const char* WordFor(Judgement judgement) {
  return kWords[static_cast<std::size_t>(judgement)].forPeople;
}

const char* MachineWordFor(Judgement judgement) {
  return kWords[static_cast<std::size_t>(judgement)].forPrograms;
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
