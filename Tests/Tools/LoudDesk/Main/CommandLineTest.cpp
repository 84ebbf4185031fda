// The command line of the whole tool: wrong arguments, and the examples in its help.

#include "CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace louddesk {
namespace {

using testing::HasSubstr;

struct Outcome {
  int status = -1;
  std::string out;
  std::string errors;
};

Outcome OutcomeOf(const std::vector<std::string>& arguments) {
  std::ostringstream out;
  std::ostringstream errors;
  const int status = RunCommandLine(arguments, out, errors);
  return {status, out.str(), errors.str()};
}

// All subcommands. Each ends the parse once its arguments have been accepted, before it does
// anything.
class IdleCommandLine {
 public:
  IdleCommandLine() {
    AddSubcommands(mApp, mStatus);
    Visit(mApp, [](CLI::App& app) { app.parse_complete_callback([] { throw CLI::Success(); }); });
  }

  // The complaint about the arguments; empty if they are right.
  std::string Complaint(const std::string& arguments) {
    try {
      mApp.parse(arguments);
    } catch (const CLI::Success&) {
      return mApp.remaining(true).empty() ? "" : mApp.remaining(true).front() + " is left over";
    } catch (const CLI::ParseError& error) {
      return error.what();
    }
    return "no subcommand was reached";
  }

  template <typename Action>
  void Visit(CLI::App& app, const Action& action) {
    for (CLI::App* subcommand : app.get_subcommands([](CLI::App*) { return true; })) {
      action(*subcommand);
      Visit(*subcommand, action);
    }
  }

  CLI::App& App() { return mApp; }

 private:
  int mStatus = 0;
  CLI::App mApp{"", "LoudDesk"};
};

// The arguments of LoudDesk in each example of a help text, up to a redirection or a pipe.
std::vector<std::string> ExamplesIn(const std::string& help) {
  constexpr char kName[] = "LoudDesk ";
  std::vector<std::string> examples;
  std::istringstream lines(help.substr(std::min(help.find("\nExample"), help.size())));
  std::string line;
  std::getline(lines, line);
  std::getline(lines, line);  // "Example:"
  while (std::getline(lines, line) && line.rfind("  ", 0) == 0) {
    const std::size_t name = line.find(kName);
    if (name != std::string::npos)
      examples.push_back(line.substr(name + sizeof kName - 1,
                                     line.find_first_of(">&|", name) - name - sizeof kName + 1));
  }
  return examples;
}

TEST(CommandLineTest, EverySubcommandShowsExamplesThatItUnderstands) {
  std::vector<std::string> examples;
  IdleCommandLine all;
  all.Visit(all.App(), [&](CLI::App& app) {
    const auto found = ExamplesIn(app.help());
    EXPECT_FALSE(found.empty()) << app.get_name();
    examples.insert(examples.end(), found.begin(), found.end());
  });
  EXPECT_GT(examples.size(), 15U);
  for (const std::string& example : examples)
    EXPECT_EQ(IdleCommandLine().Complaint(example), "") << example;
}

// Tests the check itself: it finds a wrong example, and the end of a right one before a pipe.
TEST(CommandLineTest, ExamplesAreReadUpToWhereTheShellTakesOver) {
  EXPECT_THAT(ExamplesIn("Usage\n\nExample:\n  LoudDesk watch --loud > x\n  export A=1\n"
                         "  (sleep 5) | LoudDesk unit a.wav\n\n  LoudDesk is no example here\n"),
              testing::ElementsAre("watch --loud ", "unit a.wav"));
  EXPECT_EQ(IdleCommandLine().Complaint("watch --loud"), "--loud is left over");
  EXPECT_NE(IdleCommandLine().Complaint("watch --cluster 9"), "");
  EXPECT_NE(IdleCommandLine().Complaint("send command strat"), "");
}

TEST(CommandLineTest, EveryHelpFits80Columns) {
  IdleCommandLine all;
  all.Visit(all.App(), [](CLI::App& app) {
    std::istringstream lines(app.help());
    for (std::string line; std::getline(lines, line);)
      EXPECT_LE(line.size(), 80U) << app.get_name() << ": " << line;
  });
}

TEST(CommandLineTest, WhatIsNotUnderstoodIsNamedInOneLine) {
  struct {
    std::vector<std::string> arguments;
    const char* line;
  } const cases[] = {
      {{},
       "a subcommand is missing after LoudDesk: measure, unit, verify, watch, send, record, "
       "replay or log"
       " (see LoudDesk --help)"},
      {{"meassure", "x.wav"},
       "meassure: no such subcommand; the subcommands are measure, unit, verify, watch, send, "
       "record, "
       "replay or log"
       " (see LoudDesk --help)"},
      {{"analyse"},
       "analyse: no such subcommand; the subcommands are measure, unit, verify, watch, send, "
       "record, replay "
       "or log"
       " (see LoudDesk --help)"},
      {{""},
       ": no such subcommand; the subcommands are measure, unit, verify, watch, send, record, "
       "replay or log "
       "(see "
       "LoudDesk"
       " --help)"},
      {{"--verson"}, "--verson: no such option (see LoudDesk --help)"},
      {{"send"},
       "a subcommand is missing after LoudDesk send: enable, disable, preset, config or command"
       " (see LoudDesk send --help)"},
      {{"send", "comand", "start"},
       "comand: no such subcommand; the subcommands are enable, disable, preset, config or command"
       " (see LoudDesk send --help)"},
      {{"send", "--cluster", "2", "strat"},
       "strat: no such subcommand; the subcommands are enable, disable, preset, config or command"
       " (see LoudDesk send --help)"},
      {{"send", "command", "strat"},
       "NAME: strat not in {pause,play,reset,start,stop} (see LoudDesk send command --help)"},
      {{"measure"}, "FILE is required (see LoudDesk measure --help)"},
      {{"measure", "--formt", "csv", "a.wav"},
       "--formt: no such option (see LoudDesk measure --help)"},
      {{"watch", "--count", "-1"}, "--count: \"-1\" is not a count (see LoudDesk watch --help)"},
      {{"watch", "--target", "nan"},
       "--target: \"nan\" is not between -60 and 0 (see LoudDesk watch --help)"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = OutcomeOf(c.arguments);
    EXPECT_EQ(outcome.status, kWrongUsage) << c.line;
    EXPECT_EQ(outcome.out, "") << c.line;
    EXPECT_EQ(outcome.errors, std::string("LoudDesk: ") + c.line + "\n");
  }
}

TEST(CommandLineTest, HelpIsNotAFailure) {
  const Outcome outcome = OutcomeOf({"--help"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  for (const char* name : {"measure", "unit", "verify", "watch", "send"})
    EXPECT_THAT(outcome.out, HasSubstr(std::string("\n  ") + name + " "));
  EXPECT_THAT(OutcomeOf({"send", "command", "--help"}).out, HasSubstr("\nExample:\n"));
}

TEST(CommandLineTest, VersionIsThatOfTheProject) {
  const Outcome outcome = OutcomeOf({"--version"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "LoudDesk " PROJECT_VERSION "\n");
  EXPECT_EQ(outcome.errors, "");
}

}  // namespace
}  // namespace louddesk
