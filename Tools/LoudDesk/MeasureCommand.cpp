// `LoudDesk measure`: command line, progress, and one line for everything that goes wrong.

#include "MeasureCommand.h"

#include <czmq.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>
#include <memory>

#include "FigureFormat.h"
#include "Measure.h"
#include "ProgressBar.h"

namespace louddesk {
namespace {

constexpr char kErrorPrefix[] = "LoudDesk: ";

// Files from this many samples on get a progress bar: four minutes of stereo at 48 kHz.
constexpr std::uint64_t kSamplesOfLongFile = 20'000'000;

constexpr std::size_t kUsualColumns = 80;

constexpr char kTableFormat[] = "table";
constexpr char kJsonFormat[] = "json";

constexpr char kFooter[] =
    "\nExample:\n"
    "  LoudDesk measure /usr/share/sounds/alsa/Front_Center.wav\n"
    "  LoudDesk measure --format json --speakers Left,Right,Center *.flac\n"
    "\n"
    "Speakers are Left, Right, Center, LowFrequencyEffects, LeftSurround,\n"
    "RightSurround, BackSurroundLeft, BackSurroundRight and MonoSurround. Without\n"
    "--speakers one channel is Center, two are Left and Right, and six are the first\n"
    "six of these.\n"
    "A figure without a reading, as in silence, is - in the table and null in JSON.\n"
    "The status is 1 when a file could not be measured.\n";

std::unique_ptr<ProgressBar> MakeProgressBar(const AudioFile& file, std::ostream& terminal,
                                             ProgressColumns columns) {
  const std::uint64_t frames = file.PromisedFrames().value_or(0);
  if (!columns || frames < kSamplesOfLongFile / file.Channels())
    return nullptr;
  return std::make_unique<ProgressBar>(terminal, *columns, file.Path(), frames);
}

Figures MeasureOne(ServiceMeter& meter, const std::string& path, const MeasureOptions& options,
                   std::ostream& errors, ProgressColumns progressColumns) {
  AudioFile file(path);
  const SpeakerLayout speakers = LayoutFor(file, options.speakers);
  const auto bar = MakeProgressBar(file, errors, progressColumns);
  return MeasureFile(meter, file, speakers, [&bar](std::uint64_t frames) {
    if (bar != nullptr)
      bar->Show(frames);
  });
}

std::string Written(const std::string& path, const Figures& figures, FigureStyle style,
                    bool isFirst) {
  if (style == FigureStyle::kJson)
    return JsonLine(path, figures);
  return (isFirst ? TableHeader() : "") + TableRow(path, figures);
}

ProgressColumns ColumnsOfTerminal(int descriptor) {
  if (isatty(descriptor) == 0)
    return std::nullopt;
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
    return kUsualColumns;
  return size.ws_col;
}

int RunMeasure(const MeasureOptions& options) {
  // The messaging library must leave the signals alone: Ctrl-C ends a measurement at once.
  zsys_handler_set(nullptr);
  return MeasureFiles(options, std::cout, std::cerr, ColumnsOfTerminal(STDERR_FILENO));
}

}  // namespace

int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 ProgressColumns progressColumns) {
  ServiceMeter meter;
  int status = 0;
  bool isFirst = true;
  for (const std::string& path : options.files) {
    try {
      const Figures figures = MeasureOne(meter, path, options, errors, progressColumns);
      out << Written(path, figures, options.style, isFirst) << std::flush;
      for (const std::string& note : NotesOn(figures))
        errors << kErrorPrefix << path << ": note: " << note << "\n";
      isFirst = false;
    } catch (const AudioFileError& error) {
      errors << kErrorPrefix << error.what() << "\n";
      status = 1;
    }
  }
  if (!out) {
    errors << kErrorPrefix << "the figures could not be written\n";
    status = 1;
  }
  return status;
}

void AddMeasureCommand(CLI::App& app, int& status) {
  CLI::App* command =
      app.add_subcommand("measure", "Measure audio files (WAV, FLAC, Ogg and others)");
  auto files = std::make_shared<std::vector<std::string>>();
  auto format = std::make_shared<std::string>(kTableFormat);
  auto speakers = std::make_shared<std::string>();
  command->add_option("FILE", *files, "Audio files of 1 to 32 channels, 8 to 192 kHz")->required();
  command->add_option("--format", *format, "How the figures are written")
      ->capture_default_str()
      ->check(CLI::IsMember({kTableFormat, kJsonFormat}));
  CLI::Option* speakersOption =
      command->add_option("--speakers", *speakers, "Speaker of each channel, separated by commas")
          ->check(CheckSpeakers);
  command->footer(kFooter);
  command->callback([=, &status] {
    MeasureOptions options;
    options.files = *files;
    options.style = *format == kJsonFormat ? FigureStyle::kJson : FigureStyle::kTable;
    if (speakersOption->count() > 0)
      options.speakers = SplitSpeakers(*speakers);
    status = RunMeasure(options);
  });
}

}  // namespace louddesk
