// The subcommand `LoudDesk send`: sends one message to a running service and waits for its
// acknowledgement.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand, with a nested subcommand for each kind of message, to the command line.
/// When selected, it runs during parsing and sets `status`, which must outlive `app`: 0 if the
/// service has acknowledged the message, otherwise 1.
void AddSendCommand(CLI::App& app, int& status);

}  // namespace louddesk
