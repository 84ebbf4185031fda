// Formats published codes.

#include "FiguresText.h"

#include <fmt/format.h>

namespace louddesk {
namespace {

constexpr char kNoReading[] = "-";

constexpr char kRefreshNote[] =
    "(integrated, programme and range as of their last refresh, once a second)\n";

std::string FinalLine(const char* name, const std::string& value, const char* unit) {
  return fmt::format("{:<20} {:>8} {}\n", name, value, unit);
}

}  // namespace

std::optional<double> LoudnessOf(std::int16_t code) {
  return code == kNoLoudnessCode ? std::nullopt : std::optional(code / 10.0);
}

std::optional<double> TruePeakOf(std::int16_t code) {
  return code == kNoTruePeakCode ? std::nullopt : std::optional(code / 100.0);
}

std::string TenthsText(std::int16_t code) {
  const auto loudness = LoudnessOf(code);
  return loudness ? fmt::format("{:.1f}", *loudness) : kNoReading;
}

std::string HundredthsText(std::int16_t code) {
  const auto truePeak = TruePeakOf(code);
  return truePeak ? fmt::format("{:.2f}", *truePeak) : kNoReading;
}

bool HasRange(const LoudnessData_t& data) {
  return data.Lra != 0 || data.Integrated != kNoLoudnessCode;
}

std::string RangeText(const LoudnessData_t& data) {
  return HasRange(data) ? TenthsText(data.Lra) : kNoReading;
}

std::string LiveText(double seconds, const LoudnessData_t& data) {
  return fmt::format("{:7.1f} s  M {:>5}  S {:>5}  I {:>5} LKFS  LRA {:>4} LU  TP {:>6} dBTP",
                     seconds, TenthsText(data.Momentary), TenthsText(data.ShortTerm),
                     TenthsText(data.Integrated), RangeText(data), HundredthsText(data.TruePeak));
}

std::string FinalText(double seconds, const LoudnessData_t& data) {
  return FinalLine("Integrated loudness", TenthsText(data.Integrated), "LKFS") +
         FinalLine("Programme loudness", TenthsText(data.Program), "LKFS") +
         FinalLine("Loudness range", RangeText(data), "LU") +
         FinalLine("Momentary", TenthsText(data.Momentary), "LKFS") +
         FinalLine("Maximum momentary", TenthsText(data.MaxMomentary), "LKFS") +
         FinalLine("Short-term", TenthsText(data.ShortTerm), "LKFS") +
         FinalLine("True peak", HundredthsText(data.TruePeak), "dBTP") +
         FinalLine("Maximum true peak", HundredthsText(data.MaxTruePeak), "dBTP") +
         FinalLine("Duration", fmt::format("{:.1f}", seconds), "s") + kRefreshNote;
}

}  // namespace louddesk
