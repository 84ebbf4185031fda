// Verdicts on the limits of a programme, and the gain that brings it to its target. Stateless.

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
  kNoReading,  // no figure to judge, as in silence
  kOpen,       // at the end of the scale, which is within the limit
  kNotJudged,  // no limit
};

/// One limit, and whether a programme meets it.
struct Verdict {
  Judgement judgement = Judgement::kNoReading;
  const char* key = "";            // of the figure in JSON: "Integrated"
  AllowedRange range;              // allowed for the figure
  std::optional<double> measured;  // nothing without a reading
  std::string limit;               // name of the figure: "Integrated loudness", "Maximum true peak"
  std::string allowed;             // "-23.00 LKFS +-0.50 LU", with the plus-minus sign
  std::string finding;  // a sentence without its full stop: "-23.10 LKFS, 0.10 LU below the target"
};

/// Whether a figure exceeds a limit when both are rounded to hundredths.
bool IsWrittenAbove(double figure, double limit);

/// The criteria in one line: title, target and limits.
std::string CriteriaText(const Criteria& criteria);

/// The verdicts on all figures with a limit, integrated loudness first. Figures and limits are
/// compared as printed, in hundredths, so that a verdict never contradicts the figure beside it. A
/// figure equal to the limit passes. A figure at the end of its scale can fail but not pass.
std::vector<Verdict> VerdictsOn(const Figures& figures, const Criteria& criteria);

/// The verdict in words: "Pass", "Fail", "No reading", "Open" or "Not judged".
const char* WordFor(Judgement judgement);

/// The verdict for programs: "pass", "fail" or "open"; empty where nothing is judged.
const char* MachineWordFor(Judgement judgement);

/// The overall verdict: a fail outweighs a missing reading, a missing reading an open verdict, and
/// an open verdict a pass. Not judged if there are no verdicts.
Judgement OverallJudgement(const std::vector<Verdict>& verdicts);

/// The gain that a programme needs, in dB. Negative values lower it.
struct TargetGain {
  std::optional<double> toTarget;  // to reach the target; nothing without a target or a reading, or
                                   // if the loudness exceeds its scale
  std::optional<double> withinPeak;  // limited by the ceiling of the true peak; also nothing if
                                     // there is a ceiling and the peak exceeds its scale
};

TargetGain GainOf(const Figures& figures, const Criteria& criteria);

}  // namespace louddesk
