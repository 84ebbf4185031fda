// Comma-separated values of a series.

#include "SeriesFormat.h"

#include "FigureText.h"

namespace louddesk {
namespace {

constexpr char kMissing[] = "";

std::string Field(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos)
    return text;
  std::string quoted = "\"";
  for (const char c : text)
    quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

}  // namespace

std::string CsvHeader() {
  return "File,Seconds,Momentary,ShortTerm,Integrated,Lra,TruePeak\n";
}

std::string CsvRows(const MeasuredSeries& series) {
  const std::string file = Field(series.file);
  std::string rows;
  for (const SeriesPoint& point : series.points) {
    rows += file + "," + FigureText(point.seconds, kMissing);
    for (const auto& reading :
         {point.momentary, point.shortTerm, point.integrated, point.lra, point.truePeak})
      rows += "," + FigureText(reading, kMissing);
    rows += "\n";
  }
  return rows;
}

}  // namespace louddesk
