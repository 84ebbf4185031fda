// The command line of the whole tool.

#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace louddesk {

/// The exit status for an invalid command line.
constexpr int kWrongUsage = 2;

/// Adds all subcommands. The selected one runs during parsing and sets `status`.
void AddSubcommands(CLI::App& app, int& status);

/// Parses the arguments, without the name of the program, and runs the selected subcommand. Writes
/// help to `out`, and one line to `errors` if the command line is invalid. Returns the exit status.
int RunCommandLine(std::vector<std::string> arguments, std::ostream& out, std::ostream& errors);

}  // namespace louddesk
