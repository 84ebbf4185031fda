// The report on a period: the page of `LoudDesk measure` for what was recorded. Stateless.

#pragma once

#include <string>

#include "Evidence.h"

namespace louddesk {

/// The page: HTML that is well-formed XML too, without scripts or anything to fetch. `date` and
/// `version` are told as when and by what it was made.
std::string EvidencePage(const Evidence& evidence, const std::string& date,
                         const std::string& version);

}  // namespace louddesk
