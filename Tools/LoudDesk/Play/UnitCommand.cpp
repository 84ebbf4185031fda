// The command line of `LoudDesk unit`.

#include "UnitCommand.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "Endpoints.h"
#include "NumberCheck.h"
#include "ServiceOptionBounds.h"
#include "UnitPlayer.h"

namespace louddesk {
namespace {

constexpr double kSlowestSpeed = 0.01;
constexpr double kShortestDuration = 0.1;   // s, a block
constexpr double kLongestDuration = 86400;  // s

constexpr char kFooter[] =
    "\nExample, with the service of the first cluster on the same machine:\n"
    "  export LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1\n"
    "  export LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2\n"
    "  LoudCalc -m 1 -c 1 &\n"
    "  LoudDesk unit /usr/share/sounds/alsa/Front_Center.wav\n"
    "  LoudDesk unit --tone 997,-23\n"
    "  LoudDesk unit --noise -20 --duration 10 --case 3341-5 --loop\n"
    "  (sleep 5; echo pause; sleep 5; echo play) | LoudDesk unit --tone 997,-23\n"
    "\n"
    "No other program may use the endpoints of the unit's application servers,\n"
    "hardware manager, process monitor, log sink and signal processor. The figures\n"
    "shown are those that the service publishes: momentary (M), short-term (S) and\n"
    "integrated (I) loudness, loudness range (LRA) and true peak (TP); - means no\n"
    "reading. Integrated loudness, programme loudness and loudness range are\n"
    "refreshed once a second. At the end they may lack the last second, so for a file\n"
    "of a few seconds they differ from those of LoudDesk measure. The lowest true\n"
    "peak published is -90.31 dBTP, also for silence, where LoudDesk measure has\n"
    "none.\n"
    "\n"
    "Files are played first, then tones, noises and cases, each in the order given.\n"
    "Tones and noises are stereo, at 48 kHz; levels in dBFS are the peak of a tone\n"
    "and the rms of a noise. Without --duration they last until Ctrl-C. Cases are\n"
    "those of LoudDesk verify, such as 3341-5, except those that are recordings; 3341\n"
    "means all of that document. A source with the same speakers continues the\n"
    "measurement; one with other speakers restarts it, and so does each signal of a\n"
    "case.\n"
    "\n"
    "During playback the service takes orders: lines with one of these words or\n"
    "letters, typed or from a pipe or file. Each order is shown with the answer of\n"
    "the service before the next one is read. The end of the input does not end\n"
    "playback.\n"
    "  start (s)          stop (t)           reporting on (+)\n"
    "  pause (p)          reset (r)          reporting off (-)\n"
    "  play (y)           print (i)          help (h)           quit (q)\n"
    "print makes the service print the order on its own console. With reporting off,\n"
    "orders wait. The service is in the mode Manual, in which it stops on command; it\n"
    "also stops when it is reset while paused.\n"
    "\n"
    "Ctrl-C and quit print the figures so far and end with status 0. The status is 1\n"
    "when something cannot be played or the service does not answer.\n";

// Services of other meter sets do not subscribe to presets, or not to the data that is played.
std::string CheckMeterSet(const std::string& value) {
  return value == std::to_string(kLastMeterSetWithTopics)
             ? ""
             : "only a service of meter set 1 takes presets and raw data from a unit";
}

// A source that cannot be played as requested is an error of the command line.
std::vector<Playable> ListOf(const PlayListOptions& options) {
  try {
    return MakePlayList(options);
  } catch (const PlayListError& error) {
    throw CLI::ValidationError(error.what());
  }
}

void AddSourceOptions(CLI::App* command, const std::shared_ptr<PlayListOptions>& sources) {
  command->add_option("FILE", sources->files, "Audio files of 1 to 32 channels, 8 to 192 kHz");
  command->add_option("--tone", sources->tones, "FREQ,LEVEL of a sine; may be given again")
      ->check(CheckTone)
      ->allow_extra_args(false);
  command->add_option("--noise", sources->noises, "LEVEL of white noise; may be given again")
      ->check(CheckNoise)
      ->allow_extra_args(false);
  command->add_option("--case", sources->cases, "Test signal of a case; may be given again")
      ->check(CheckTestSignal)
      ->allow_extra_args(false);
  command->add_option("--duration", sources->seconds, "Seconds of each tone and noise")
      ->check(Between(kShortestDuration, kLongestDuration));
  command->add_flag("--loop", sources->isLooped, "Play everything again and again");
}

void AddPlayerOptions(CLI::App* command, const std::shared_ptr<PlayerOptions>& player) {
  command->add_option("--speed", player->speed, "Times real time")
      ->capture_default_str()
      ->check(Between(kSlowestSpeed, kFastestSpeed));
  command
      ->add_option("--meter-set", player->meterSet,
                   "Meter set of the service; only 1 can be played to")
      ->capture_default_str()
      ->check(CheckMeterSet);
  command->add_option("--cluster", player->cluster, "Cluster of the service")
      ->capture_default_str()
      ->check(CLI::Range(1, kMaxCluster));
  command->add_option("--wait", player->wait, "Seconds to wait for the service")
      ->capture_default_str()
      ->check(Between(0.0, kLongestWait));
}

}  // namespace

void AddUnitCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("unit", "Play files and signals to a running service");
  auto sources = std::make_shared<PlayListOptions>();
  auto player = std::make_shared<PlayerOptions>();
  AddSourceOptions(command, sources);
  AddPlayerOptions(command, player);
  command
      ->add_option_function<std::string>(
          "--speakers",
          [sources](const std::string& text) { sources->speakers = SplitSpeakers(text); },
          "Speaker of each channel, comma-separated")
      ->check(CheckSpeakers);
  command->footer(kFooter);
  command->callback(
      [=, &status] { status = PlayUnit(ListOf(*sources), sources->isLooped, *player); });
}

}  // namespace louddesk
