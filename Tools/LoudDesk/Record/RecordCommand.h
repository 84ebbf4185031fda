// `LoudDesk record`: records the messages around a running service in a file.

#pragma once

namespace CLI {
class App;
}

namespace louddesk {

/// Adds the subcommand to `app`. When it is chosen, it runs during the parse and sets `status`,
/// which must outlive `app`.
void AddRecordCommand(CLI::App& app, int& status);

}  // namespace louddesk
