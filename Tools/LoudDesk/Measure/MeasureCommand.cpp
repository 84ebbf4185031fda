// `LoudDesk measure`: the command line, progress, and one line for each error.

#include "MeasureCommand.h"

#include <unistd.h>
#include <CLI/CLI.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "ClockText.h"
#include "Complaints.h"
#include "FatalSignals.h"
#include "FileHash.h"
#include "MeasureFile.h"
#include "MeasureJobs.h"
#include "MeasureOutput.h"
#include "MediaFiles.h"
#include "PageFile.h"
#include "PrintableText.h"
#include "ProgressBar.h"

namespace louddesk {
namespace {

// The total size from which a progress bar is shown.
constexpr std::uintmax_t kBytesOfLongWork = 20'000'000;
constexpr std::uint64_t kProgressSteps = 1000;

constexpr int kMostStreams = 200;
constexpr int kMostJobs = 256;

constexpr char kFooter[] =
    "\nExample:\n"
    "  LoudDesk measure /usr/share/sounds/alsa/Front_Center.wav\n"
    "  LoudDesk measure --format json --speakers L,R,C *.flac\n"
    "  LoudDesk measure --report loudness.html *.wav\n"
    "  LoudDesk measure --profile ebu-r128 --fail --format json programme.wav\n"
    "  LoudDesk measure --programme 1-6=5.1 --programme 7,8=stereo master.wav\n"
    "  LoudDesk measure --profile none --target -16 --max-true-peak -1 song.ogg\n"
    "  LoudDesk measure --series blocks.csv song.ogg\n"
    "  LoudDesk measure --recursive --jobs 4 /srv/media\n"
    "  ffmpeg -i film.mkv -f wav - | LoudDesk measure --format json -\n"
    "\n"
    "Speakers are Left, Right, Center, LowFrequencyEffects, LeftSurround,\n"
    "RightSurround, BackSurroundLeft, BackSurroundRight and MonoSurround, or L, R, C,\n"
    "LFE, Ls, Rs, Lb, Rb and Cs, in upper or lower case; None leaves a channel out.\n"
    "Several channels may have the same speaker. Without --speakers the file decides,\n"
    "by its format or its channel mask. Channels are in WAV order: L, R, C, LFE, then\n"
    "the surrounds. If the file does not say, one channel is Center, two are Left and\n"
    "Right, and six are the first six of these. Layouts of --programme are mono,\n"
    "stereo, 3.0, 5.0, 5.1 and 7.1, or a list of speakers; repeat the option for each\n"
    "programme.\n"
    "Loudness is measured in blocks of 100 ms; audio after the last whole block has\n"
    "only a true peak. Short-term loudness and loudness range need at least 3 s; a\n"
    "range from less than 60 s is not yet stable and is marked with ~. A figure\n"
    "without a reading, as in silence, is - in the table, null in JSON and empty in\n"
    "CSV. Scales end at 6.02 dBTP and +10 LKFS (higher for momentary loudness): a\n"
    "figure at the end of its scale is marked with >= in the table and named in\n"
    "AtLeast in JSON. Docs/measure.schema.json describes the objects of JSON.\n"
    "--series has a row for every block and one for the rest.\n"
    "Programmes are judged by the limits of a profile, EBU R 128 unless another is\n"
    "given, and by limits given as options. A figure at the end of its scale can\n"
    "break a limit; whether it keeps a limit remains open. The gain to the target is\n"
    "that of the integrated loudness. The gain up to the peak limit does not raise\n"
    "the true peak above the limit, and lowers a true peak that is above it.\n"
    "A damaged file is measured as far as possible, and marked.\n"
    "The status is 1 when a file could not be measured or is damaged (the latter not\n"
    "with --keep-going), or when the report or the series could not be written. With\n"
    "--fail it is also 1 when a limit could not be judged, as in silence, and\n"
    "otherwise 3 when a limit is broken. Ctrl-C writes what is finished and ends with\n"
    "status 130.\n";

// The signal that interrupted the run; 0: none. A second signal ends the process.
std::atomic<int> gSignal{0};

void NoteSignal(int signal) {
  gSignal = signal;
}

void NoteInterruptions() {
  for (const int signal : {SIGINT, SIGTERM}) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN)
      continue;
    action.sa_handler = NoteSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
}

// One bar for all files if they are large; otherwise null.
std::unique_ptr<ProgressBar> BarFor(const std::vector<std::string>& files, std::ostream& terminal,
                                    const TerminalColumns& columns) {
  std::uintmax_t bytes = 0;
  for (const std::string& file : files) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    bytes += error ? 0 : size;
  }
  if (!columns || bytes < kBytesOfLongWork)
    return nullptr;
  return std::make_unique<ProgressBar>(
      terminal, columns(), files.size() == 1 ? files[0] : fmt::format("{} files", files.size()),
      kProgressSteps);
}

