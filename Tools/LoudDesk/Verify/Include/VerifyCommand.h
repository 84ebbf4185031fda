// The subcommand `LoudDesk verify`: proof by independent signals that the figures can be trusted.

#pragma once

#include <CLI/CLI.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "ComplianceFormat.h"

namespace louddesk {

struct VerifyOptions {
  std::vector<std::string> cases;  // identifiers of cases or documents; empty: all cases
  int sampleRate = 48000;          // Hz
  ComplianceStyle style = ComplianceStyle::kTable;
};

/// Measures the cases with a meter and writes the rows of each as soon as they are known. Returns
/// the status of the program: 0, or 1 when a figure failed or `out` did.
int Verify(const VerifyOptions& options, MeterUnderTest& meter, std::ostream& out,
           std::ostream& errors);

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddVerifyCommand(CLI::App& app, int& status);

}  // namespace louddesk
