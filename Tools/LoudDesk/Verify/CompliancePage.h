// The report on a verification as one self-contained page. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Compliance.h"

namespace louddesk {

/// A section of Docs/COMPLIANCE.md that explains the expected readings; the build turns it into a
/// constant. Each paragraph starts with the cases that it explains: "**3341-1** and **3341-2**: ".
extern const char kComplianceExplanations[];

/// The explanation of a case in one line; empty if there is none.
std::string ExplanationOf(const std::string& caseId);

/// The contents of a page.
struct ComplianceReport {
  std::vector<ComplianceRow> rows;  // in the order of the cases
  int sampleRate = 48000;           // of signals without their own rate, Hz
  std::string meter;                // the meter under test, in words: "front end and engine"
};

/// The page: HTML that is also well-formed XML, without scripts or external resources. It counts
/// the verdicts, lists the deviations from the standard, plots all deviations against their
/// tolerances, and shows every case with its figures and their explanation.
std::string CompliancePage(const ComplianceReport& report);

}  // namespace louddesk
