// The cases one after another.

#include "Verification.h"

#include <algorithm>

#include "Complaints.h"
#include "CompliancePage.h"
#include "PageFile.h"

namespace louddesk {
namespace {

bool IsWanted(const ComplianceCase& complianceCase, const std::vector<std::string>& wanted) {
  return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), [&](const std::string& id) {
           return IsMeantBy(complianceCase, id);
         });
}

// Writes every row as soon as it is known.
std::vector<ComplianceRow> RunCases(const VerifyOptions& options, MeterUnderTest& meter,
                                    std::ostream& out) {
  std::vector<ComplianceRow> rows;
  out << ComplianceHeader(options.style) << std::flush;
  for (const ComplianceCase& complianceCase : ComplianceCases()) {
    if (!IsWanted(complianceCase, options.cases))
      continue;
    bool isFirst = true;
    RunCase(complianceCase, options.sampleRate, meter, [&](const ComplianceRow& row) {
      out << ComplianceText(row, isFirst, options.style) << std::flush;
      isFirst = false;
      rows.push_back(row);
    });
  }
  out << ComplianceSummary(rows, options.style) << std::flush;
  return rows;
}

}  // namespace

int Verify(const VerifyOptions& options, MeterUnderTest& meter, std::ostream& out,
           std::ostream& errors) {
  Complaints complaints(errors);
  if (!CheckReport(complaints, options.report))
    return complaints.Status();
  const std::vector<ComplianceRow> rows = RunCases(options, meter, out);
  if (!out)
    complaints.Add("the figures could not be written");
  if (!options.report.empty())
    WriteReport(complaints, options.report,
                CompliancePage({rows, options.sampleRate, options.meter}));
  return CountOf(rows, ComplianceVerdict::kFail) > 0 ? 1 : complaints.Status();
}

}  // namespace louddesk
