// The subcommand `LoudDesk verify`: proof by independent signals that the figures can be trusted.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to the command line. When it is chosen, it runs during the parse and sets
/// `status`, which must outlive `app`.
void AddVerifyCommand(CLI::App& app, int& status);

}  // namespace louddesk
