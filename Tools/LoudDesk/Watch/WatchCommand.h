// The subcommand `LoudDesk watch`: a live meter of a running service, based only on its published
// messages.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to the command line. When selected, it runs during parsing and sets
/// `status`, which must outlive `app`.
void AddWatchCommand(CLI::App& app, int& status);

}  // namespace louddesk