// Which of several audio streams is measured when none was requested; empty for a single one.
std::string OtherStreamsText(const std::vector<StreamInfo>& streams) {
  if (streams.size() < 2)
    return "";
  const auto chosen = std::find_if(streams.begin(), streams.end(),
                                   [](const StreamInfo& stream) { return stream.isChosen; });
  return fmt::format("has {} audio streams, of which stream {} is measured; choose with --stream",
                     streams.size(), chosen - streams.begin() + 1);
}

// The properties of the file other than its samples.
FileFacts FactsOf(const AudioFile& file, const MeasureOptions& options) {
  FileFacts facts{file.Path(), file.Format(), file.SampleRate(), file.Channels(), {}, {}, {}, {}};
  if (!options.stream)
    facts.otherStreams = OtherStreamsText(file.Streams());
  if (!file.Missing().IsNone())
    facts.damage = DamageText(file.Missing(), file.SecondsRead());
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(file.Path(), error);
  if (!error)
    facts.bytes = bytes;
  if (options.hasHash && facts.bytes)
    facts.sha256 = Sha256Of(file.Path());
  return facts;
}

MeasuredFile MeasureOne(const std::string& path, const MeasureOptions& options,
                        const ShareTold& told) {
  AudioFile file(path, options.stream);
  const std::vector<Programme> programmes = ProgrammesOf(file, options.programmes);
  const bool hasSeries = !options.report.empty() || !options.series.empty();
  auto measured = MeasureFile(file, programmes, hasSeries ? Series::kEveryBlock : Series::kNone,
                              [&](std::uint64_t) { told(file.Progress().value_or(0.0)); });
  return {FactsOf(file, options), std::move(measured)};
}

FileOutcome OutcomeOf(const std::string& path, const MeasureOptions& options,
                      const ShareTold& told) {
  try {
    return {path, MeasureOne(path, options, told), ""};
  } catch (const AudioFileError& error) {
    return {path, std::nullopt, error.what()};
  } catch (const std::bad_alloc&) {
    return {path, std::nullopt, AudioFileError(path, "needs more memory than is available").what()};
  }
}

int RunMeasure(const MeasureOptions& options) {
  NoteInterruptions();
  const TerminalColumns columns = ColumnsOf(STDERR_FILENO);
  std::optional<FatalSignals> fatalSignals;
  if (columns)
    fatalSignals.emplace(ClearProgressLine);
  const int status = MeasureFiles(options, std::cout, std::cerr, columns);
  if (gSignal != 0) {
    std::signal(gSignal, SIG_DFL);
    raise(gSignal);
  }
  return status;
}

// Measures the files and passes all outcomes to `output`.
void MeasureAll(const std::vector<std::string>& files, const MeasureOptions& options,
                std::ostream& errors, const TerminalColumns& columns, MeasureOutput& output) {
  std::unique_ptr<ProgressBar> bar = BarFor(files, errors, columns);
  JobWatch watch;
  watch.isInterrupted = [] { return gSignal != 0; };
  watch.take = [&](FileOutcome&& outcome) {
    if (bar != nullptr)
      bar->Hide();
    if (outcome.measured)
      output.Add(*outcome.measured);
    else
      output.AddFailure(outcome.path, outcome.failure);
  };
  watch.shown = [&](double share) {
    if (bar == nullptr)
      return;
    bar->Resize(columns());
    bar->Show(static_cast<std::uint64_t>(share * kProgressSteps));
  };
  const std::size_t taken = RunJobs(
      files, options.jobs,
      [options](const std::string& path, const ShareTold& told) {
        return OutcomeOf(path, options, told);
      },
      watch);
  bar.reset();
  if (taken < files.size())
    output.AddFailure("", fmt::format("interrupted: {} of {} files are not measured",
                                      files.size() - taken, files.size()));
}

