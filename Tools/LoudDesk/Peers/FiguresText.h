// The service's published figures in engineering units. Stateless.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "LoudnessData.h"

namespace louddesk {

/// The loudness of a code in tenths, LKFS; nothing for -990, no reading.
std::optional<double> LoudnessOf(std::int16_t code);

/// The true peak of a code in hundredths, dBTP; nothing for -9900, no signal.
std::optional<double> TruePeakOf(std::int16_t code);

/// A loudness code in tenths as text; "-" for -990, no reading.
std::string TenthsText(std::int16_t code);

/// A true-peak code in hundredths as text; "-" for -9900, no signal.
std::string HundredthsText(std::int16_t code);

/// Whether there is a loudness range. The service publishes 0 without one. If there is an
/// integrated loudness, 0 is a real range.
bool HasRange(const LoudnessData_t& data);

/// The loudness range as text; "-" without one.
std::string RangeText(const LoudnessData_t& data);

/// The figures that change continuously, on one line of at most 79 characters. `seconds` is the
/// time since the start.
std::string LiveText(double seconds, const LoudnessData_t& data);

/// All figures, one per line, with the names and units of `LoudDesk measure` and a note that some
/// of them may be a second old. Ends with a line feed.
std::string FinalText(double seconds, const LoudnessData_t& data);

}  // namespace louddesk
