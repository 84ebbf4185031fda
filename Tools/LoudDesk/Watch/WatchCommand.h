// The subcommand `LoudDesk watch`: a live meter of a running service, from its published messages
// alone.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddWatchCommand(CLI::App& app, int& status);

}  // namespace louddesk
