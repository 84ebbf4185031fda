// The verdict on each limit that a programme has to keep. Stateless.

#pragma once

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
};

/// One limit and how a programme stands to it.
struct Verdict {
  Judgement judgement = Judgement::kNoReading;
  std::string limit;    // what is judged: "Integrated loudness", "Maximum true peak"
  std::string allowed;  // "-23.00 LKFS +-0.50 LU", with the sign for both
  std::string finding;  // a sentence without its full stop: "-23.10 LKFS, 0.10 LU below the target"
};

/// The limits in one line, by name when they are those of EBU R 128.
std::string LimitsText(const LoudnessLimits& limits);

/// The verdicts on the integrated loudness and on the true peak. Figures and limits are judged as
/// they are written, to a hundredth, so that no verdict contradicts the figure beside it; a figure
/// on the limit keeps it. A figure at the end of its scale can break a limit but not keep it.
std::vector<Verdict> VerdictsOn(const Figures& figures, const LoudnessLimits& limits);

/// "Pass", "Fail", "No reading" or "Open".
const char* WordFor(Judgement judgement);

/// That of all verdicts together: fail when one fails, else no reading when one has none, else open
/// when one is.
Judgement OverallJudgement(const std::vector<Verdict>& verdicts);

}  // namespace louddesk
