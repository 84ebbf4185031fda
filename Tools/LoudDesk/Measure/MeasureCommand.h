// The subcommand `LoudDesk measure`: the figures of audio files as a table or as JSON, their series
// as CSV, and a report on both.

#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "LoudnessLimits.h"
#include "SpeakerLayout.h"

namespace louddesk {

enum class FigureStyle {
  kTable,  // for people
  kJson,   // one object a line
  kCsv,    // the series instead of the figures, one row for each 100 ms
};

struct MeasureOptions {
  std::vector<std::string> files;
  FigureStyle style = FigureStyle::kTable;
  std::optional<SpeakerLayout> speakers;  // for every file; nothing: by the number of channels
  std::string report = {};                // path of the page to write; empty: none
  LoudnessLimits limits = {};             // that the report judges by
};

/// Columns of the terminal that progress is shown on; nothing: progress is not shown.
using ProgressColumns = std::optional<std::size_t>;

/// Measures the files one after another, each row on `out` as soon as it is known. A file that
/// cannot be measured is one line on `errors` that names it, and the others are measured still.
/// The report, where one is wanted, is written at the end and covers all files; when it cannot be
/// written at all, nothing is measured. Returns the status of the program: 0, or 1 when a file,
/// `out` or the report failed. Verdicts do not count.
int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 ProgressColumns progressColumns);

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddMeasureCommand(CLI::App& app, int& status);

}  // namespace louddesk
