// The subcommand `LoudDesk measure`: the figures of audio files as a table, as JSON or as
// comma-separated values, their series, and a report on both.

#pragma once

#include <ostream>

#include "LiveLine.h"
#include "MeasureOptions.h"

namespace CLI {
class App;
}

namespace louddesk {

/// Measures the files, as many at a time as there are jobs, each row on `out` as soon as it and all
/// before it are known. A file that cannot be measured is one line on `errors` that names it, and
/// the others are measured still. What goes to files is written at the end and covers all files;
/// when it cannot be written at all, nothing is measured. Progress is shown where there are columns
/// for it. After an interruption what is finished is
/// written and the rest left. Returns the status of the program, as of `MeasureOutput`.
int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 const TerminalColumns& progressColumns);

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddMeasureCommand(CLI::App& app, int& status);

}  // namespace louddesk
