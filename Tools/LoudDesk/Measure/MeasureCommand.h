// The subcommand `LoudDesk measure`: the figures of audio files as a table, as JSON or as
// comma-separated values, their series, and a report on both.

#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <functional>
#include <ostream>

#include "MeasureOptions.h"

namespace louddesk {

/// Asked for the columns of the terminal that progress is shown on; empty: it is not shown.
using ProgressColumns = std::function<std::size_t()>;

/// Measures the files, as many at a time as there are jobs, each row on `out` as soon as it and all
/// before it are known. A file that cannot be measured is one line on `errors` that names it, and
/// the others are measured still. What goes to files is written at the end and covers all files;
/// when it cannot be written at all, nothing is measured. After an interruption what is finished is
/// written and the rest left. Returns the status of the program, as of `MeasureOutput`.
int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 const ProgressColumns& progressColumns);

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddMeasureCommand(CLI::App& app, int& status);

}  // namespace louddesk
