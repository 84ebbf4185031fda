// The report on a verification as one page that needs nothing but itself. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Compliance.h"

namespace louddesk {

/// A section of Docs/COMPLIANCE.md, which the build makes a constant: why the test signals are read
/// as they are. A paragraph begins with the cases that it is about, "**3341-1** and **3341-2**: ".
extern const char kComplianceExplanations[];

/// The text for a case, in one line; empty when there is none.
std::string ExplanationOf(const std::string& caseId);

/// What a page is made from.
struct ComplianceReport {
  std::vector<ComplianceRow> rows;  // in the order of the cases
  int sampleRate = 48000;           // of the signals that have none of their own, Hz
  std::string meter;                // what has measured, in words: "front end and engine"
};

/// The page: HTML that is well-formed XML too, without scripts or anything to fetch. It counts the
/// verdicts, lists what is not as the standard asks, draws all deviations against their tolerances,
/// and shows every case with its figures and why they are as they are.
std::string CompliancePage(const ComplianceReport& report);

}  // namespace louddesk
