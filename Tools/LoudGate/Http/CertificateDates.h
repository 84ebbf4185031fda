// The dates between which a certificate is valid.

#pragma once

#include <ctime>
#include <string>

namespace loudgate {

/// A warning for the operator, one line: a certificate or one of its chain (PEM) is not valid at
/// `now` or expires within 30 days. Empty if there is nothing to warn of, or if the PEM cannot be
/// read.
std::string DateWarningOf(const std::string& certificate, std::time_t now);

}  // namespace loudgate
