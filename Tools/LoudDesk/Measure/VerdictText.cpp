// Marks of verdicts.

#include "VerdictText.h"

namespace louddesk {

Badge BadgeFor(Judgement judgement) {
  switch (judgement) {
    case Judgement::kPass:
      return Badge::kGood;
    case Judgement::kFail:
      return Badge::kBad;
    case Judgement::kOpen:
    case Judgement::kNoReading:
    case Judgement::kNotJudged:
      break;
  }
  return Badge::kNone;
}

std::string VerdictText(Judgement judgement) {
  return BadgeText(BadgeFor(judgement), WordFor(judgement));
}

}  // namespace louddesk
