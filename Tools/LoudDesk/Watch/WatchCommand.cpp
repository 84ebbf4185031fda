// The command line and the main loop of `LoudDesk watch`.

#include "WatchCommand.h"

#include <fmt/format.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "Complaints.h"
#include "Endpoints.h"
#include "NumberCheck.h"
#include "ServiceFeed.h"
#include "ServiceOptionBounds.h"
#include "WatchAll.h"
#include "WatchControl.h"
#include "WatchKeys.h"
#include "WatchViews.h"

namespace louddesk {
namespace {

constexpr char kCsv[] = "csv";
constexpr char kJson[] = "json";

constexpr double kHighestTolerance = 99;  // LU
constexpr double kLongestWatch = 1e7;     // s

constexpr char kFooter[] =
    "\nExample, beside a running service of meter set 1, cluster 1:\n"
    "  LoudDesk watch\n"
    "  LoudDesk watch --format csv --seconds 60 > minute.csv\n"
    "\n"
    "In a terminal it is a meter that fills the window; h shows its keys, q or Ctrl-C\n"
    "ends it. With --control the keys 1 to 5 start, pause, play, stop and reset the\n"
    "measurement of meter set 1; the meter then holds the endpoint of the application\n"
    "server of the main board, which no other program may use. Into a pipe it writes\n"
    "a line a second or, with --format, a row for each message as soon as it comes:\n"
    "LKFS, LU and dBTP, with nothing (CSV) or null (JSON) where there is no reading.\n"
    "When no row comes for a second, a line on standard error says so, and another\n"
    "when they come again. The maximum short-term loudness is the highest seen here;\n"
    "the service does not publish one. The figure of the true peak is held for 3 s.\n"
    "The lowest true peak published is -90.31 dBTP, also for silence. NO_COLOR in the\n"
    "environment switches the colours off.\n"
    "\n"
    "Target, scale and tolerance are those of the configuration that the service\n"
    "republishes, unless they are given as options. If neither is known, they are\n"
    "those of EBU R 128: -23 LKFS, +9 and 1 LU. Loudness below the tolerance is\n"
    "yellow, above it red; > at the end of a bar marks a value beyond its scale.\n"
    "\n"
    "With --all every cluster publishing on this machine has a row; Enter opens its\n"
    "meter, and b goes back.\n"
    "\n"
    "States: RUNNING, PAUSED, STOPPED and NOT STARTED are what the service says. No\n"
    "change for N s: data comes, but always with the same figures, which are not\n"
    "silence; the source's blocks have stopped coming, or it is a steady tone.\n"
    "SILENT: no data for a second, although the service has not said that it has\n"
    "stopped; its reporting is off, or it hangs. DEAD: the service has published and\n"
    "no longer does. NO SERVICE: no service publishes. WAITING: it has not said\n"
    "anything yet.\n"
    "\n"
    "The status is 0, also after Ctrl-C. It is 1 when the time given passes without a\n"
    "loudness message, the terminal cannot be used or the output cannot be written.\n";

// The options of the command line.
struct WatchOptions {
  WatchLook look;
  bool isAll = false;  // every cluster on this machine
  std::string format;
  std::optional<unsigned long> count;  // number of loudness messages after which to end
  std::optional<double> seconds;       // duration after which to end
};

std::unique_ptr<WatchView> MakeView(const WatchOptions& options, CommandSink send) {
  if (options.format == kCsv)
    return MakeCsvView(std::cout, std::cerr);
  if (options.format == kJson)
    return MakeJsonView(std::cout, std::cerr);
  return isatty(STDOUT_FILENO) != 0 ? MakeScreenView(options.look, std::move(send))
                                    : MakeLineView(std::cout);
}

using Clock = std::chrono::steady_clock;

WallTime WallTimeOf(WatchModel::Time time) {
  const auto ago =
      std::chrono::duration_cast<std::chrono::system_clock::duration>(Clock::now() - time);
  return std::chrono::system_clock::now() - ago;
}

class WatchSession {
 public:
  explicit WatchSession(const WatchOptions& options)
      : mOptions(options),
        mFeed(options.look.meterSet, options.look.cluster),
        mStart(Clock::now()),
        mModel(mStart) {
    if (options.look.isControlling)
      mControl.emplace(options.look.meterSet, options.look.cluster);
  }

  void Send(const std::string& command) { mControl->Send(command); }

  /// Runs until the count, the duration, the user or `out` ends it.
  void Run(WatchView& view, const std::ostream& out) {
    while (!IsOver() && out && zsys_interrupted == 0 && view.TakeKeys(mModel)) {
      WaitAndRead({&mFeed}, TimeToRefresh(), view.HasKeys() ? STDIN_FILENO : -1);
      mModel.SetConnected(mFeed.HasDataPublisher() && mFeed.HasStatePublisher());
      TakeMessages(view);
      TakeNews();
      mModel.Advance(Clock::now());
      view.Refresh(mModel, Clock::now());
    }
  }

  /// Reports what the user must know and has not seen on the screen.
  void Conclude(Complaints& complaints) const {
    if (mMalformed > 0)
      complaints.Note(std::to_string(mMalformed) + " loudness messages of an unknown form skipped");
    if (mTaken == 0 && HasTimeEnded())
      complaints.Add(NoDataText());
  }

 private:
  bool IsComplete() const { return mOptions.count && mTaken >= *mOptions.count; }

