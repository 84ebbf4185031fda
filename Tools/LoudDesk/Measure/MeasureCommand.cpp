// `LoudDesk measure`: command line, progress, and one line for everything that goes wrong.

#include "MeasureCommand.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <memory>

#include "Complaints.h"
#include "FatalSignals.h"
#include "FileHash.h"
#include "MeasureFile.h"
#include "MeasureOutput.h"
#include "PageFile.h"
#include "ProgressBar.h"
#include "Verdict.h"

namespace louddesk {
namespace {

// Files from this many samples on get a progress bar: four minutes of stereo at 48 kHz.
constexpr std::uint64_t kSamplesOfLongFile = 20'000'000;

constexpr std::size_t kUsualColumns = 80;

constexpr char kTableFormat[] = "table";
constexpr char kJsonFormat[] = "json";
constexpr char kCsvFormat[] = "csv";

constexpr char kFooter[] =
    "\nExample:\n"
    "  LoudDesk measure /usr/share/sounds/alsa/Front_Center.wav\n"
    "  LoudDesk measure --format json --speakers L,R,C *.flac\n"
    "  LoudDesk measure --report loudness.html *.wav\n"
    "  LoudDesk measure --profile ebu-r128 --fail --format json programme.wav\n"
    "  LoudDesk measure --programme 1-6=5.1 --programme 7,8=stereo master.wav\n"
    "  LoudDesk measure --profile none --target -16 --max-true-peak -1 song.ogg\n"
    "  LoudDesk measure --series blocks.csv song.ogg\n"
    "\n"
    "Speakers are Left, Right, Center, LowFrequencyEffects, LeftSurround,\n"
    "RightSurround, BackSurroundLeft, BackSurroundRight and MonoSurround, or L, R, C,\n"
    "LFE, Ls, Rs, Lb, Rb and Cs, in any case, and None for a channel left out; a name\n"
    "may be given to several channels. Without --speakers the file decides, by the\n"
    "order of its format (Ogg, FLAC) or its channel mask (WAV, W64, CAF). When it\n"
    "does not say, one channel is Center, two are Left and Right, and six are the\n"
    "first six of these. Layouts of --programme are mono, stereo, 3.0, 5.0, 5.1 and\n"
    "7.1, or a list of speakers; the option may be given again for each programme.\n"
    "Loudness is measured in blocks of 100 ms; what a file ends with, less than a\n"
    "block, has a true peak only. Short-term loudness and the range are those of 3 s\n"
    "and more; the range of less than 60 s is not yet stable and has ~ before it. A\n"
    "figure without a reading, as in silence, is - in the table, null in JSON and\n"
    "empty in CSV. Scales end at 6.02 dBTP and +10 LKFS (momentary loudness later): a\n"
    "figure there has >= before it in the table and is named in AtLeast in JSON.\n"
    "Docs/measure.schema.json describes the objects of JSON. --series has a row for\n"
    "every block and one for the rest.\n"
    "Programmes are judged by the limits of a profile, EBU R 128 unless another is\n"
    "named, and by those that options name. A figure at the end of its scale can\n"
    "break a limit; whether it keeps it remains open. The gain to the target is that\n"
    "of the integrated loudness; up to the peak limit, it does not lift the true peak\n"
    "beyond the limit, and turns down what is beyond.\n"
    "The status is 1 when a file could not be measured, or report or series not\n"
    "written. With --fail it is also 1 when a limit could not be judged, as in\n"
    "silence, and else 3 when a limit is broken. Ctrl-C ends with status 130.\n";

std::unique_ptr<ProgressBar> MakeProgressBar(const AudioFile& file, std::ostream& terminal,
                                             ProgressColumns columns) {
  const std::uint64_t frames = file.PromisedFrames().value_or(0);
  if (!columns || frames < kSamplesOfLongFile / file.Channels())
    return nullptr;
  return std::make_unique<ProgressBar>(terminal, *columns, file.Path(), frames);
}

// What is to be known of the file beside its samples.
FileFacts FactsOf(const AudioFile& file, bool hasHash) {
  FileFacts facts{file.Path(), file.Format(), file.SampleRate(), file.Channels(), {}, {}};
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(file.Path(), error);
  if (!error)
    facts.bytes = bytes;
  if (hasHash)
    facts.sha256 = Sha256Of(file.Path());
  return facts;
}

MeasuredFile MeasureOne(const std::string& path, const MeasureOptions& options,
                        std::ostream& errors, ProgressColumns progressColumns) {
  AudioFile file(path);
  const std::vector<Programme> programmes = ProgrammesOf(file, options.programmes);
  const auto bar = MakeProgressBar(file, errors, progressColumns);
  const bool hasSeries = !options.report.empty() || !options.series.empty();
  auto measured = MeasureFile(file, programmes, hasSeries ? Series::kEveryBlock : Series::kNone,
                              [&bar](std::uint64_t frames) {
                                if (bar != nullptr)
                                  bar->Show(frames);
                              });
  return {FactsOf(file, options.hasHash), std::move(measured)};
}

FigureStyle StyleNamed(const std::string& format) {
  if (format == kJsonFormat)
    return FigureStyle::kJson;
  return format == kCsvFormat ? FigureStyle::kCsv : FigureStyle::kTable;
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
  const ProgressColumns columns = ColumnsOfTerminal(STDERR_FILENO);
  std::optional<FatalSignals> fatalSignals;
  if (columns)
    fatalSignals.emplace(ClearProgressLine);
  return MeasureFiles(options, std::cout, std::cerr, columns);
}

// A status that could never tell anything is a mistake.
void CheckVerdicts(const MeasureOptions& options) {
  const Criteria criteria = CriteriaFor(options.profile);
  if (options.failsByVerdict && VerdictsOn({}, criteria).empty())
    throw CLI::ValidationError("--fail", criteria.name + " has no limits that a file could break");
}

void AddOutputOptions(CLI::App& command, MeasureOptions& options) {
  command
      .add_option_function<std::string>(
          "--format", [&options](const std::string& format) { options.style = StyleNamed(format); },
          "How the figures are written")
      ->default_str(kTableFormat)
      ->check(CLI::IsMember({kTableFormat, kJsonFormat, kCsvFormat}));
  command.add_option("--report", options.report, "Page to write, a name in .html")
      ->check(CheckPageName);
  command.add_option("--series", options.series, "Table of all blocks to write, a name in .csv")
      ->check(CheckCsvName);
  command.add_flag("--album", options.hasAlbum, "One more row: all files as one programme");
  command.add_flag("--hash", options.hasHash, "Tell the SHA-256 of every file");
  command.add_flag("--fail", options.failsByVerdict, "Status 3 when a limit is broken");
}

}  // namespace

int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 ProgressColumns progressColumns) {
  Complaints complaints(errors);
  MeasureOutput output(options, out, complaints);
  if (!output.IsPossible())
    return output.Status();
  for (const std::string& path : options.files) {
    try {
      output.Add(MeasureOne(path, options, errors, progressColumns));
    } catch (const AudioFileError& error) {
      output.AddFailure(path, error.what());
    }
  }
  output.Finish();
  return output.Status();
}

void AddMeasureCommand(CLI::App& app, int& status) {
  CLI::App* command =
      app.add_subcommand("measure", "Measure audio files (WAV, FLAC, Ogg and others)");
  auto options = std::make_shared<MeasureOptions>();
  command->add_option("FILE", options->files, "Audio files of 1 to 32 channels, 8 to 192 kHz")
      ->required();
  AddOutputOptions(*command, *options);
  AddProgrammeOptions(*command, options->programmes);
  AddProfileOptions(*command, options->profile);
  command->footer(kFooter);
  command->callback([=, &status] {
    CheckVerdicts(*options);
    status = RunMeasure(*options);
  });
}

}  // namespace louddesk
