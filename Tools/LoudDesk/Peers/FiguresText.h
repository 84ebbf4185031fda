// The service's published figures in engineering units, for people. Stateless.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "LoudnessData.h"

namespace louddesk {

/// The loudness that a code in tenths stands for, LKFS; nothing for -990: no reading.
std::optional<double> LoudnessOf(std::int16_t code);

/// The true peak that a code in hundredths stands for, dBTP; nothing for -9900: no signal.
std::optional<double> TruePeakOf(std::int16_t code);

/// A loudness in tenths, "-" for -990: no reading.
std::string TenthsText(std::int16_t code);

/// A true peak in hundredths, "-" for -9900: no signal.
std::string HundredthsText(std::int16_t code);

/// Whether there is a loudness range. The service publishes 0 where there is none; with an
/// integrated loudness, that is one.
bool HasRange(const LoudnessData_t& data);

/// The loudness range, "-" without one.
std::string RangeText(const LoudnessData_t& data);

/// The figures that change all the time, on one line of at most 79 characters. `seconds` is the
/// time since the beginning.
std::string LiveText(double seconds, const LoudnessData_t& data);

/// All figures, one a line, names and units of `LoudDesk measure`, and that some of them may be a
/// second old. Ends with a line feed.
std::string FinalText(double seconds, const LoudnessData_t& data);

}  // namespace louddesk
