// Checks of numbers on the command line.

#include "NumberCheck.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>

namespace louddesk {

NumberCheck Between(double low, double high) {
  return [low, high](const std::string& text) {
    double value = 0.0;
    if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high)
      return std::string();
    return fmt::format("\"{}\" is not between {:.10g} and {:.10g}", text, low, high);
  };
}

std::string CheckCount(const std::string& text) {
  unsigned long value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error == std::errc() && rest == end && value > 0)
    return "";
  return "\"" + text + "\" is not a count";
}

}  // namespace louddesk
