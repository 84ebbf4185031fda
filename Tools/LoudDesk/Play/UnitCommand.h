// The subcommand `LoudDesk unit`: plays audio files and test signals as the unit around a running
// service.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to the command line. When selected, it runs during parsing and sets
/// `status`, which must outlive `app`: 0 (also after Ctrl-C) or 1.
void AddUnitCommand(CLI::App& app, int& status);

}  // namespace louddesk
