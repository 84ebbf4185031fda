// Verdicts as marks on a page. Stateless.

#pragma once

#include <string>

#include "Page.h"
#include "Verdict.h"

namespace louddesk {

/// The badge of a judgement.
Badge BadgeFor(Judgement judgement);

/// The word for a judgement with its sign.
std::string VerdictText(Judgement judgement);

}  // namespace louddesk
