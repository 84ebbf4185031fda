// A verification from its first case to its last.

#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ComplianceFormat.h"

namespace louddesk {

struct VerifyOptions {
  std::vector<std::string> cases;  // identifiers of cases or documents; empty: all cases
  int sampleRate = 48000;          // Hz
  ComplianceStyle style = ComplianceStyle::kTable;
  std::string report = {};                                 // path of the page to write; empty: none
  std::string meter = "front end, dispatcher and engine";  // in words, for the page
};

/// Measures the cases with a meter and writes the rows of each as soon as they are known. The
/// report, where one is wanted, is written at the end; when it cannot be written at all, nothing is
/// measured. Returns the status of the program: 0, or 1 when a figure, `out` or the report failed.
int Verify(const VerifyOptions& options, MeterUnderTest& meter, std::ostream& out,
           std::ostream& errors);

}  // namespace louddesk
