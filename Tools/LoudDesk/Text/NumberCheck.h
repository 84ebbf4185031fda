// Checks of numbers on the command line, for CLI::Option::check. A check returns an empty string
// for a good value and an error message otherwise. Stateless.

#pragma once

#include <functional>
#include <string>

namespace louddesk {

using NumberCheck = std::function<std::string(const std::string&)>;

/// Accepts a number from `low` to `high`. Rejects "nan", which `CLI::Range` accepts.
NumberCheck Between(double low, double high);

/// Accepts a whole number from 1 to the largest `unsigned long`.
std::string CheckCount(const std::string& text);

}  // namespace louddesk
