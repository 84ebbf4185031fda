// The report on a recorded period, in the style of the report of `LoudDesk measure`. Stateless.

#pragma once

#include <string>

#include "Evidence.h"

namespace louddesk {

/// The page: HTML that is also well-formed XML, without scripts or external resources. It shows
/// `date` and `version` as its date and the version of LoudDesk that made it.
std::string EvidencePage(const Evidence& evidence, const std::string& date,
                         const std::string& version);

}  // namespace louddesk