// One line per stream.
std::string StreamLine(std::size_t number, const StreamInfo& stream) {
  std::string line = fmt::format("  {:>2}  {}, {}", number, stream.codec, stream.format);
  if (stream.seconds)
    line += ", " + ShortClockText(*stream.seconds);
  for (const std::string& text : {stream.language, stream.title})
    if (!text.empty())
      line += ", " + Printable(text);
  return line + (stream.isChosen ? "  (measured)" : "") + "\n";
}

int ListStreams(const std::vector<std::string>& files, std::ostream& out, std::ostream& errors) {
  Complaints complaints(errors);
  for (const std::string& file : files) {
    try {
      const std::vector<StreamInfo> streams = AudioStreamsOf(file);
      out << Printable(file) << "\n";
      for (std::size_t i = 0; i < streams.size(); ++i)
        out << StreamLine(i + 1, streams[i]);
    } catch (const AudioFileError& error) {
      complaints.Add(error.what());
    }
  }
  if (!out.flush())
    complaints.Add("the streams could not be written");
  return complaints.Status();
}

void AddInputOptions(CLI::App& command, MeasureOptions& options) {
  options.jobs = std::max(std::thread::hardware_concurrency(), 1U);
  command.add_option("--stream", options.stream, "Audio stream of each file, by its number")
      ->check(CLI::Range(1, kMostStreams));
  command.add_flag("--recursive", options.isRecursive, "Measure the media files in directories");
  command.add_option("--jobs", options.jobs, "Files measured at the same time")
      ->check(CLI::Range(1, kMostJobs));
  command.add_flag("--keep-going", options.keepsGoing, "Damaged files do not change the status");
}

void AddOutputOptions(CLI::App& command, MeasureOptions& options) {
  AddFormatOption(command, options.style);
  command.add_option("--report", options.report, "Page to write; name ends in .html")
      ->check(CheckPageName);
  command.add_option("--series", options.series, "Table of all blocks to write; name ends in .csv")
      ->check(CheckCsvName);
  command.add_flag("--album", options.hasAlbum, "Add a row for all files as one programme");
  command.add_flag("--hash", options.hasHash, "Show the SHA-256 of every file");
}

}  // namespace

int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 const TerminalColumns& progressColumns) {
  Complaints complaints(errors);
  MeasureOutput output(options, out, complaints);
  if (!output.IsPossible())
    return output.Status();
  std::vector<std::string> failures;
  const std::vector<std::string> files =
      options.isRecursive ? FilesBelow(options.files, failures) : options.files;
  for (const std::string& failure : failures)
    output.AddFailure("", failure);
  MeasureAll(files, options, errors, progressColumns, output);
  output.Finish();
  return output.Status();
}

void AddMeasureCommand(CLI::App& app, int& status) {
  CLI::App* command = app.add_subcommand("measure", "Measure the sound of audio and video files");
  auto options = std::make_shared<MeasureOptions>();
  command->add_option("FILE", options->files, "Audio or video files; - is standard input")
      ->required();
  AddInputOptions(*command, *options);
  auto listsStreams = std::make_shared<bool>(false);
  command->add_flag("--list-streams", *listsStreams, "List the audio streams of the files instead");
  AddOutputOptions(*command, *options);
  AddProgrammeOptions(*command, options->programmes);
  AddProfileOptions(*command, options->profile);
  command->footer(kFooter);
  command->callback([=, &status] {
    status =
        *listsStreams ? ListStreams(options->files, std::cout, std::cerr) : RunMeasure(*options);
  });
}

}  // namespace louddesk
