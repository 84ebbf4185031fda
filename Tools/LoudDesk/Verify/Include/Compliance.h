// Runs the test signals of the standards through front end and meter and judges what comes out.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ComplianceCases.h"
#include "MeterUnderTest.h"

namespace louddesk {

enum class Verdict {
  kPass,    // as the standard asks, within its tolerance
  kGrid,    // as a meter must read that works in blocks of 100 ms, which the standard's tolerance
            // does not cover
  kFail,    // neither
  kNotRun,  // there is no signal
};

/// One line of the table.
struct ComplianceRow {
  std::string caseId;
  std::string signal;                      // in words
  std::optional<Expectation> expectation;  // nothing when there is no signal
  std::optional<double> measured;          // in the unit of the quantity
  Verdict verdict = Verdict::kNotRun;
};

/// Measures every run of a case at the sample rate, unless the run has its own, and returns one row
/// for each figure, or a single one for a case without a signal.
std::vector<ComplianceRow> RunCase(const ComplianceCase& complianceCase, int sampleRate,
                                   MeterUnderTest& meter);

/// The verdict on a reading; one that is missing fails.
Verdict Judge(const Expectation& expectation, const std::optional<double>& measured);

}  // namespace louddesk
