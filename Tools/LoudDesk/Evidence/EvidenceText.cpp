// Formats figures as words and rows.

#include "EvidenceText.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>

#include "ClockText.h"
#include "CsvText.h"
#include "DocumentWriter.h"
#include "FigureFormat.h"
#include "FigureText.h"
#include "JsonFormat.h"
#include "PrintableText.h"
#include "RecordedReadings.h"
#include "TimeText.h"
#include "UnitDocuments.h"
#include "Utf8Text.h"
#include "WatchModel.h"
#include "WatchRows.h"

namespace louddesk {
namespace {

constexpr char kMissing[] = "";
constexpr std::size_t kFactWidth = 24;

// Version of the JSON. It increases when an existing reader could misread the new form.
constexpr unsigned kEvidenceSchema = 1;

// A maximum and the time at which it was reached.
struct Maximum {
  const char* name;
  const char* unit;
  const char* key;  // of the time in JSON
  std::optional<double> Figures::*figure;
  double Figures::*at;
};

constexpr Maximum kMaxima[] = {
    {"Maximum momentary", "LKFS", "MaxMomentaryTime", &Figures::maxMomentary,
     &Figures::maxMomentaryAt},
    {"Maximum short-term", "LKFS", "MaxShortTermTime", &Figures::maxShortTerm,
     &Figures::maxShortTermAt},
    {"Maximum true peak", "dBTP", "MaxTruePeakTime", &Figures::maxTruePeak,
     &Figures::maxTruePeakAt},
};

const Figures& Shown(const Evidence& evidence) {
  return evidence.figures.programme.figures;
}

std::string UtcTextOfMs(std::int64_t ms) {
  return UtcText(WallTime(std::chrono::milliseconds(ms)));
}

std::string UtcTextOf(std::int64_t time) {
  return UtcTextOfMs(time * kMsPerSecond);
}

std::string Duration(std::int64_t seconds) {
  return ClockText(static_cast<double>(seconds));
}

std::string PeriodText(const StationPeriod& period) {
  return LocalTimeText(period.from) + " to " + LocalTimeText(period.to);
}

// A part and its share of the whole: "0:10:00.0 (0.69 %)".
std::string ShareText(std::int64_t part, std::int64_t whole) {
  const double share =
      whole > 0 ? 100.0 * static_cast<double>(part) / static_cast<double>(whole) : 0.0;
  return Duration(part) + " (" + FigureText(share) + " %)";
}

void AddTolerance(std::vector<Fact>& facts, const PeriodFigures& figures) {
  if (figures.aimedSeconds == 0) {
    facts.emplace_back("Out of tolerance", "- (no target is known for this time)");
    return;
  }
  facts.emplace_back("Above the tolerance", ShareText(figures.aboveSeconds, figures.aimedSeconds));
  facts.emplace_back("Below the tolerance", ShareText(figures.belowSeconds, figures.aimedSeconds));
}

std::string SpansText(const PeriodSpans& spans) {
  if (spans.count == 0)
    return "none";
  return fmt::format("{}, {} in total", spans.count, Duration(spans.seconds));
}

std::string SpanRows(const char* name, const PeriodSpans& spans) {
  std::string rows;
  for (const StationPeriod& span : spans.first)
    rows += fmt::format("{:<{}}{}, {}\n", name, kFactWidth, PeriodText(span),
                        Duration(span.to - span.from));
  if (spans.count > spans.first.size())
    rows += fmt::format("{:<{}}and {} more\n", name, kFactWidth, spans.count - spans.first.size());
  return rows;
}

const char* StateText(RecordedState state) {
  static_assert(static_cast<int>(RecordedState::kWaiting) ==
                    static_cast<int>(ServiceState::kWaiting) &&
                static_cast<int>(kLastRecordedState) == static_cast<int>(ServiceState::kSilent));
  return WordsOf(static_cast<ServiceState>(state)).name;
}

std::string CsvFigure(const std::optional<double>& figure) {
  return FigureText(figure, kMissing);
}

std::string TimeOf(const Evidence& evidence, const Maximum& maximum) {
  const Figures& figures = Shown(evidence);
  return figures.*maximum.figure ? UtcTextAt(evidence.figures.period, figures.*maximum.at)
                                 : kMissing;
}

void WriteTimes(DocumentWriter& writer, const Evidence& evidence) {
  for (const Maximum& maximum : kMaxima) {
    const std::string time = TimeOf(evidence, maximum);
    if (time.empty())
      writer.Number(maximum.key, kJsonNull);
    else
      writer.Text(maximum.key, time);
  }
}

void WriteSpans(DocumentWriter& writer, const char* key, const PeriodSpans& spans) {
  writer.OpenObject(key)
      .Number("Count", std::to_string(spans.count))
      .Number("Seconds", std::to_string(spans.seconds))
      .OpenArray("List");
  for (const StationPeriod& span : spans.first)
    writer.OpenObject(DocumentWriter::kNoKey)
        .Text("From", UtcTextOf(span.from))
        .Text("To", UtcTextOf(span.to))
        .CloseObject();
  writer.CloseArray().CloseObject();
}

void WriteTolerance(DocumentWriter& writer, const PeriodFigures& figures) {
  writer.OpenObject("Tolerance")
      .Number("Seconds", std::to_string(figures.aimedSeconds))
      .Number("Above", std::to_string(figures.aboveSeconds))
      .Number("Below", std::to_string(figures.belowSeconds))
      .CloseObject();
}

void WriteEvents(DocumentWriter& writer, const Evidence& evidence) {
  writer.OpenObject("Events")
      .Number("Count", std::to_string(evidence.eventCount))
      .OpenArray("List");
  for (const RecordedEvent& event : evidence.events)
    writer.OpenObject(DocumentWriter::kNoKey)
        .Text("Time", UtcTextOfMs(event.time))
        .Text("Kind", Utf8Of(event.kind))
        .Text("Text", Utf8Of(event.text))
        .CloseObject();
  writer.CloseArray().CloseObject();
}

}  // namespace

std::vector<Fact> FactsOn(const Evidence& evidence) {
  const PeriodFigures& figures = evidence.figures;
  std::vector<Fact> facts = {
      {"Cluster", evidence.cluster},
      {"From", LocalTimeText(figures.period.from)},
      {"To", LocalTimeText(figures.period.to)},
      {"With loudness data", ClockText(Shown(evidence).seconds)},
      {"Without data", Duration(figures.quietSeconds)},
      {"Gaps in the record", SpansText(figures.gaps)},
      {"No change", SpansText(figures.unchanged)},
      {"Missed messages", std::to_string(figures.missedReadings)},
      {"Source invalid", Duration(figures.invalidSeconds)},
  };
  for (const Maximum& maximum : kMaxima)
    if (const auto& figure = Shown(evidence).*maximum.figure)
      facts.emplace_back(maximum.name,
                         FigureText(figure) + " " + maximum.unit + " at " +
                             LocalTimeText(figures.period.from +
                                           static_cast<std::int64_t>(Shown(evidence).*maximum.at)));
  AddTolerance(facts, figures);
  return facts;
}

std::vector<std::string> NotesOn(const Evidence& evidence) {
  std::vector<std::string> notes = NotesOn(Shown(evidence));
  if (evidence.figures.gaps.count > 0)
    notes.emplace_back("Parts of the period are not in the record; the figures cover the rest");
  if (evidence.figures.unchanged.count > 0)
    notes.push_back(
        "For " + Duration(evidence.figures.unchanged.seconds) +
        " no figure changed: no blocks, or a steady tone; the figures include that time");
  return notes;
}

std::string TextOf(const RecordedEvent& event) {
  const auto configuration =
      event.kind == kConfigurationEvent ? ReadConfiguration(event.text) : std::nullopt;
  if (!configuration)
    return event.text;
  const WatchLimits limits = LimitsOf(*configuration);
  return fmt::format("target {:.1f} LKFS {}{:.1f} LU, {}", limits.target, kPlusMinus,
                     limits.tolerance, configuration->loudnessStandard);
}

std::string UtcTextAt(const StationPeriod& period, double seconds) {
  return UtcTextOfMs(period.from * kMsPerSecond + std::llround(seconds * kMsPerSecond));
}

std::string EvidenceTable(const Evidence& evidence) {
  const FileFacts named{TitleOf(evidence), "", 0, 0, {}, {}};
  const Subject subject = {&named, 1, false, &evidence.figures.programme};
  std::string text = TableHeader("Period") + TableRow(subject, evidence.assessment) + "\n";
  for (const auto& [name, fact] : FactsOn(evidence))
    text += fmt::format("{:<{}}{}\n", name, kFactWidth, fact);
  return text + SpanRows("Gap", evidence.figures.gaps) +
         SpanRows("No change", evidence.figures.unchanged);
}

std::string EvidenceJson(const Evidence& evidence) {
  const PeriodFigures& figures = evidence.figures;
  DocumentWriter writer;
  writer.Unsigned("Schema", kEvidenceSchema)
      .Text("Cluster", evidence.cluster)
      .Text("From", UtcTextOf(figures.period.from))
      .Text("To", UtcTextOf(figures.period.to));
  WriteFigures(writer, Shown(evidence));
  WriteTimes(writer, evidence);
  writer.Number("WithoutData", std::to_string(figures.quietSeconds))
      .Number("Missed", std::to_string(figures.missedReadings))
      .Number("InvalidSource", std::to_string(figures.invalidSeconds));
  WriteTolerance(writer, figures);
  WriteSpans(writer, "Gaps", figures.gaps);
  WriteSpans(writer, "NoChange", figures.unchanged);
  WriteJudgement(writer, evidence.assessment, evidence.criteria);
  WriteEvents(writer, evidence);
  return writer.Finish() + "\n";
}

std::string EvidenceCsv(const Evidence& evidence) {
  const PeriodFigures& figures = evidence.figures;
  const Figures& shown = Shown(evidence);
  const std::vector<Fact> columns = {
      {"Cluster", evidence.cluster},
      {"From", UtcTextOf(figures.period.from)},
      {"To", UtcTextOf(figures.period.to)},
      {"Duration (s)", CsvFigure(shown.seconds)},
      {"Integrated loudness (LKFS)", CsvFigure(shown.integrated)},
      {"Loudness range (LU)", CsvFigure(shown.lra)},
      {"Maximum momentary (LKFS)", CsvFigure(shown.maxMomentary)},
      {"Maximum momentary at", TimeOf(evidence, kMaxima[0])},
      {"Maximum short-term (LKFS)", CsvFigure(shown.maxShortTerm)},
      {"Maximum short-term at", TimeOf(evidence, kMaxima[1])},
      {"Maximum true peak (dBTP)", CsvFigure(shown.maxTruePeak)},
      {"Maximum true peak at", TimeOf(evidence, kMaxima[2])},
      {"At least", fmt::format("{}", fmt::join(KeysAtLeast(shown), " "))},
      {"Without data (s)", std::to_string(figures.quietSeconds)},
      {"Gaps", std::to_string(figures.gaps.count)},
      {"Gaps (s)", std::to_string(figures.gaps.seconds)},
      {"No change (s)", std::to_string(figures.unchanged.seconds)},
      {"Missed messages", std::to_string(figures.missedReadings)},
      {"Source invalid (s)", std::to_string(figures.invalidSeconds)},
      {"With target (s)", std::to_string(figures.aimedSeconds)},
      {"Above the tolerance (s)", std::to_string(figures.aboveSeconds)},
      {"Below the tolerance (s)", std::to_string(figures.belowSeconds)},
      {"Profile", evidence.criteria.name},
      {"Target (LKFS)", CsvFigure(evidence.criteria.target)},
      {"Gain to target (dB)", CsvFigure(evidence.assessment.gain.toTarget)},
      {"Gain up to peak limit (dB)", CsvFigure(evidence.assessment.gain.withinPeak)},
      {"Verdict", MachineWordFor(evidence.assessment.judgement)},
  };
  std::vector<std::string> names;
  std::vector<std::string> values;
  for (const auto& [name, value] : columns) {
    names.push_back(name);
    values.push_back(value);
  }
  return CsvLine(names) + CsvLine(values);
}

std::string SecondsHeader() {
  std::vector<std::string> names = {"Cluster", "Time"};
  for (std::size_t reading = 1; reading <= kReadingsPerSecond; ++reading)
    names.push_back(fmt::format("Momentary {} (LKFS)", reading));
  for (const char* name : {"Short-term (LKFS)", "True peak (dBTP)", "State", "Source is valid"})
    names.emplace_back(name);
  return CsvLine(names);
}

std::string SecondsRow(const std::string& cluster, const RecordedSecond& second) {
  std::vector<std::string> fields = {cluster, UtcTextOf(second.time)};
  for (const std::int16_t code : second.momentary)
    fields.push_back(CsvFigure(MomentaryOf(code)));
  fields.push_back(CsvFigure(LoudnessOf(second.shortTerm)));
  fields.push_back(CsvFigure(TruePeakOf(second.truePeak)));
  fields.emplace_back(StateText(second.state));
  fields.emplace_back(second.isSourceValid ? "yes" : "no");
  return CsvLine(fields);
}

}  // namespace louddesk
