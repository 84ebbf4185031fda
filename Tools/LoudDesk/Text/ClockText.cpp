// Splits a time into hours, minutes, seconds and tenths.

#include "ClockText.h"

#include <fmt/format.h>

#include <cmath>

namespace louddesk {

std::string ClockText(double seconds) {
  const long tenths = std::lround(seconds * 10.0);
  return fmt::format("{}:{:02}:{:02}.{}", tenths / 36000, tenths / 600 % 60, tenths / 10 % 60,
                     tenths % 10);
}

std::string ShortClockText(double seconds) {
  const std::string text = ClockText(seconds);
  const std::size_t minutes = text.rfind("0:0", 0) == 0 ? 3 : 2;
  return text.rfind("0:", 0) == 0 ? text.substr(minutes) : text;
}

}  // namespace louddesk
