// `LoudDesk measure`: command line, progress, and one line for everything that goes wrong.

#include "MeasureCommand.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>
#include <memory>

#include "Bin.h"
#include "Complaints.h"
#include "FatalSignals.h"
#include "FigureFormat.h"
#include "MeasuredSeries.h"
#include "NumberCheck.h"
#include "PageFile.h"
#include "ProgressBar.h"
#include "ReportPage.h"
#include "SeriesFormat.h"

namespace louddesk {
namespace {

// Files from this many samples on get a progress bar: four minutes of stereo at 48 kHz.
constexpr std::uint64_t kSamplesOfLongFile = 20'000'000;

constexpr std::size_t kUsualColumns = 80;

constexpr char kTableFormat[] = "table";
constexpr char kJsonFormat[] = "json";
constexpr char kCsvFormat[] = "csv";

constexpr double kMaxToleranceLu = 20.0;
constexpr double kLowestPeakLimitDbtp = -40.0;
constexpr double kHighestPeakLimitDbtp = 20.0;
constexpr double kLowestTargetLkfs = kAbsoluteGateLkfs;
constexpr double kHighestTargetLkfs = 0.0;

constexpr char kFooter[] =
    "\nExample:\n"
    "  LoudDesk measure /usr/share/sounds/alsa/Front_Center.wav\n"
    "  LoudDesk measure --format json --speakers Left,Right,Center *.flac\n"
    "  LoudDesk measure --report loudness.html *.wav\n"
    "  LoudDesk measure --report web.html --target -16 --tolerance 1 song.ogg\n"
    "  LoudDesk measure --format csv song.ogg >series.csv\n"
    "\n"
    "Speakers are Left, Right, Center, LowFrequencyEffects, LeftSurround,\n"
    "RightSurround, BackSurroundLeft, BackSurroundRight and MonoSurround; a name may\n"
    "be given to several channels. Without --speakers the file decides, by the order\n"
    "of its format (Ogg, FLAC) or its channel mask (WAV, W64, CAF). When it does not\n"
    "say, one channel is Center, two are Left and Right, and six are the first six of\n"
    "these.\n"
    "Loudness is measured in blocks of 100 ms; what a file ends with, less than a\n"
    "block, has a true peak only. Short-term loudness and the range are those of 3 s\n"
    "and more. A figure without a reading, as in silence, is - in\n"
    "the table, null in JSON and empty in CSV, which has one row for every block and\n"
    "one for the rest.\n"
    "Scales end at 6.02 dBTP and +10 LKFS (momentary loudness later): a figure there\n"
    "has >= before it in the table and is named in AtLeast in JSON.\n"
    "The report is one page with plots and verdicts for any browser. It judges by\n"
    "EBU R 128 (-23 LKFS within 0.5 LU, true peak at most -1 dBTP) unless options\n"
    "say otherwise. A figure at the end of its scale can break a limit; whether it\n"
    "keeps it remains open.\n"
    "The status is 1 when a file could not be measured, or the report not written;\n"
    "a verdict does not change it. Ctrl-C ends with status 130.\n";

std::unique_ptr<ProgressBar> MakeProgressBar(const AudioFile& file, std::ostream& terminal,
                                             ProgressColumns columns) {
  const std::uint64_t frames = file.PromisedFrames().value_or(0);
  if (!columns || frames < kSamplesOfLongFile / file.Channels())
    return nullptr;
  return std::make_unique<ProgressBar>(terminal, *columns, file.Path(), frames);
}

bool WantsSeries(const MeasureOptions& options) {
  return options.style == FigureStyle::kCsv || !options.report.empty();
}

// Points and distribution are left empty when nobody wants them.
MeasuredSeries MeasureOne(const std::string& path, const MeasureOptions& options,
                          std::ostream& errors, ProgressColumns progressColumns) {
  AudioFile file(path);
  ProgrammeMeter meter(ProgrammeOf(LayoutFor(file, options.speakers)), file.Channels());
  const auto bar = MakeProgressBar(file, errors, progressColumns);
  const Progress progress = [&bar](std::uint64_t frames) {
    if (bar != nullptr)
      bar->Show(frames);
  };
  if (WantsSeries(options))
    return MeasureSeries(meter, file, progress);
  MeasuredSeries measured;
  measured.file = path;
  measured.figures = MeasureFile(meter, file, progress);
  return measured;
}

std::string FiguresAs(const MeasuredSeries& measured, FigureStyle style, bool isFirst) {
  switch (style) {
    case FigureStyle::kJson:
      return JsonLine(measured.file, measured.figures);
    case FigureStyle::kCsv:
      return (isFirst ? CsvHeader() : "") + CsvRows(measured);
    case FigureStyle::kTable:
      break;
  }
  return (isFirst ? TableHeader() : "") + TableRow(measured.file, measured.figures);
}

void AddReportOptions(CLI::App& command, MeasureOptions& options) {
  LoudnessLimits& limits = options.limits;
  CLI::Option* report =
      command.add_option("--report", options.report, "Page to write, a name in .html")
          ->check(CheckPageName);
  command.add_option("--target", limits.target, "Target of the integrated loudness, LKFS")
      ->check(Between(kLowestTargetLkfs, kHighestTargetLkfs))
      ->needs(report);
  CLI::Option* tolerance =
      command.add_option("--tolerance", limits.tolerance, "On both sides of the target, LU")
          ->check(Between(0.0, kMaxToleranceLu))
          ->needs(report);
  command.add_option("--max-true-peak", limits.maxTruePeak, "Limit of the true peak, dBTP")
      ->check(Between(kLowestPeakLimitDbtp, kHighestPeakLimitDbtp))
      ->needs(report);
  command
      .add_flag_callback(
          "--live", [&limits] { limits.tolerance = kR128LiveToleranceLu; },
          "Tolerance of live programmes, 1 LU")
      ->needs(report)
      ->excludes(tolerance);
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

// One file after another, each row on `out` as soon as it is known.
Report MeasureAll(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                  ProgressColumns progressColumns, Complaints& complaints) {
  Report report{{}, {}, options.limits};
  bool isFirst = true;
  for (const std::string& path : options.files) {
    try {
      MeasuredSeries measured = MeasureOne(path, options, errors, progressColumns);
      out << FiguresAs(measured, options.style, isFirst) << std::flush;
      for (const std::string& note : NotesOn(measured.figures))
        complaints.Note(std::string(path).append(": note: ").append(note));
      isFirst = false;
      if (!options.report.empty())
        report.files.push_back(std::move(measured));
    } catch (const AudioFileError& error) {
      complaints.Add(error.what());
      report.failures.emplace_back(error.what());
    }
  }
  return report;
}

}  // namespace

int MeasureFiles(const MeasureOptions& options, std::ostream& out, std::ostream& errors,
                 ProgressColumns progressColumns) {
  Complaints complaints(errors);
  if (!CheckReport(complaints, options.report))
    return complaints.Status();
  const Report report = MeasureAll(options, out, errors, progressColumns, complaints);
  if (!out)
    complaints.Add("the figures could not be written");
  if (!options.report.empty())
    WriteReport(complaints, options.report, ReportPage(report));
  return complaints.Status();
}

void AddMeasureCommand(CLI::App& app, int& status) {
  CLI::App* command =
      app.add_subcommand("measure", "Measure audio files (WAV, FLAC, Ogg and others)");
  auto options = std::make_shared<MeasureOptions>();
  auto format = std::make_shared<std::string>(kTableFormat);
  auto speakers = std::make_shared<std::string>();
  command->add_option("FILE", options->files, "Audio files of 1 to 32 channels, 8 to 192 kHz")
      ->required();
  command->add_option("--format", *format, "How the figures are written")
      ->capture_default_str()
      ->check(CLI::IsMember({kTableFormat, kJsonFormat, kCsvFormat}));
  CLI::Option* speakersOption =
      command->add_option("--speakers", *speakers, "Speaker of each channel, separated by commas")
          ->check(CheckSpeakers);
  AddReportOptions(*command, *options);
  command->footer(kFooter);
  command->callback([=, &status] {
    options->style = StyleNamed(*format);
    if (speakersOption->count() > 0)
      options->speakers = SplitSpeakers(*speakers);
    status = RunMeasure(*options);
  });
}

}  // namespace louddesk
