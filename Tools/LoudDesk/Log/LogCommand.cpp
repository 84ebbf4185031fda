// `LoudDesk log`: the command line.

#include "LogCommand.h"

#include <CLI/CLI.hpp>

#include <ctime>
#include <iostream>
#include <memory>

#include "Evidence.h"
#include "PageFile.h"
#include "PeriodLog.h"
#include "StationFile.h"
#include "TimeText.h"

namespace louddesk {
namespace {

constexpr char kFooter[] =
    "\nExample:\n"
    "  LoudDesk log --list\n"
    "  LoudDesk log --cluster 1-3 --last 1h\n"
    "  LoudDesk log --cluster 1-3 --from 2026-11-17 --to 2026-11-18 --report day.html\n"
    "  LoudDesk log --cluster 1-3 --from 2026-11-17T19:00Z --to 2026-11-17T20:45Z\n"
    "  LoudDesk log copy.db --cluster 1-3 --last 30m --profile ebu-r128 --live --fail\n"
    "  LoudDesk log --cluster 1-3 --from 20:00 --to 20:45 --series seconds.csv\n"
    "\n"
    "The record is the file that LoudGate keeps on the board, or a copy of it. It may\n"
    "be read while it is being written; the last minute may not be in it yet.\n"
    "Times are 2026-11-17, 2026-11-17T20:15, 2026-11-17T20:15:00 or, for today, 20:15\n"
    "in local time, 2026-11-17T20:15:00Z in UTC, 2026-11-17T20:15:00+01:00 with a\n"
    "time zone, or now. Durations are whole numbers with s, m, h, d or w. Without\n"
    "--to the period ends where the record does.\n"
    "Integrated loudness is that of all momentary readings in the period, gated\n"
    "according to ITU-R BS.1770. Readings are published in tenths, so it is within\n"
    "0.05 LU of that of the audio. Loudness is out of tolerance in the seconds in\n"
    "which the short-term loudness is, by the configuration in force at the time or\n"
    "by --target and --tolerance. Parts that are not in the record are listed as\n"
    "gaps. --series has a row for every second.\n"
    "The status is 1 when nothing is recorded for the period or something could not\n"
    "be written. With --fail it is also 1 when a limit could not be judged, as in\n"
    "silence, and otherwise 3 when a limit is broken.\n";

std::int64_t Now() {
  return std::time(nullptr);
}

std::string CheckTime(const std::string& text) {
  return ReadTime(text, Now()) ? ""
                               : text +
                                     " is not a time such as 2026-11-17T20:15:00+01:00, or is one "
                                     "that the clock shows twice or never";
}

std::string CheckDuration(const std::string& text) {
  return ReadDuration(text) ? "" : text + " is not a duration such as 90s, 15m, 1h or 7d";
}

std::string CheckCluster(const std::string& text) {
  return ClusterNamed(text) ? "" : text + " is not a cluster such as 1-3, cluster 3 of meter set 1";
}

void AddPeriodOptions(CLI::App& command, LogOptions& options) {
  CLI::Option* from =
      command
          .add_option_function<std::string>(
              "--from",
              [&options](const std::string& text) { options.period.from = ReadTime(text, Now()); },
              "Beginning of the period")
          ->check(CheckTime)
          ->type_name("TIME");
  command
      .add_option_function<std::string>(
          "--to",
          [&options](const std::string& text) { options.period.to = ReadTime(text, Now()); },
          "End of the period")
      ->check(CheckTime)
      ->type_name("TIME");
  command
      .add_option_function<std::string>(
          "--last",
          [&options](const std::string& text) { options.period.last = ReadDuration(text); },
          "Length of the period, instead of its beginning")
      ->check(CheckDuration)
      ->type_name("DURATION")
      ->excludes(from);
}

void AddOptions(CLI::App& command, LogOptions& options) {
  command.add_option("FILE", options.file, "The record")->capture_default_str();
  command
      .add_option_function<std::string>(
          "--cluster",
          [&options](const std::string& text) { options.cluster = ClusterNamed(text); },
          "Cluster, such as 1-3; required if several exist")
      ->check(CheckCluster)
      ->type_name("CLUSTER");
  AddPeriodOptions(command, options);
  AddFormatOption(command, options.style);
  command.add_option("--report", options.report, "Page to write; name ends in .html")
      ->check(CheckPageName);
  command
      .add_option("--series", options.series, "Table of all seconds to write; name ends in .csv")
      ->check(CheckCsvName);
  AddProfileOptions(command, options.profile);
}

void CheckPeriod(const LogOptions& options) {
  if (!options.period.from && !options.period.last)
    throw CLI::ValidationError("--from or --last is required");
  if (options.period.from && options.period.to && *options.period.from >= *options.period.to)
    throw CLI::ValidationError("--from is not before --to");
}

}  // namespace

void AddLogCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("log", "Report the loudness of a recorded period");
  auto options = std::make_shared<LogOptions>();
  options->file = kStationFile;
  auto lists = std::make_shared<bool>(false);
  AddOptions(*command, *options);
  command->add_flag("--list", *lists, "List what the record contains instead");
  command->footer(kFooter);
  command->callback([=, &status] {
    if (*lists) {
      status = ListRecord(options->file, std::cout, std::cerr);
      return;
    }
    CheckPeriod(*options);
    status = LogPeriod(*options, Now(), std::cout, std::cerr);
  });
}

}  // namespace louddesk