  bool HasTimeEnded() const {
    return mOptions.seconds &&
           Clock::now() - mStart >= std::chrono::duration<double>(*mOptions.seconds);
  }

  std::string NoDataText() const {
    return fmt::format("no loudness data from meter set {}, cluster {} in {:g} s ({})",
                       mOptions.look.meterSet, mOptions.look.cluster, *mOptions.seconds,
                       WordsOf(mModel.State(Clock::now())).name);
  }

  bool IsOver() const { return IsComplete() || HasTimeEnded(); }

  Patience TimeToRefresh() const {
    if (!mOptions.seconds)
      return kRefresh;
    const auto end = std::chrono::duration<double>(*mOptions.seconds) - (Clock::now() - mStart);
    return std::clamp(std::chrono::ceil<Patience>(end), Patience{0}, kRefresh);
  }

  void TakeMessages(WatchView& view) {
    for (auto& data = mFeed.Data(); !IsComplete() && !data.empty(); data.pop_front()) {
      if (data.front().wellFormed)
        TakeData(data.front(), view);
      else
        ++mMalformed;
    }
    for (auto& states = mFeed.States(); !states.empty(); states.pop_front())
      if (const auto answer = ReadAnswer(states.front()))
        TakeAnswer(*answer, view);
  }

  void TakeNews() {
    if (!mControl)
      return;
    const std::string localTime = LocalClockText(std::chrono::system_clock::now());
    for (const std::string& text : mControl->TakeNews())
      mModel.AddNote(localTime, text);
  }

  void TakeData(const LoudnessMessage& message, WatchView& view) {
    ++mTaken;
    mModel.TakeData(message);
    view.ShowData(message, WallTimeOf(message.time));
  }

  void TakeAnswer(const ServiceAnswer& answer, WatchView& view) {
    const WallTime now = std::chrono::system_clock::now();
    mModel.TakeAnswer(answer, Clock::now(), LocalClockText(now));
    if (!answer.isRepublished)
      view.ShowAnswer(AnswerText(answer), now);
  }

  WatchOptions mOptions;
  ServiceFeed mFeed;  // before any view: the terminal respects existing signal handlers
  std::optional<WatchControl> mControl;
  Clock::time_point mStart;
  WatchModel mModel;
  unsigned long mTaken = 0;      // loudness messages taken
  unsigned long mMalformed = 0;  // loudness messages that could not be decoded
};

void NeedTerminal(bool isWanted, const std::string& option, const std::string& instead) {
  if (isWanted && (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0))
    throw std::runtime_error(option + " needs a terminal and its keys; without one, " + instead);
}

int Watch(const WatchOptions& options) {
  Complaints complaints(std::cerr);
  try {
    NeedTerminal(options.look.isControlling, "--control", "use LoudDesk send command");
    NeedTerminal(options.isAll, "--all", "watch one --cluster");
    if (options.isAll) {
      WatchAllClusters(options.look);
      return complaints.Status();
    }
    WatchSession session(options);
    const auto send = [&session](const std::string& command) { session.Send(command); };
    session.Run(*MakeView(options, send), std::cout);
    if (std::cout)
      session.Conclude(complaints);
    else
      complaints.Add("the figures could not be written");
  } catch (const std::runtime_error& error) {
    complaints.Add(error.what());
  }
  return complaints.Status();
}

}  // namespace

void AddWatchCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("watch", "Watch a running service: a live meter");
  auto options = std::make_shared<WatchOptions>();
  WatchLook& look = options->look;
  command->add_option("--meter-set", look.meterSet, "Meter set of the service")
      ->capture_default_str()
      ->check(CLI::Range(0u, kHighestMeterSet));
  command->add_option("--cluster", look.cluster, "Cluster of the service")
      ->capture_default_str()
      ->check(CLI::Range(1, kMaxCluster));
  command->add_option("--scale", look.scale, "EBU scale of the bars, +9 or +18 LU")
      ->check(CLI::IsMember({kLowScale, kHighScale}));
  command->add_option("--target", look.target, "Target loudness in LKFS, 0 LU on the scale")
      ->check(Between(kLowestTarget, kHighestTarget));
  command->add_option("--tolerance", look.tolerance, "Tolerance on either side of the target, LU")
      ->check(Between(0.0, kHighestTolerance));
  command->add_option("--format", options->format, "Rows for other programs: csv or json")
      ->check(CLI::IsMember({kCsv, kJson}));
  command->add_option("--count", options->count, "End after this many loudness messages")
      ->check(CheckCount);
  command->add_option("--seconds", options->seconds, "End after this time")
      ->check(Between(0.0, kLongestWatch));
  command->add_flag("--control", look.isControlling, "Send commands to the service by keys");
  CLI::Option* all = command->add_flag("--all", options->isAll,
                                       "Show every cluster that publishes on this machine");
  for (const char* one :
       {"--meter-set", "--cluster", "--control", "--format", "--count", "--seconds"})
    all->excludes(command->get_option(one));
  command->footer(kFooter);
  command->callback([options, &status] {
    // Services of other meter sets do not subscribe to commands.
    if (options->look.isControlling && options->look.meterSet != kLastMeterSetWithTopics)
      throw CLI::ValidationError("--control", "only a service of meter set 1 takes commands");
    status = Watch(*options);
  });
}

}  // namespace louddesk
