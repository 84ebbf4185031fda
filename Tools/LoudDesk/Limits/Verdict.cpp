// Verdicts, counted in hundredths.

#include "Verdict.h"

#include <cmath>

#include "FigureText.h"

namespace louddesk {
namespace {

constexpr char kPlusMinus[] = "\xC2\xB1";  // the sign in UTF-8

constexpr char kIntegratedName[] = "Integrated loudness";
constexpr char kTruePeakName[] = "Maximum true peak";
constexpr char kAtLeast[] = "at least ";
constexpr char kBeyond[] = "; how much more is beyond the scale";
constexpr char kNothingMeasured[] = "There is no reading, so nothing is judged";

// Read back from the text, because that is what decides where a tie goes.
long Hundredths(double figure) {
  return std::lround(std::stod(FigureText(figure, "")) * 100.0);
}

std::string Text(long hundredths) {
  return FigureText(static_cast<double>(hundredths) / 100.0, "");
}

// A finding on a figure that may be more than it reads and still be within the limit.
void LeaveOpen(Verdict& verdict, const std::string& figure) {
  verdict.judgement = Judgement::kOpen;
  verdict.finding = kAtLeast + figure + kBeyond;
}

std::string AllowedLoudness(const LoudnessLimits& limits) {
  return FigureText(limits.target, "") + " LKFS " + kPlusMinus + FigureText(limits.tolerance, "") +
         " LU";
}

Verdict JudgeLoudness(const Figures& figures, const LoudnessLimits& limits) {
  const std::optional<double>& integrated = figures.integrated;
  Verdict verdict{Judgement::kNoReading, kIntegratedName, AllowedLoudness(limits),
                  kNothingMeasured};
  if (!integrated)
    return verdict;
  const long distance = Hundredths(*integrated) - Hundredths(limits.target);
  const bool passes = std::labs(distance) <= Hundredths(limits.tolerance);
  const std::string written = FigureText(integrated, "") + " LKFS";
  if (figures.isLoudnessAtLeast && distance <= Hundredths(limits.tolerance)) {
    LeaveOpen(verdict, written);
    return verdict;
  }
  verdict.judgement = passes ? Judgement::kPass : Judgement::kFail;
  verdict.finding = (figures.isLoudnessAtLeast ? kAtLeast : "") + written + ", ";
  if (distance == 0)
    verdict.finding += "on the target";
  else
    verdict.finding +=
        Text(std::labs(distance)) + " LU " + (distance > 0 ? "above" : "below") + " the target";
  return verdict;
}

Verdict JudgeTruePeak(const Figures& figures, const LoudnessLimits& limits) {
  const std::optional<double>& maxTruePeak = figures.maxTruePeak;
  Verdict verdict{Judgement::kNoReading, kTruePeakName,
                  "at most " + FigureText(limits.maxTruePeak, "") + " dBTP", kNothingMeasured};
  if (!maxTruePeak)
    return verdict;
  const long excess = Hundredths(*maxTruePeak) - Hundredths(limits.maxTruePeak);
  const std::string written = FigureText(maxTruePeak, "") + " dBTP";
  if (figures.isPeakAtLeast && excess <= 0) {
    LeaveOpen(verdict, written);
    return verdict;
  }
  verdict.judgement = excess <= 0 ? Judgement::kPass : Judgement::kFail;
  verdict.finding = (figures.isPeakAtLeast ? kAtLeast : "") + written + ", ";
  if (excess == 0)
    verdict.finding += "on the limit";
  else
    verdict.finding +=
        Text(std::labs(excess)) + " dB " + (excess > 0 ? "above" : "below") + " the limit";
  return verdict;
}

}  // namespace

std::string LimitsText(const LoudnessLimits& limits) {
  const bool isR128 = Hundredths(limits.target) == Hundredths(kR128TargetLkfs) &&
                      Hundredths(limits.maxTruePeak) == Hundredths(kR128MaxTruePeakDbtp);
  const long tolerance = Hundredths(limits.tolerance);
  std::string name = "Chosen limits";
  if (isR128 && tolerance == Hundredths(kR128ToleranceLu))
    name = "EBU R 128";
  else if (isR128 && tolerance == Hundredths(kR128LiveToleranceLu))
    name = "EBU R 128, live";
  return name + ": integrated loudness " + AllowedLoudness(limits) + ", true peak at most " +
         FigureText(limits.maxTruePeak, "") + " dBTP";
}

std::vector<Verdict> VerdictsOn(const Figures& figures, const LoudnessLimits& limits) {
  return {JudgeLoudness(figures, limits), JudgeTruePeak(figures, limits)};
}

const char* WordFor(Judgement judgement) {
  switch (judgement) {
    case Judgement::kPass:
      return "Pass";
    case Judgement::kFail:
      return "Fail";
    case Judgement::kOpen:
      return "Open";
    case Judgement::kNoReading:
      break;
  }
  return "No reading";
}

Judgement OverallJudgement(const std::vector<Verdict>& verdicts) {
  Judgement overall = Judgement::kPass;
  for (const Verdict& verdict : verdicts) {
    if (verdict.judgement == Judgement::kFail)
      return Judgement::kFail;
    if (verdict.judgement == Judgement::kNoReading ||
        (verdict.judgement == Judgement::kOpen && overall == Judgement::kPass))
      overall = verdict.judgement;
  }
  return overall;
}

}  // namespace louddesk
