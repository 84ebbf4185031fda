// The subcommand `LoudDesk measure`: the figures of audio files as a table or as JSON.

#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "SpeakerLayout.h"

namespace louddesk {

enum class FigureStyle {
  kTable,  // for people
  kJson,   // one object a line
};

struct MeasureOptions {
  std::vector<std::string> files;
  FigureStyle style = FigureStyle::kTable;
  std::optional<SpeakerLayout> speakers;  // for every file; nothing: by the number of channels
};

/// Columns of the terminal that progress is shown on; nothing: progress is not shown.
using ProgressColumns = std::optional<std::size_t>;

/// Measures the files one after another, each row on `out` as soon as it is known. A file that
/// cannot be measured is one line on `errors` that names it, and the others are measured still.
/// Returns the status of the program: 0, or 1 when a file failed or `out` did.
int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 ProgressColumns progressColumns);

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddMeasureCommand(CLI::App& app, int& status);

}  // namespace louddesk
