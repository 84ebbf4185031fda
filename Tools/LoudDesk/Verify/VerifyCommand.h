// The subcommand `LoudDesk verify`: checks the figures with independent test signals.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to the command line. When selected, it runs during parsing and sets
/// `status`, which must outlive `app`.
void AddVerifyCommand(CLI::App& app, int& status);

}  // namespace louddesk
