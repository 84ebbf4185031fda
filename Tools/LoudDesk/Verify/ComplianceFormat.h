// Formats the figures of a verification as a text table, as one JSON object per line, or as a
// Markdown table. Stateless.

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

/// One row of one or more lines, each ending with a line feed. Lines of a text table have at most
/// 80 characters, unless the path of a recording is longer. The first row of a case describes its
/// signal.
std::string ComplianceText(const ComplianceRow& row, bool isFirstOfCase, ComplianceStyle style);

/// The number of rows with each verdict, for the end of a text table; empty for other styles.
std::string ComplianceSummary(const std::vector<ComplianceRow>& rows, ComplianceStyle style);

/// The figures of a row as text.
struct WrittenRow {
  std::string figure;     // "Short-term, lowest from 3 s"
  const char* unit;       // "LKFS"
  std::string standard;   // "-23.00"
  std::string expected;   // "-23.09"
  std::string tolerance;  // "+-0.1", "+0.2/-0.4"
  std::string measured;   // "-23.09", or "-" without a reading
};

/// `plusMinus` is the plus-minus sign to use. REQUIRES: the row has an expectation.
WrittenRow WrittenRowOf(const ComplianceRow& row, const char* plusMinus);

/// The unit of differences between figures of the row: "LU", "dB". REQUIRES: the row has an
/// expectation.
const char* DifferenceUnitOf(const ComplianceRow& row);

/// Number of rows with a verdict.
int CountOf(const std::vector<ComplianceRow>& rows, ComplianceVerdict verdict);

/// The name of the figure: "Short-term, lowest from 3 s".
std::string FigureNameOf(const Expectation& expectation);

/// The verdict in a word: "pass", "grid", "FAIL" or "not run".
const char* VerdictWord(ComplianceVerdict verdict);

}  // namespace louddesk
