// Writes rows and cells.

#include "ReportTables.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "ClockText.h"
#include "FigureFormat.h"
#include "FigureText.h"
#include "Passages.h"
#include "SpeakerNames.h"
#include "XmlText.h"

namespace louddesk {
namespace {

constexpr char kAtLeastSign[] = "\xE2\x89\xA5 ";  // greater-than-or-equal sign and a space in UTF-8
constexpr char kUnstableSign[] = "~ ";
constexpr char kDuration[] = "Duration";

// The duration that a true peak covers, s.
constexpr double kBlockSeconds = 1.0 / kBlocksPerSecond;

// Breaks a heading into two lines, as in the table on the terminal.
std::string Broken(std::string name) {
  const std::size_t space = name.find(' ');
  return space == std::string::npos ? name : name.replace(space, 1, "<br/>");
}

std::string HeadCell(const std::string& name, const char* unit) {
  return "<th scope=\"col\">" + Broken(name) + "<br/><span class=\"unit\">" + unit + "</span></th>";
}

std::string Cell(const std::string& name, const std::string& text, const char* unit) {
  return "<td data-name=\"" + name + "\"><span>" + text + " <span class=\"unit\">" + unit +
         "</span></span></td>";
}

// A figure of the table. Durations are formatted as on a clock.
struct ShownFigure {
  std::string name;
  const char* unit;
  std::string text;
};

std::vector<ShownFigure> ShownFigures(const Figures& figures, const TargetGain& gain) {
  std::vector<ShownFigure> shown;
  for (const WrittenFigure& figure : WrittenFigures(figures, gain)) {
    const bool isDuration = figure.name == kDuration;
    const char* sign = figure.isAtLeast ? kAtLeastSign : figure.isNotYetStable ? kUnstableSign : "";
    shown.push_back({figure.name, isDuration ? kClockUnit : figure.unit,
                     isDuration ? ClockText(figures.seconds) : sign + figure.text});
  }
  return shown;
}

// The name of a programme in the table: its file name without the directory.
std::string ShortName(const Subject& subject) {
  return FileNameOf(NameOf(subject));
}

// The error without the file name at its start; the name has its own cell.
std::string ReasonAlone(const std::string& path, const std::string& complaint) {
  const std::string name = path + ": ";
  return complaint.compare(0, name.size(), name) == 0 ? complaint.substr(name.size()) : complaint;
}

std::string CountText(std::uint64_t bytes) {
  std::string digits = std::to_string(bytes);
  for (std::size_t i = digits.size(); i > 3; i -= 3)
    digits.insert(i - 3, " ");
  return digits;
}

void AddFileFacts(std::vector<Fact>& facts, const FileFacts& file) {
  facts.emplace_back("Format", file.format);
  facts.emplace_back("Sample rate", std::to_string(file.sampleRate) + " Hz");
  if (file.bytes)
    facts.emplace_back("Size", CountText(*file.bytes) + " bytes");
  if (!file.sha256.empty())
    facts.emplace_back("SHA-256", file.sha256);
}

std::string SpeakersInWords(const Programme& programme) {
  std::string words;
  for (const ProgrammeChannel& member : programme)
    words += fmt::format("{}{} {}", words.empty() ? "" : ", ", member.channel + 1,
                         ShortSpeakerName(member.speaker));
  return words;
}

void AddMaximum(std::vector<Fact>& facts, const char* name, const std::optional<double>& maximum,
                const char* unit, double at) {
  if (maximum && at > 0.0)
    facts.emplace_back(name, FigureText(maximum) + unit + " at " + ClockText(at));
}

std::string GainText(const std::optional<double>& gain) {
  return gain ? fmt::format("{:+.2f} dB", *gain) : std::string("-");
}

// A limit whose passages are listed.
struct PassageKind {
  const char* name;
  const char* unit;
  std::optional<float> SeriesPoint::*figure;
  std::optional<double> LoudnessLimits::*limit;
  double covered;  // duration that a reading covers, s
};

constexpr PassageKind kPassageKinds[] = {
    {"True peak", "dBTP", &SeriesPoint::truePeak, &LoudnessLimits::maxTruePeak, kBlockSeconds},
    {"Short-term loudness", "LKFS", &SeriesPoint::shortTerm, &LoudnessLimits::maxShortTerm,
     kShortTermSeconds},
    {"Momentary loudness", "LKFS", &SeriesPoint::momentary, &LoudnessLimits::maxMomentary,
     kMomentarySeconds},
};

std::string PassageRow(const FoundPassages& found, const Passage& passage, const Clock& clock) {
  return "<tr><th scope=\"row\">" + std::string(found.name) + "</th>" +
         Cell("From", clock.text(passage.begin), clock.unit) +
         Cell("To", clock.text(passage.end), clock.unit) +
         Cell("Highest", FigureText(passage.highest), found.unit) + "</tr>\n";
}

std::string PassageRows(const FoundPassages& found, const Clock& clock) {
  std::string rows;
  for (const Passage& passage : found.first)
    rows += PassageRow(found, passage, clock);
  if (found.count > found.first.size())
    rows += fmt::format("<tr><th scope=\"row\">{}</th><td colspan=\"3\">and {} more</td></tr>\n",
                        found.name, found.count - found.first.size());
  return rows;
}

}  // namespace

Badge BadgeFor(Judgement judgement) {
  if (judgement == Judgement::kPass)
    return Badge::kGood;
  return judgement == Judgement::kFail ? Badge::kBad : Badge::kNone;
}

std::string VerdictText(Judgement judgement) {
  return BadgeText(BadgeFor(judgement), WordFor(judgement));
}

std::string FileNameOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string RowHead(const char* subjects) {
  std::string head = std::string("<thead><tr><th scope=\"col\">") + subjects + "</th>";
  for (const ShownFigure& figure : ShownFigures({}, {}))
    head += HeadCell(figure.name, figure.unit);
  return head + "<th scope=\"col\">Verdict</th></tr></thead>\n";
}

std::string RowOf(const Subject& subject, const Assessment& assessment, const std::string& id) {
  std::string row = "<tr><th scope=\"row\"><a href=\"#" + id + "\">" +
                    Isolated(ShortName(subject)) + "</a>" + MarkOf(subject) + "</th>";
  for (const ShownFigure& figure : ShownFigures(subject.programme->figures, assessment.gain))
    row += Cell(figure.name, figure.text, figure.unit);
  return row + "<td data-name=\"Verdict\">" + VerdictText(assessment.judgement) + "</td></tr>\n";
}

std::string FailureRow(const std::string& path, const std::string& reason) {
  const std::size_t columns = ShownFigures({}, {}).size() + 1;
  return "<tr class=\"failed\"><th scope=\"row\">" + Isolated(FileNameOf(path)) +
         "</th><td colspan=\"" + std::to_string(columns) + "\">" +
         BadgeText(Badge::kBad, "Not measured") + " " + Isolated(ReasonAlone(path, reason)) +
         "</td></tr>\n";
}

std::string ListOf(const std::vector<Fact>& facts) {
  std::string list = "<dl class=\"facts\">\n";
  for (const auto& [name, text] : facts)
    list += "<div><dt>" + XmlEscaped(name) + "</dt><dd>" + Isolated(text) + "</dd></div>\n";
  return list + "</dl>\n";
}

std::string ListOfNotes(const std::vector<std::string>& notes) {
  if (notes.empty())
    return "";
  std::string list = "<ul class=\"notes\">\n";
  for (const std::string& note : notes)
    list += "<li>" + Isolated(note) + "</li>\n";
  return list + "</ul>\n";
}

std::string ListOfVerdicts(const std::vector<Verdict>& verdicts) {
  if (verdicts.empty())
    return "";
  std::string list = "<ul class=\"verdicts\">\n";
  for (const Verdict& verdict : verdicts)
    list += std::string("<li class=\"is-") + StyleFor(BadgeFor(verdict.judgement)) + "\"><p>" +
            verdict.limit + ": " + verdict.allowed + "</p><p class=\"finding\">" +
            VerdictText(verdict.judgement) + " " + verdict.finding + ".</p></li>\n";
  return list + "</ul>\n";
}

void AddGain(std::vector<Fact>& facts, const TargetGain& gain, const Criteria& criteria) {
  if (!criteria.target)
    return;
  facts.emplace_back("Gain to " + FigureText(criteria.target) + " LKFS", GainText(gain.toTarget));
  if (criteria.peakCeiling)
    facts.emplace_back("The same, true peak up to " + FigureText(criteria.peakCeiling) + " dBTP",
                       GainText(gain.withinPeak));
}

std::string FactList(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria) {
  const MeasuredProgramme& programme = *subject.programme;
  const Figures& figures = programme.figures;
  std::vector<Fact> facts;
  if (subject.file != nullptr)
    AddFileFacts(facts, *subject.file);
  facts.emplace_back("Duration", ClockText(figures.seconds));
  facts.emplace_back("Channels", SpeakersInWords(programme.programme));
  AddMaximum(facts, "Maximum momentary", figures.maxMomentary, " LKFS", figures.maxMomentaryAt);
  AddMaximum(facts, "Maximum short-term", figures.maxShortTerm, " LKFS", figures.maxShortTermAt);
  AddMaximum(facts, "Maximum true peak", figures.maxTruePeak, " dBTP", figures.maxTruePeakAt);
  AddGain(facts, assessment.gain, criteria);
  return ListOf(facts);
}

std::string ChannelTable(const MeasuredProgramme& programme) {
  if (programme.channels.empty())
    return "";
  std::string table =
      "<table class=\"small\">\n<caption>Highest peaks of each channel</caption>\n<thead><tr>"
      "<th scope=\"col\">Channel</th>" +
      HeadCell("True peak", "dBTP") + HeadCell("Sample peak", "dBFS") + "</tr></thead>\n<tbody>\n";
  for (const ChannelFigures& channel : programme.channels)
    table +=
        fmt::format("<tr><th scope=\"row\">{} {}</th>", channel.channel + 1,
                    XmlEscaped(channel.speakers)) +
        Cell("True peak",
             (channel.isPeakAtLeast ? kAtLeastSign : "") + FigureText(channel.truePeak), "dBTP") +
        Cell("Sample peak", FigureText(channel.samplePeak), "dBFS") + "</tr>\n";
  return table + "</tbody></table>\n";
}

std::vector<FoundPassages> PassagesOf(const MeasuredProgramme& programme,
                                      const Criteria& criteria) {
  std::vector<FoundPassages> found;
  for (const PassageKind& kind : kPassageKinds)
    if (const std::optional<double>& limit = criteria.limits.*kind.limit) {
      auto passages = PassagesAbove(programme.points, kind.figure, *limit, kind.covered);
      const std::size_t count = passages.size();
      passages.resize(std::min(count, kMostPassages));
      found.push_back({kind.name, kind.unit, std::move(passages), count});
    }
  return found;
}

std::string PassageTable(const std::vector<FoundPassages>& all, const Clock& clock) {
  std::string rows;
  for (const FoundPassages& found : all)
    rows += PassageRows(found, clock);
  if (rows.empty())
    return "";
  return "<table class=\"small passages\">\n<caption>Passages above a limit; those less than a "
         "second apart are joined</caption>\n<thead><tr><th scope=\"col\">Limit of</th>" +
         HeadCell("From", clock.unit) + HeadCell("To", clock.unit) + HeadCell("Highest", "") +
         "</tr></thead>\n<tbody>\n" + rows + "</tbody></table>\n";
}

}  // namespace louddesk
