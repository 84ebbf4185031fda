// The subcommands, and the errors for command lines that none of them accepts.

#include "CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>

#include "LogCommand.h"
#include "MeasureCommand.h"
#include "PrintableText.h"
#include "RecordCommand.h"
#include "ReplayCommand.h"
#include "SendCommand.h"
#include "UnitCommand.h"
#include "VerifyCommand.h"
#include "Version.h"
#include "WatchCommand.h"

namespace louddesk {
namespace {

constexpr char kName[] = "LoudDesk";

// The innermost subcommand on the command line, and the words up to it.
struct Reached {
  const CLI::App* app;
  std::string words;
};

Reached InnermostOf(const CLI::App& app) {
  Reached reached = {&app, kName};
  while (!reached.app->get_subcommands().empty()) {
    reached.app = reached.app->get_subcommands().front();
    reached.words += " " + reached.app->get_name();
  }
  return reached;
}

std::vector<std::string> SubcommandsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* subcommand : app.get_subcommands(nullptr))
    names.push_back(subcommand->get_name());
  return names;
}

// "measure, unit, verify, watch or send".
std::string Choice(const std::vector<std::string>& names) {
  return fmt::format("{} or {}", fmt::join(names.begin(), names.end() - 1, ", "), names.back());
}

bool IsOption(const std::string& word) {
  return word.size() > 1 && word[0] == '-';
}

// A word that looks like an option may be the name of a file.
std::string ComplaintOnOption(const std::string& word) {
  std::error_code error;
  return word + ": no such option" +
         (std::filesystem::exists(word, error) ? "; write a file of that name after --" : "");
}

// An unknown option is either left over or was typed in place of a required argument.
bool IsBecauseOfUnknownWord(const CLI::ParseError& error) {
  return dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr ||
         dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
}

// The error for the first unknown word, where a subcommand is expected.
std::string ComplaintOnWord(const Reached& reached, const std::vector<std::string>& leftOver) {
  const std::vector<std::string> names = SubcommandsOf(*reached.app);
  if (leftOver.empty())
    return "a subcommand is missing after " + reached.words + ": " + Choice(names);
  const std::string& word = leftOver.front();
  return IsOption(word) ? ComplaintOnOption(word)
                        : word + ": no such subcommand; the subcommands are " + Choice(names);
}

bool LacksSubcommand(const CLI::App& app) {
  return app.get_require_subcommand_min() > 0 && app.get_subcommands().empty();
}

std::string ComplaintOn(const CLI::App& app, const CLI::ParseError& error) {
  const Reached reached = InnermostOf(app);
  const std::vector<std::string> leftOver = app.remaining(true);
  if (LacksSubcommand(*reached.app))
    return ComplaintOnWord(reached, leftOver);
  const auto unknown = std::find_if(leftOver.begin(), leftOver.end(), IsOption);
  return unknown != leftOver.end() && IsBecauseOfUnknownWord(error) ? ComplaintOnOption(*unknown)
                                                                    : std::string(error.what());
}

}  // namespace

void AddSubcommands(CLI::App& app, int& status) {
  app.require_subcommand(1);
  AddMeasureCommand(app, status);
  AddUnitCommand(app, status);
  AddVerifyCommand(app, status);
  AddWatchCommand(app, status);
  AddSendCommand(app, status);
  AddRecordCommand(app, status);
  AddReplayCommand(app, status);
  AddLogCommand(app, status);
}

int RunCommandLine(std::vector<std::string> arguments, std::ostream& out, std::ostream& errors) {
  CLI::App app("LoudDesk: measures loudness with the engine of the service", kName);
  app.set_version_flag("--version", std::string(kName) + " " + kVersion);
  int status = 0;
  AddSubcommands(app, status);
  std::reverse(arguments.begin(), arguments.end());  // the order that CLI11 expects
  try {
    app.parse(std::move(arguments));
    return status;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0)
      return app.exit(error, out, errors);
    errors << kName << ": " << Printable(ComplaintOn(app, error)) << " (see "
           << InnermostOf(app).words << " --help)\n";
    return kWrongUsage;
  }
}

}  // namespace louddesk
