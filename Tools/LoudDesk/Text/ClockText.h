// Durations and points in time as clock texts. Stateless.

#pragma once

#include <string>

namespace louddesk {

/// Hours, minutes, seconds and tenths, rounded to the nearest tenth: "1:02:03.4".
std::string ClockText(double seconds);

/// The same, without the hours where they are 0: "1:02.3".
std::string ShortClockText(double seconds);

}  // namespace louddesk
