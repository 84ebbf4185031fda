// The verdict on each limit that a programme has to keep, and the gain that would bring it to its
// target. Stateless.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Figures.h"
#include "LoudnessLimits.h"

namespace louddesk {

enum class Judgement {
  kPass,
  kFail,
  kNoReading,  // nothing to judge, as in silence
  kOpen,       // at least what the scale ends at, which is within the limit
  kNotJudged,  // there is no limit
};

/// One limit and how a programme stands to it.
struct Verdict {
  Judgement judgement = Judgement::kNoReading;
  const char* key = "";            // of the figure in JSON: "Integrated"
  AllowedRange range;              // that the figure has to be in
  std::optional<double> measured;  // the figure; nothing where there is no reading
  std::string limit;               // what is judged: "Integrated loudness", "Maximum true peak"
  std::string allowed;             // "-23.00 LKFS +-0.50 LU", with the sign for both
  std::string finding;  // a sentence without its full stop: "-23.10 LKFS, 0.10 LU below the target"
};

/// Whether a figure lies above a limit when both are written to a hundredth.
bool IsWrittenAbove(double figure, double limit);

/// The criteria in one line: their title, the target and the limits.
std::string CriteriaText(const Criteria& criteria);

/// The verdicts on all figures that have a limit, with the integrated loudness first. Figures and
/// limits are judged as they are written, to a hundredth, so that no verdict contradicts the figure
/// beside it; a figure on the limit keeps it. A figure at the end of its scale can break a limit
/// but not keep it.
std::vector<Verdict> VerdictsOn(const Figures& figures, const Criteria& criteria);

/// "Pass", "Fail", "No reading", "Open" or "Not judged".
const char* WordFor(Judgement judgement);

/// "pass", "fail" or "open" for a program to read; empty where nothing is judged.
const char* MachineWordFor(Judgement judgement);

/// That of all verdicts together: fail when one fails, else no reading when one has none, else open
/// when one is, else pass; not judged when there are no verdicts.
Judgement OverallJudgement(const std::vector<Verdict>& verdicts);

/// What a programme has to be turned up (or down, below 0) by, dB.
struct TargetGain {
  std::optional<double> toTarget;    // to reach the target; nothing where either is missing, or the
                                     // loudness is beyond its scale
  std::optional<double> withinPeak;  // the same, but not beyond the ceiling of the true peak; also
                                     // nothing where there is a ceiling and the peak is beyond its
                                     // scale
};

TargetGain GainOf(const Figures& figures, const Criteria& criteria);

}  // namespace louddesk
