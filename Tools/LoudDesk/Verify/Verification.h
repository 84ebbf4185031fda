// A whole verification, from the first case to the last.

#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "ComplianceFormat.h"

namespace louddesk {

struct VerifyOptions {
  std::vector<std::string> cases;            // identifiers of cases or documents; empty: all cases
  std::vector<std::string> recordings = {};  // paths of copies; each is a copy of the recording of
                                             // the case at the same index; empty: none
  int sampleRate = 48000;                    // of the signals, Hz
  ComplianceStyle style = ComplianceStyle::kTable;
  std::string report = {};                                 // path of the page to write; empty: none
  std::string meter = "front end, dispatcher and engine";  // description for the page
};

/// What is wrong with the recordings for these cases, in one line. Empty if there are no
/// recordings, or if each belongs to its own case and that case is a recording.
std::string ComplaintOnRecordings(const std::vector<std::string>& cases,
                                  const std::vector<std::string>& recordings);

/// Measures the cases and writes the rows of each as soon as they are complete. Writes the
/// requested report at the end; if it cannot be written at all, nothing is measured. Returns the
/// exit status: 0, or 1 if a figure, a recording, `out` or the report failed.
/// REQUIRES: `ComplaintOnRecordings` returns an empty text.
int Verify(const VerifyOptions& options, MeterUnderTest& meter, std::ostream& out,
           std::ostream& errors);

}  // namespace louddesk
