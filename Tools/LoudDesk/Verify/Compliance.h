// Runs the test signals of the standards through front end and meter and judges what comes out.

#pragma once

#include <functional>
#include <optional>
#include <string>

#include "ComplianceCases.h"
#include "MeterUnderTest.h"

namespace louddesk {

enum class ComplianceVerdict {
  kPass,    // as the standard asks, within its tolerance
  kGrid,    // as a meter that works in blocks of 100 ms must read, but outside the standard's
            // tolerance
  kFail,    // neither
  kNotRun,  // a recording of which no copy was measured
};

/// One line of the table.
struct ComplianceRow {
  std::string caseId;
  std::string signal;                      // in words
  std::optional<Expectation> expectation;  // nothing when it was not run
  std::optional<double> measured;          // in the unit of the quantity
  ComplianceVerdict verdict = ComplianceVerdict::kNotRun;
};

/// Called with each row as soon as it is known.
using RowSink = std::function<void(const ComplianceRow&)>;

/// Measures every run of a case at the sample rate, unless the run has its own. There is one row
/// for each figure, or a single one for a recording.
void RunCase(const ComplianceCase& complianceCase, int sampleRate, MeterUnderTest& meter,
             const RowSink& sink);

/// Measures a copy of the recording of a case to its end, with one row for each figure. Throws
/// `AudioFileError` when the copy cannot be measured, is damaged or has other channels than the
/// recording; there is no row then. REQUIRES: the case is a recording.
void RunRecording(const ComplianceCase& complianceCase, const std::string& path,
                  MeterUnderTest& meter, const RowSink& sink);

/// The row of a recording that was not measured.
ComplianceRow NotRunRow(const ComplianceCase& complianceCase);

/// The verdict on a reading; one that is missing fails.
ComplianceVerdict ComplianceVerdictOn(const Expectation& expectation,
                                      const std::optional<double>& measured);

}  // namespace louddesk
