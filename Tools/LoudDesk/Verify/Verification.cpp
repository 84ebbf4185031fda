// The cases one after another.

#include "Verification.h"

#include <algorithm>

namespace louddesk {
namespace {

constexpr char kErrorPrefix[] = "LoudDesk: ";

bool IsWanted(const ComplianceCase& complianceCase, const std::vector<std::string>& wanted) {
  return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), [&](const std::string& id) {
           return IsMeantBy(complianceCase, id);
         });
}

}  // namespace

int Verify(const VerifyOptions& options, MeterUnderTest& meter, std::ostream& out,
           std::ostream& errors) {
  std::vector<ComplianceRow> allRows;
  out << ComplianceHeader(options.style) << std::flush;
  for (const ComplianceCase& complianceCase : ComplianceCases()) {
    if (!IsWanted(complianceCase, options.cases))
      continue;
    bool isFirst = true;
    RunCase(complianceCase, options.sampleRate, meter, [&](const ComplianceRow& row) {
      out << ComplianceText(row, isFirst, options.style) << std::flush;
      isFirst = false;
      allRows.push_back(row);
    });
  }
  out << ComplianceSummary(allRows, options.style) << std::flush;
  if (!out) {
    errors << kErrorPrefix << "the figures could not be written\n";
    return 1;
  }
  return std::any_of(
             allRows.begin(), allRows.end(),
             [](const ComplianceRow& row) { return row.verdict == ComplianceVerdict::kFail; })
             ? 1
             : 0;
}

}  // namespace louddesk
