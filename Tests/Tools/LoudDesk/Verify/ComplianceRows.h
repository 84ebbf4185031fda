// Rows of a verification that was not run, for the tests of its tables and pages.

#pragma once

#include <functional>
#include <vector>

#include "Compliance.h"

namespace louddesk {

/// The rows of all cases. Each figure has the value that `measuredOf` gives for it and the verdict
/// on that value; cases without a signal are not run.
inline std::vector<ComplianceRow> RowsOfAllCases(
    const std::function<double(const Expectation&)>& measuredOf) {
  std::vector<ComplianceRow> rows;
  for (const ComplianceCase& known : ComplianceCases()) {
    if (known.runs.empty())
      rows.push_back(
          {known.id, known.signal, std::nullopt, std::nullopt, ComplianceVerdict::kNotRun});
    for (const ComplianceRun& run : known.runs)
      for (const Expectation& expectation : run.expectations) {
        const double measured = measuredOf(expectation);
        rows.push_back({known.id, known.signal, expectation, measured,
                        ComplianceVerdictOn(expectation, measured)});
      }
  }
  return rows;
}

}  // namespace louddesk
