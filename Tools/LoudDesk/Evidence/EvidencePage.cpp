// Combines elements of the report on files with tables for recorded periods.

#include "EvidencePage.h"

#include <fmt/format.h>

#include <algorithm>

#include "EvidenceText.h"
#include "Page.h"
#include "ReportPage.h"
#include "ReportPlots.h"
#include "ReportTables.h"
#include "TimeText.h"
#include "XmlText.h"

namespace louddesk {
namespace {

constexpr char kId[] = "period";

// Longest list of spans that is still readable on a page.
constexpr std::size_t kMostSpanRows = 100;

constexpr char kFooter[] =
    "<p>Loudness according to ITU-R BS.1770, computed from the momentary readings that the service "
    "published ten times a second and the station recorded; LKFS is the same as LUFS. Readings are "
    "in tenths of LU, so the integrated loudness is within 0.05 LU of that of the audio. The "
    "loudness range is computed from one short-term reading per second, gated according to EBU "
    "Tech 3342; ~ marks a range from less than 60 s, which is not yet stable. True peak is the "
    "highest of each second. A figure without a reading, as in silence, is shown as -; "
    "\xE2\x89\xA5 marks a figure at the end of its scale. Loudness is out of tolerance in the "
    "seconds in which the short-term loudness is. Verdicts judge the figures as shown, to a "
    "hundredth. Times of day are the ends of the readings; the plots count from the beginning of "
    "the period.</p>";

std::string Table(const std::string& caption, const std::string& head, const std::string& rows) {
  return rows.empty() ? ""
                      : "<table class=\"small\">\n<caption>" + caption + "</caption>\n<thead><tr>" +
                            head + "</tr></thead>\n<tbody>\n" + rows + "</tbody></table>\n";
}

std::string Head(const char* name) {
  return std::string("<th scope=\"col\">") + name + "</th>";
}

std::string Cell(const char* name, const std::string& text) {
  return std::string("<td data-name=\"") + name + "\">" + Isolated(text) + "</td>";
}

std::string MoreRow(std::size_t count, std::size_t shown) {
  return count <= shown
             ? ""
             : fmt::format("<tr><td colspan=\"3\">and {} more</td></tr>\n", count - shown);
}

std::string SpanTable(const char* caption, const PeriodSpans& spans) {
  std::string rows;
  const std::size_t shown = std::min(spans.first.size(), kMostSpanRows);
  for (std::size_t i = 0; i < shown; ++i) {
    const StationPeriod& span = spans.first[i];
    rows += "<tr>" + Cell("From", LocalTimeText(span.from)) + Cell("To", LocalTimeText(span.to)) +
            Cell("Length", ClockText(static_cast<double>(span.to - span.from))) + "</tr>\n";
  }
  return Table(caption, Head("From") + Head("To") + Head("Length, h:mm:ss"),
               rows + MoreRow(spans.count, shown));
}

std::string EventTable(const Evidence& evidence) {
  std::string rows;
  for (const RecordedEvent& event : evidence.events)
    rows += "<tr>" + Cell("Time", LocalTimeText(event.time / kMsPerSecond)) +
            Cell("Event", event.kind) + Cell("Text", TextOf(event)) + "</tr>\n";
  return Table("Events", Head("Time") + Head("Event") + Head("Text"),
               rows + MoreRow(evidence.eventCount, evidence.events.size()));
}

std::string Plots(const Evidence& evidence) {
  const MeasuredProgramme& programme = evidence.figures.programme;
  const std::string id = kId;
  if (programme.figures.seconds <= 0.0)
    return "<p>The period contains no loudness data, so there is nothing to draw.</p>\n";
  return LoudnessFigure(programme, evidence.criteria, id + "-loudness") +
         TruePeakFigure(programme, evidence.criteria, id + "-peak") +
         HistogramFigure(programme, evidence.criteria, id + "-histogram");
}

std::string FiguresTable(const Evidence& evidence, const Subject& subject) {
  return "<div class=\"figures\"><table class=\"programmes\">\n" + RowHead("Period") + "<tbody>\n" +
         RowOf(subject, evidence.assessment, kId) + "</tbody></table></div>\n";
}

std::string Section(const Evidence& evidence) {
  std::vector<Fact> facts = FactsOn(evidence);
  AddGain(facts, evidence.assessment.gain, evidence.criteria);
  const std::int64_t from = evidence.figures.period.from;
  const Clock clock = {
      [from](double seconds) { return LocalTimeText(from + static_cast<std::int64_t>(seconds)); },
      ""};
  return std::string("<section id=\"") + kId + "\">\n<h2>" + Isolated(TitleOf(evidence)) +
         "</h2>\n" + ListOfVerdicts(evidence.assessment.verdicts) + ListOfNotes(NotesOn(evidence)) +
         ListOf(facts) + Plots(evidence) + PassageTable(evidence.figures.passages, clock) +
         SpanTable("Gaps in the record", evidence.figures.gaps) +
         SpanTable("No figure changed: no blocks, or a steady tone", evidence.figures.unchanged) +
         EventTable(evidence) + "</section>\n";
}

}  // namespace

std::string EvidencePage(const Evidence& evidence, const std::string& date,
                         const std::string& version) {
  const FileFacts named{TitleOf(evidence), "", 0, 0, {}, {}};
  const Subject subject = {&named, 1, false, &evidence.figures.programme};
  return Page({"Loudness of " + TitleOf(evidence), "Loudness of a recorded period",
               LeadOf(evidence.criteria),
               "<p class=\"made\">" + XmlEscaped("Made on " + date + " by LoudDesk " + version) +
                   ".</p>\n" + FiguresTable(evidence, subject) + Section(evidence),
               kFooter});
}

}  // namespace louddesk
