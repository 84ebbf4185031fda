// The subcommand `LoudDesk log`: the loudness of a period, from the station's record.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddLogCommand(CLI::App& app, int& status);

}  // namespace louddesk
