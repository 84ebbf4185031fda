// `LoudDesk replay`: lists a recording, plays it to a service, or compares a service with it.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to `app`. When it is chosen, it runs during the parse and sets `status`,
/// which must outlive `app`.
void AddReplayCommand(CLI::App& app, int& status);

}  // namespace louddesk
