// The subcommand `LoudDesk measure`: the figures of audio files as a table, JSON or CSV, their
// series, and a report on both.

#pragma once

#include <ostream>

#include "LiveLine.h"
#include "MeasureOptions.h"

namespace CLI {
class App;
}

namespace louddesk {

/// Measures the files, `options.jobs` at a time. Writes each row to `out` once it and all rows
/// before it are complete. For a file that cannot be measured, writes one line to `errors` and
/// continues. Writes the series and the report at the end, for all files; if they cannot be written
/// at all, nothing is measured. Shows progress if `progressColumns` is not empty. After an
/// interruption, writes what is finished and drops the rest. Returns the exit status of
/// `MeasureOutput`.
int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 const TerminalColumns& progressColumns);

/// Adds the subcommand to the command line. When selected, it runs during parsing and sets
/// `status`, which must outlive `app`.
void AddMeasureCommand(CLI::App& app, int& status);

}  // namespace louddesk
