// Checks of numbers on the command line, for CLI::Option::check. Stateless.

#pragma once

#include <functional>
#include <string>

namespace louddesk {

using NumberCheck = std::function<std::string(const std::string&)>;

/// A number from `low` to `high`. Refuses "nan", which `CLI::Range` lets through.
NumberCheck Between(double low, double high);

/// A whole number from 1 up to the largest `unsigned long`.
std::string CheckCount(const std::string& text);

}  // namespace louddesk
