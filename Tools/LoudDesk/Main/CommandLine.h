// The command line of the whole tool: its subcommands, and one line for what is wrong with it.

#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace louddesk {

/// The status of the program when the command line cannot be understood.
constexpr int kWrongUsage = 2;

/// Adds all subcommands. The one that is chosen runs during the parse and sets `status`.
void AddSubcommands(CLI::App& app, int& status);

/// Parses the arguments, those after the name of the program, and thereby runs a subcommand. Help
/// goes to `out`. What cannot be understood is one line on `errors`. Returns the status of the
/// program.
int RunCommandLine(std::vector<std::string> arguments, std::ostream& out, std::ostream& errors);

}  // namespace louddesk
