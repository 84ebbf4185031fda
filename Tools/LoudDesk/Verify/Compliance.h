// Passes the test signals of the standards through front end and meter, and judges the readings.

#pragma once

#include <functional>
#include <optional>
#include <string>

#include "ComplianceCases.h"
#include "MeterUnderTest.h"

namespace louddesk {

enum class ComplianceVerdict {
  kPass,    // meets the standard within its tolerance
  kGrid,    // misses the standard's tolerance, but reads what a meter
            // with blocks of 100 ms must read
  kFail,    // neither
  kNotRun,  // a recording without a copy to measure
};

/// One row of the table.
struct ComplianceRow {
  std::string caseId;
  std::string signal;                      // in words
  std::optional<Expectation> expectation;  // nothing if not run
  std::optional<double> measured;          // in the unit of the quantity
  ComplianceVerdict verdict = ComplianceVerdict::kNotRun;
};

/// Called with each row as soon as it is complete.
using RowSink = std::function<void(const ComplianceRow&)>;

/// Measures every run of a case, at `sampleRate` unless the run has its own rate. Passes on one row
/// per figure, or a single row for a recording.
void RunCase(const ComplianceCase& complianceCase, int sampleRate, MeterUnderTest& meter,
             const RowSink& sink);

/// Measures a copy of a case's recording to its end and passes on one row per figure. Throws
/// `AudioFileError` if the copy cannot be measured, is damaged or has other channels than the
/// recording; no row is passed on then. REQUIRES: the case is a recording.
void RunRecording(const ComplianceCase& complianceCase, const std::string& path,
                  MeterUnderTest& meter, const RowSink& sink);

/// The row for a recording that was not measured.
ComplianceRow NotRunRow(const ComplianceCase& complianceCase);

/// The verdict on a reading. A missing reading fails.
ComplianceVerdict ComplianceVerdictOn(const Expectation& expectation,
                                      const std::optional<double>& measured);

}  // namespace louddesk
