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

/// What stands over the rows; empty for JSON.
std::string ComplianceHeader(ComplianceStyle style);

/// One row, each line ended by a line feed and in a table of at most 80 characters. The first row
/// of a case says what its signal is.
std::string ComplianceText(const ComplianceRow& row, bool isFirstOfCase, ComplianceStyle style);

/// Counts of the verdicts over all rows, for the end of a table; empty for the other styles.
std::string ComplianceSummary(const std::vector<ComplianceRow>& rows, ComplianceStyle style);

/// "Short-term, lowest from 3 s".
std::string NameOf(const Expectation& expectation);

/// "pass", "grid", "FAIL" or "not run".
const char* NameOf(ComplianceVerdict verdict);

}  // namespace louddesk
