// Published codes as text.

#include "FiguresText.h"

#include <cstdio>

namespace louddesk {

namespace {

constexpr char kNoReading[] = "-";

constexpr char kRefreshNote[] =
    "(integrated, programme and range as of their last refresh, once a second)\n";

template <typename... Arguments>
std::string Format(const char* format, Arguments... arguments) {
  char text[128];
  std::snprintf(text, sizeof text, format, arguments...);
  return text;
}

std::string FinalLine(const char* name, const std::string& value, const char* unit) {
  return Format("%-20s %8s %s\n", name, value.c_str(), unit);
}

}  // namespace

std::string TenthsText(std::int16_t code) {
  return code == kNoLoudnessCode ? kNoReading : Format("%.1f", code / 10.0);
}

std::string HundredthsText(std::int16_t code) {
  return code == kNoTruePeakCode ? kNoReading : Format("%.2f", code / 100.0);
}

bool HasRange(const LoudnessData_t& data) {
  return data.Lra != 0 || data.Integrated != kNoLoudnessCode;
}

std::string RangeText(const LoudnessData_t& data) {
  return HasRange(data) ? TenthsText(data.Lra) : kNoReading;
}

std::string LiveText(double seconds, const LoudnessData_t& data) {
  return Format("%7.1f s  M %5s  S %5s  I %5s LKFS  LRA %4s LU  TP %6s dBTP", seconds,
                TenthsText(data.Momentary).c_str(), TenthsText(data.ShortTerm).c_str(),
                TenthsText(data.Integrated).c_str(), RangeText(data).c_str(),
                HundredthsText(data.TruePeak).c_str());
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
         FinalLine("Duration", Format("%.1f", seconds), "s") + kRefreshNote;
}

}  // namespace louddesk
