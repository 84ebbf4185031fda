// The subcommand `LoudDesk send`: one message to a running service, and its acknowledgement.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand, with one of its own for each kind of message, to the command line. When it
/// is chosen, it runs during the parse and sets `status`, which must outlive `app`: 0 when the
/// service has acknowledged, 1 otherwise.
void AddSendCommand(CLI::App& app, int& status);

}  // namespace louddesk
