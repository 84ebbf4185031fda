// Numbers as a user writes them.

#include "NumberCheck.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>

namespace louddesk {
namespace {

// "0", "0.1", "3600", "10000000".
std::string Limit(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

}  // namespace

NumberCheck Between(double low, double high) {
  return [low, high](const std::string& text) {
    double value = 0.0;
    if (CLI::detail::lexical_cast(text, value) && value >= low && value <= high)
      return std::string();
    return "\"" + text + "\" is not between " + Limit(low) + " and " + Limit(high);
  };
}

std::string CheckCount(const std::string& text) {
  unsigned long value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error == std::errc() && rest == end && value > 0)
    return "";
  return "\"" + text + "\" is no count";
}

}  // namespace louddesk
