// Lengths and points of time as a clock shows them. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// "1:02:03.4": hours, minutes, seconds and the nearest tenth.
std::string ClockText(double seconds);

/// "1:02.3": the same without hours where there are none.
std::string ShortClockText(double seconds);

}  // namespace louddesk
