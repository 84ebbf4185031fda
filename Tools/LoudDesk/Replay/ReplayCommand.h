// `LoudDesk replay`: a recording, listed, played to a service, or compared with what one publishes.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to `app`. When it is chosen, it runs during the parse and sets `status`,
/// which must outlive `app`.
void AddReplayCommand(CLI::App& app, int& status);

}  // namespace louddesk
