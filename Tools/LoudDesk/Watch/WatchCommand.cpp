// `LoudDesk watch`: command line.

#include "WatchCommand.h"

#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

#include "NumberCheck.h"
#include "WatchSession.h"

namespace louddesk {
namespace {

constexpr char kCsv[] = "csv";
constexpr char kJson[] = "json";

constexpr unsigned kHighestMeterSet = 9999;
constexpr double kLowestTarget = -60;  // LKFS
constexpr double kLongestWatch = 1e7;  // s

constexpr char kFooter[] =
    "\nExample, beside a running service of meter set 1, cluster 1:\n"
    "  LoudDesk watch\n"
    "  LoudDesk watch --format csv --seconds 60 > minute.csv\n"
    "\n"
    "In a terminal it is a meter in the whole window; q or Ctrl-C ends it. Into a\n"
    "pipe it writes a line a second or, with --format, a row for each message the\n"
    "moment it comes: LKFS, LU and dBTP, with nothing (CSV) or null (JSON) where\n"
    "there is no reading. That no row comes for a second is said on standard error,\n"
    "and when they come again. The maximum short-term loudness is the highest seen\n"
    "here; the service publishes none. The true peak's figure is held for 3 s. The\n"
    "lowest true peak published is -90.31 dBTP, also of silence. NO_COLOR in the\n"
    "environment switches the colours off.\n"
    "\n"
    "States: RUNNING, PAUSED, STOPPED and NOT STARTED are what the service says.\n"
    "SILENT: for a second no data, though nothing says that it has stopped; its\n"
    "reporting is off, or it hangs. DEAD: it has published and does so no more.\n"
    "NO SERVICE: nobody publishes. WAITING: it has not said anything yet.\n"
    "\n"
    "The status is 0, also after Ctrl-C. It is 1 when the time given passes without a\n"
    "loudness message, the terminal cannot be used or the output takes no more.\n";

// What the user gave on the command line.
struct WatchArguments {
  WatchOptions options;
  std::string format;
  int scale = 9;
  unsigned long count = 0;
  double seconds = 0;
};

WatchFormat FormatOf(const std::string& name) {
  if (name == kCsv)
    return WatchFormat::kCsv;
  if (name == kJson)
    return WatchFormat::kJson;
  return isatty(STDOUT_FILENO) != 0 ? WatchFormat::kScreen : WatchFormat::kLines;
}

}  // namespace

void AddWatchCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("watch", "Watch a running service: a live meter");
  auto arguments = std::make_shared<WatchArguments>();
  WatchLook& look = arguments->options.look;
  command->add_option("--meter-set", look.meterSet, "Meter set of the service")
      ->capture_default_str()
      ->check(CLI::Range(0u, kHighestMeterSet));
  command->add_option("--cluster", look.cluster, "Cluster of the service")
      ->capture_default_str()
      ->check(CLI::Range(1, 8));
  command->add_option("--scale", arguments->scale, "EBU scale of the bars, +9 or +18 LU")
      ->capture_default_str()
      ->check(CLI::IsMember({9, 18}));
  command->add_option("--target", look.target, "Target loudness in LKFS, 0 LU on the scale")
      ->capture_default_str()
      ->check(Between(kLowestTarget, 0.0));
  command->add_option("--format", arguments->format, "Rows for other programs: csv or json")
      ->check(CLI::IsMember({kCsv, kJson}));
  CLI::Option* count =
      command->add_option("--count", arguments->count, "End after so many loudness messages")
          ->check(CheckCount);
  CLI::Option* seconds = command->add_option("--seconds", arguments->seconds, "End after so long")
                             ->check(Between(0.0, kLongestWatch));
  command->footer(kFooter);
  command->callback([=, &status] {
    WatchOptions& options = arguments->options;
    options.look.scale = arguments->scale == 9 ? LoudnessScale::kPlus9 : LoudnessScale::kPlus18;
    options.format = FormatOf(arguments->format);
    if (count->count() > 0)
      options.count = arguments->count;
    if (seconds->count() > 0)
      options.seconds = arguments->seconds;
    status = Watch(options, std::cout, std::cerr);
  });
}

}  // namespace louddesk
