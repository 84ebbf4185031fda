// Tables and JSON of a verification.

#include "ComplianceFormat.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdio>

#include "FigureText.h"

namespace louddesk {
namespace {

constexpr char kMissingInTable[] = "-";
constexpr char kMissingInJson[] = "null";

// Figures have two decimals. Those that are known to more have a tolerance finer than that.
constexpr double kFineTolerance = 0.001;

struct QuantityName {
  Quantity quantity;
  const char* name;
  const char* unit;
  const char* differenceUnit;
};

constexpr QuantityName kQuantityNames[] = {
    {Quantity::kMomentary, "Momentary", "LKFS", "LU"},
    {Quantity::kShortTerm, "Short-term", "LKFS", "LU"},
    {Quantity::kIntegrated, "Integrated loudness", "LKFS", "LU"},
    {Quantity::kLra, "Loudness range", "LU", "LU"},
    {Quantity::kMaxShortTerm, "Maximum short-term", "LKFS", "LU"},
    {Quantity::kMaxMomentary, "Maximum momentary", "LKFS", "LU"},
    {Quantity::kMaxTruePeak, "Maximum true peak", "dBTP", "dB"},
    {Quantity::kWeightingGain, "K-weighting", "dB", "dB"},
};

template <typename... Arguments>
std::string Format(const char* format, Arguments... arguments) {
  char text[256];
  std::snprintf(text, sizeof text, format, arguments...);
  return text;
}

const QuantityName& EntryOf(Quantity quantity) {
  return *std::find_if(std::begin(kQuantityNames), std::end(kQuantityNames),
                       [=](const QuantityName& entry) { return entry.quantity == quantity; });
}

const char* UnitOf(const Expectation& expectation) {
  return EntryOf(expectation.quantity).unit;
}

std::string FigureOf(const Expectation& expectation, const std::optional<double>& figure,
                     const char* missing) {
  if (figure && expectation.tolerance.above < kFineTolerance)
    return Format("%.4f", *figure);
  return FigureText(figure, missing);
}

std::string ToleranceText(const Tolerance& tolerance, const char* both) {
  if (tolerance.below != tolerance.above)
    return Format("+%g/-%g", tolerance.above, tolerance.below);
  return Format(tolerance.above < kFineTolerance ? "%s%.5f" : "%s%g", both, tolerance.above);
}

// Lines for people.

constexpr char kTableLine[] = "  %-31s %8s %8s %9s %8s %-4s %s";

std::string TableHeading() {
  const std::string line =
      Format(kTableLine, "Figure", "Standard", "Expected", "Tolerance", "Measured", "", "");
  return "Case  Signal\n" + line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string TableText(const ComplianceRow& row, bool isFirstOfCase) {
  const std::string signal = row.caseId + "  " + row.signal;
  if (!row.expectation)
    return signal + ": " + VerdictWord(row.verdict) + "\n";
  const WrittenRow written = WrittenRowOf(row, "+-");
  return (isFirstOfCase ? signal + "\n" : "") +
         Format(kTableLine, written.figure.c_str(), written.standard.c_str(),
                written.expected.c_str(), written.tolerance.c_str(), written.measured.c_str(),
                written.unit, VerdictWord(row.verdict)) +
         "\n";
}

// Markdown.

std::string MarkdownText(const ComplianceRow& row, bool isFirstOfCase) {
  const std::string start = isFirstOfCase ? "| " + row.caseId + " | " + row.signal + " |" : "| | |";
  if (!row.expectation)
    return start + " | | | | | " + VerdictWord(row.verdict) + " |\n";
  const WrittenRow written = WrittenRowOf(row, "±");
  return start + " " + written.figure + " | " + written.standard + " | " + written.expected +
         " | " + written.tolerance + " | " + written.measured +
         (row.measured ? std::string(" ") + written.unit : "") + " | " + VerdictWord(row.verdict) +
         " |\n";
}

constexpr char kMarkdownHeader[] =
    "| Case | Signal | Figure | Standard | Expected | Tolerance | Measured | Verdict |\n"
    "|---|---|---|---:|---:|---|---:|---|\n";

// JSON.

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void AddNumber(JsonWriter& writer, const char* key, const std::string& number) {
  writer.Key(key);
  writer.RawValue(number.c_str(), number.size(), rapidjson::kNumberType);
}

void AddText(JsonWriter& writer, const char* key, const std::string& text) {
  writer.Key(key);
  writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
}

void AddFigures(JsonWriter& writer, const ComplianceRow& row) {
  const Expectation& e = *row.expectation;
  AddText(writer, "Figure", FigureNameOf(e));
  AddText(writer, "Unit", UnitOf(e));
  AddNumber(writer, "Standard", FigureOf(e, e.standard, kMissingInJson));
  AddNumber(writer, "Expected", FigureOf(e, e.expected, kMissingInJson));
  AddNumber(writer, "ToleranceBelow", Format("%g", e.tolerance.below));
  AddNumber(writer, "ToleranceAbove", Format("%g", e.tolerance.above));
  AddNumber(writer, "Measured", FigureOf(e, row.measured, kMissingInJson));
}

std::string JsonText(const ComplianceRow& row) {
  rapidjson::StringBuffer buffer;
  JsonWriter writer(buffer);
  writer.StartObject();
  AddText(writer, "Case", row.caseId);
  AddText(writer, "Signal", row.signal);
  if (row.expectation)
    AddFigures(writer, row);
  AddText(writer, "Verdict", VerdictWord(row.verdict));
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace

std::string ComplianceHeader(ComplianceStyle style) {
  switch (style) {
    case ComplianceStyle::kTable:
      return TableHeading();
    case ComplianceStyle::kMarkdown:
      return kMarkdownHeader;
    case ComplianceStyle::kJson:
      break;
  }
  return "";
}

std::string ComplianceText(const ComplianceRow& row, bool isFirstOfCase, ComplianceStyle style) {
  switch (style) {
    case ComplianceStyle::kTable:
      return TableText(row, isFirstOfCase);
    case ComplianceStyle::kMarkdown:
      return MarkdownText(row, isFirstOfCase);
    case ComplianceStyle::kJson:
      break;
  }
  return JsonText(row);
}

std::string ComplianceSummary(const std::vector<ComplianceRow>& rows, ComplianceStyle style) {
  if (style != ComplianceStyle::kTable)
    return "";
  return Format("\n%d pass, %d grid, %d FAIL, %d not run\n",
                CountOf(rows, ComplianceVerdict::kPass), CountOf(rows, ComplianceVerdict::kGrid),
                CountOf(rows, ComplianceVerdict::kFail), CountOf(rows, ComplianceVerdict::kNotRun));
}

WrittenRow WrittenRowOf(const ComplianceRow& row, const char* plusMinus) {
  const Expectation& e = *row.expectation;
  return {FigureNameOf(e),
          UnitOf(e),
          FigureOf(e, e.standard, ""),
          FigureOf(e, e.expected, ""),
          ToleranceText(e.tolerance, plusMinus),
          FigureOf(e, row.measured, kMissingInTable)};
}

const char* DifferenceUnitOf(const ComplianceRow& row) {
  return EntryOf(row.expectation->quantity).differenceUnit;
}

int CountOf(const std::vector<ComplianceRow>& rows, ComplianceVerdict verdict) {
  return static_cast<int>(
      std::count_if(rows.begin(), rows.end(),
                    [verdict](const ComplianceRow& row) { return row.verdict == verdict; }));
}

std::string FigureNameOf(const Expectation& expectation) {
  const std::string name = EntryOf(expectation.quantity).name;
  return expectation.detail.empty() ? name : name + ", " + expectation.detail;
}

const char* VerdictWord(ComplianceVerdict verdict) {
  switch (verdict) {
    case ComplianceVerdict::kPass:
      return "pass";
    case ComplianceVerdict::kGrid:
      return "grid";
    case ComplianceVerdict::kFail:
      return "FAIL";
    case ComplianceVerdict::kNotRun:
      break;
  }
  return "not run";
}

}  // namespace louddesk
