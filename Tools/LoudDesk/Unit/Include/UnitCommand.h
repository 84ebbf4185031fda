// The subcommand `LoudDesk unit`: plays audio files as a unit around a running service.

#pragma once

#include <CLI/CLI.hpp>
#include <ostream>

#include "LiveLine.h"
#include "UnitPlayer.h"

namespace louddesk {

/// Plays the files one after another. Figures go to `out`, one line for what goes wrong to
/// `errors`. Files are looked at before anything is played. Returns the status of the program: 0,
/// also after Ctrl-C, or 1.
int PlayUnit(const UnitOptions& options, std::ostream& out, std::ostream& errors,
             TerminalColumns columns);

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddUnitCommand(CLI::App& app, int& status);

}  // namespace louddesk
