// How the figures of a verification are written: as a table for people, as one JSON object a line
// and as a Markdown table. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Compliance.h"

namespace louddesk {

enum class ComplianceStyle {
  kTable,
  kJson,
  kMarkdown,
};

/// The lines above the rows; empty for JSON.
std::string ComplianceHeader(ComplianceStyle style);

/// One row, each line ended by a line feed and in a table of at most 80 characters, but for the
/// path of a recording. The first row of a case says what its signal is.
std::string ComplianceText(const ComplianceRow& row, bool isFirstOfCase, ComplianceStyle style);

/// Counts of the verdicts over all rows, for the end of a table; empty for the other styles.
std::string ComplianceSummary(const std::vector<ComplianceRow>& rows, ComplianceStyle style);

/// The figures of a row as they are shown.
struct WrittenRow {
  std::string figure;     // "Short-term, lowest from 3 s"
  const char* unit;       // "LKFS"
  std::string standard;   // "-23.00"
  std::string expected;   // "-23.09"
  std::string tolerance;  // "+-0.1", "+0.2/-0.4"
  std::string measured;   // "-23.09", "-" where there is no reading
};

/// `plusMinus` is the sign for both. REQUIRES: the row has an expectation.
WrittenRow WrittenRowOf(const ComplianceRow& row, const char* plusMinus);

/// The unit of differences between figures of the row: "LU", "dB". REQUIRES: it has an expectation.
const char* DifferenceUnitOf(const ComplianceRow& row);

/// How many rows have a verdict.
int CountOf(const std::vector<ComplianceRow>& rows, ComplianceVerdict verdict);

/// "Short-term, lowest from 3 s".
std::string FigureNameOf(const Expectation& expectation);

/// "pass", "grid", "FAIL" or "not run".
const char* VerdictWord(ComplianceVerdict verdict);

}  // namespace louddesk
