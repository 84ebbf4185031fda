// `LoudDesk unit`: command line, and one line for everything that goes wrong.

#include "UnitCommand.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>
#include <memory>

namespace louddesk {

namespace {

constexpr char kErrorPrefix[] = "LoudDesk: ";
constexpr std::size_t kUsualColumns = 80;

constexpr double kSlowestSpeed = 0.01;
constexpr double kFastestSpeed = 1000;
constexpr double kLongestWait = 3600;  // s

constexpr char kFooter[] =
    "\nExample, with the service of the first cluster on the same machine:\n"
    "  export LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1\n"
    "  export LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2\n"
    "  LoudCalc -m 1 -c 1 &\n"
    "  LoudDesk unit /usr/share/sounds/alsa/Front_Center.wav\n"
    "\n"
    "The places of the unit's application servers, hardware manager, process\n"
    "monitor, log sink and signal processor must be free. The figures shown are those\n"
    "that the service publishes: momentary (M), short-term (S) and integrated (I)\n"
    "loudness, loudness range (LRA) and true peak (TP); - stands for no reading.\n"
    "Files of the same speakers are measured on; others start a new measurement.\n"
    "Ctrl-C ends with the figures so far.\n";

TerminalColumns ColumnsOfTerminal() {
  if (isatty(STDOUT_FILENO) == 0)
    return std::nullopt;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
    return kUsualColumns;
  return size.ws_col;
}

bool AllCanBePlayed(const UnitOptions& options, std::ostream& errors) {
  bool result = true;
  for (const std::string& path : options.files) {
    try {
      LayoutFor(AudioFile(path), options.speakers);
    } catch (const AudioFileError& error) {
      errors << kErrorPrefix << error.what() << "\n";
      result = false;
    }
  }
  return result;
}

// Services of the other meter sets subscribe to no presets, or to no data that they take.
std::string CheckMeterSet(const std::string& value) {
  return value == "1" ? "" : "only a service of meter set 1 takes presets and raw data from a unit";
}

void Run(const UnitOptions& options, std::ostream& out, TerminalColumns columns) {
  UnitPlayer player(options, out, columns);
  player.Connect();
  for (const std::string& path : options.files)
    if (!UnitPlayer::IsInterrupted())
      player.Play(path);
  player.Finish();
}

}  // namespace

int PlayUnit(const UnitOptions& options, std::ostream& out, std::ostream& errors,
             TerminalColumns columns) {
  if (!AllCanBePlayed(options, errors))
    return 1;
  try {
    Run(options, out, columns);
  } catch (const std::runtime_error& error) {
    errors << kErrorPrefix << error.what() << "\n";
    return 1;
  }
  return 0;
}

void AddUnitCommand(CLI::App& app, int& status) {
  CLI::App* command =
      app.add_subcommand("unit", "Play audio files as a unit around a running service");
  auto options = std::make_shared<UnitOptions>();
  auto speakers = std::make_shared<std::string>();
  command->add_option("FILE", options->files, "Audio files of 1 to 32 channels, 8 to 192 kHz")
      ->required();
  command->add_option("--speed", options->speed, "Times real time")
      ->capture_default_str()
      ->check(CLI::Range(kSlowestSpeed, kFastestSpeed));
  command->add_option("--meter-set", options->meterSet, "Meter set of the service")
      ->capture_default_str()
      ->check(CheckMeterSet);
  command->add_option("--cluster", options->cluster, "Cluster of the service")
      ->capture_default_str()
      ->check(CLI::Range(1, 8));
  command->add_option("--wait", options->wait, "Seconds to wait for the service")
      ->capture_default_str()
      ->check(CLI::Range(0.0, kLongestWait));
  CLI::Option* speakersOption =
      command->add_option("--speakers", *speakers, "Speaker of each channel, separated by commas")
          ->check(CheckSpeakers);
  command->footer(kFooter);
  command->callback([=, &status] {
    if (speakersOption->count() > 0)
      options->speakers = SplitSpeakers(*speakers);
    status = PlayUnit(*options, std::cout, std::cerr, ColumnsOfTerminal());
  });
}

}  // namespace louddesk
