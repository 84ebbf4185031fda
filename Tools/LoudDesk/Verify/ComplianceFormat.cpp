// Tables and JSON of a verification.

#include "ComplianceFormat.h"

#include <fmt/format.h>

#include <algorithm>

#include "DocumentWriter.h"
#include "FigureText.h"

namespace louddesk {
namespace {

constexpr char kMissingInTable[] = "-";

// Figures have two decimals. Those with a finer tolerance than this have more.
constexpr double kFineTolerance = 0.001;

struct QuantityWords {
  const char* name;
  const char* unit;
  const char* differenceUnit;
};

// In the order of Quantity.
constexpr QuantityWords kQuantities[] = {
    {"Momentary", "LKFS", "LU"},          {"Short-term", "LKFS", "LU"},
    {"Maximum short-term", "LKFS", "LU"}, {"Integrated loudness", "LKFS", "LU"},
    {"Loudness range", "LU", "LU"},       {"Maximum momentary", "LKFS", "LU"},
    {"Maximum true peak", "dBTP", "dB"},  {"K-weighting", "dB", "dB"}};

constexpr const char* kVerdictWords[] = {"pass", "grid", "FAIL", "not run"};

const QuantityWords& WordsFor(const Expectation& expectation) {
  return kQuantities[static_cast<std::size_t>(expectation.quantity)];
}

std::string FigureOf(const Expectation& expectation, const std::optional<double>& figure,
                     const char* missing) {
  if (figure && expectation.tolerance.above < kFineTolerance)
    return fmt::format("{:.4f}", *figure);
  return FigureText(figure, missing);
}

std::string ToleranceText(const Tolerance& tolerance, const char* both) {
  if (tolerance.below != tolerance.above)
    return fmt::format("+{:g}/-{:g}", tolerance.above, tolerance.below);
  if (tolerance.above < kFineTolerance)
    return fmt::format("{}{:.5f}", both, tolerance.above);
  return fmt::format("{}{:g}", both, tolerance.above);
}

// Text table.

constexpr char kTableLine[] = "  {:<31} {:>8} {:>8} {:>9} {:>8} {:<4} {}\n";

constexpr char kTableHeader[] =
    "Case  Signal\n"
    "  Figure                          Standard Expected Tolerance Measured\n";

std::string TableText(const ComplianceRow& row, bool isFirstOfCase) {
  const std::string signal = row.caseId + "  " + row.signal;
  if (!row.expectation)
    return signal + ": " + VerdictWord(row.verdict) + "\n";
  const WrittenRow written = WrittenRowOf(row, "+-");
  return (isFirstOfCase ? signal + "\n" : "") +
         fmt::format(kTableLine, written.figure, written.standard, written.expected,
                     written.tolerance, written.measured, written.unit, VerdictWord(row.verdict));
}

// Markdown.

constexpr char kMarkdownHeader[] =
    "| Case | Signal | Figure | Standard | Expected | Tolerance | Measured | Verdict |\n"
    "|---|---|---|---:|---:|---|---:|---|\n";

// Escapes pipe characters, which file names may contain.
std::string MarkdownCell(const std::string& text) {
  std::string cell;
  for (const char c : text)
    cell += c == '|' ? std::string("\\|") : std::string(1, c);
  return cell;
}

std::string MarkdownText(const ComplianceRow& row, bool isFirstOfCase) {
  const std::string start =
      isFirstOfCase ? "| " + row.caseId + " | " + MarkdownCell(row.signal) + " |" : "| | |";
  if (!row.expectation)
    return fmt::format("{} | | | | | {} |\n", start, VerdictWord(row.verdict));
  const WrittenRow written = WrittenRowOf(row, kPlusMinus);
  return fmt::format("{} {} | {} | {} | {} | {}{} | {} |\n", start, written.figure,
                     written.standard, written.expected, written.tolerance, written.measured,
                     row.measured ? std::string(" ") + written.unit : "", VerdictWord(row.verdict));
}

// JSON.

void AddFigures(DocumentWriter& writer, const ComplianceRow& row) {
  const Expectation& e = *row.expectation;
  writer.Text("Figure", FigureNameOf(e))
      .Text("Unit", WordsFor(e).unit)
      .Number("Standard", FigureOf(e, e.standard, kJsonNull))
      .Number("Expected", FigureOf(e, e.expected, kJsonNull))
      .Number("ToleranceBelow", fmt::format("{:g}", e.tolerance.below))
      .Number("ToleranceAbove", fmt::format("{:g}", e.tolerance.above))
      .Number("Measured", FigureOf(e, row.measured, kJsonNull));
}

std::string JsonText(const ComplianceRow& row, bool) {
  DocumentWriter writer;
  writer.Text("Case", row.caseId).Text("Signal", row.signal);
  if (row.expectation)
    AddFigures(writer, row);
  return writer.Text("Verdict", VerdictWord(row.verdict)).Finish() + "\n";
}

// The functions of each style, in the order of ComplianceStyle.
struct StyleParts {
  const char* header;
  std::string (*text)(const ComplianceRow& row, bool isFirstOfCase);
};

constexpr StyleParts kStyles[] = {
    {kTableHeader, TableText}, {"", JsonText}, {kMarkdownHeader, MarkdownText}};

}  // namespace

std::string ComplianceHeader(ComplianceStyle style) {
  return kStyles[static_cast<std::size_t>(style)].header;
}

std::string ComplianceText(const ComplianceRow& row, bool isFirstOfCase, ComplianceStyle style) {
  return kStyles[static_cast<std::size_t>(style)].text(row, isFirstOfCase);
}

std::string ComplianceSummary(const std::vector<ComplianceRow>& rows, ComplianceStyle style) {
  if (style != ComplianceStyle::kTable)
    return "";
  return fmt::format(
      "\n{} pass, {} grid, {} FAIL, {} not run\n", CountOf(rows, ComplianceVerdict::kPass),
      CountOf(rows, ComplianceVerdict::kGrid), CountOf(rows, ComplianceVerdict::kFail),
      CountOf(rows, ComplianceVerdict::kNotRun));
}

WrittenRow WrittenRowOf(const ComplianceRow& row, const char* plusMinus) {
  const Expectation& e = *row.expectation;
  return {FigureNameOf(e),
          WordsFor(e).unit,
          FigureOf(e, e.standard, ""),
          FigureOf(e, e.expected, ""),
          ToleranceText(e.tolerance, plusMinus),
          FigureOf(e, row.measured, kMissingInTable)};
}

const char* DifferenceUnitOf(const ComplianceRow& row) {
  return WordsFor(*row.expectation).differenceUnit;
}

int CountOf(const std::vector<ComplianceRow>& rows, ComplianceVerdict verdict) {
  return static_cast<int>(
      std::count_if(rows.begin(), rows.end(),
                    [verdict](const ComplianceRow& row) { return row.verdict == verdict; }));
}

std::string FigureNameOf(const Expectation& expectation) {
  const std::string name = WordsFor(expectation).name;
  return expectation.detail.empty() ? name : name + ", " + expectation.detail;
}

const char* VerdictWord(ComplianceVerdict verdict) {
  return kVerdictWords[static_cast<std::size_t>(verdict)];
}

}  // namespace louddesk
