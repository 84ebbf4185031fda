// A verification from its first case to its last.

#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ComplianceFormat.h"

namespace louddesk {

struct VerifyOptions {
  std::vector<std::string> cases;            // identifiers of cases or documents; empty: all cases
  std::vector<std::string> recordings = {};  // paths of copies, each of the recording of the case
                                             // in its place; empty: none
  int sampleRate = 48000;                    // of the signals, Hz
  ComplianceStyle style = ComplianceStyle::kTable;
  std::string report = {};                                 // path of the page to write; empty: none
  std::string meter = "front end, dispatcher and engine";  // in words, for the page
};

/// What is wrong with recordings for cases, in one line; empty when each belongs to a case of its
/// own that is a recording, and when there are none.
std::string ComplaintOnRecordings(const std::vector<std::string>& cases,
                                  const std::vector<std::string>& recordings);

/// Measures the cases with a meter and writes the rows of each as soon as they are known. The
/// report, where one is wanted, is written at the end; when it cannot be written at all, nothing is
/// measured. Returns the status of the program: 0, or 1 when a figure, a recording, `out` or the
/// report failed. REQUIRES: `ComplaintOnRecordings` finds nothing wrong.
int Verify(const VerifyOptions& options, MeterUnderTest& meter, std::ostream& out,
           std::ostream& errors);

}  // namespace louddesk
