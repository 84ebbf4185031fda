// The page around the plots.

#include "ReportPage.h"

#include "FigureFormat.h"
#include "Page.h"
#include "ReportPlots.h"
#include "SvgPlot.h"
#include "Verdict.h"

namespace louddesk {
namespace {

constexpr char kAtLeastSign[] = "\xE2\x89\xA5 ";  // in UTF-8

constexpr char kFooter[] =
    "<p>Measured by LoudDesk: loudness by ITU-R BS.1770, in whole blocks of 100 ms; LKFS is the "
    "same as LUFS. Momentary loudness is that of the last 400 ms. Short-term loudness is the mean "
    "of the last thirty momentary readings, from 3 s on: it weighs 3.3 s, the outer 0.3 s at both "
    "ends less. The loudness range is that of one such reading a second, gated after EBU Tech "
    "3342. True peak is that of every sample. A figure without a reading, as in silence, is -; "
    "\xE2\x89\xA5 marks one at the end of its scale. Verdicts judge the figures as they are "
    "written, to a hundredth.</p>";

Badge BadgeFor(Judgement judgement) {
  switch (judgement) {
    case Judgement::kPass:
      return Badge::kGood;
    case Judgement::kFail:
      return Badge::kBad;
    case Judgement::kOpen:
    case Judgement::kNoReading:
      break;
  }
  return Badge::kNone;
}

std::string VerdictText(Judgement judgement) {
  return BadgeText(BadgeFor(judgement), WordFor(judgement));
}

std::string FileNameOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string IdOf(std::size_t index) {
  return "file-" + std::to_string(index + 1);
}

// A heading in two lines, as over the table on the terminal.
std::string Broken(std::string name) {
  const std::size_t space = name.find(' ');
  return space == std::string::npos ? name : name.replace(space, 1, "<br/>");
}

std::string TableHead() {
  std::string head = "<thead><tr><th scope=\"col\">File</th>";
  for (const WrittenFigure& figure : WrittenFigures(Figures()))
    head += "<th scope=\"col\">" + Broken(figure.name) + "<br/><span class=\"unit\">" +
            figure.unit + "</span></th>";
  return head + "<th scope=\"col\">Verdict</th></tr></thead>\n";
}

std::string TableLine(const MeasuredSeries& series, const LoudnessLimits& limits,
                      const std::string& id) {
  std::string line = "<tr><th scope=\"row\"><a href=\"#" + id + "\">" +
                     Isolated(FileNameOf(series.file)) + "</a></th>";
  for (const WrittenFigure& figure : WrittenFigures(series.figures))
    line += "<td data-name=\"" + figure.name + "\"><span>" +
            (figure.isAtLeast ? kAtLeastSign : "") + figure.text + " <span class=\"unit\">" +
            figure.unit + "</span></span></td>";
  return line + "<td data-name=\"Verdict\">" +
         VerdictText(OverallJudgement(VerdictsOn(series.figures, limits))) + "</td></tr>\n";
}

std::string FigureTable(const Report& report) {
  if (report.files.empty())
    return "";
  std::string table = "<div class=\"figures\"><table>\n" + TableHead() + "<tbody>\n";
  for (std::size_t i = 0; i < report.files.size(); ++i)
    table += TableLine(report.files[i], report.limits, IdOf(i));
  return table + "</tbody></table></div>\n";
}

std::string VerdictList(const std::vector<Verdict>& verdicts) {
  std::string list = "<ul class=\"verdicts\">\n";
  for (const Verdict& verdict : verdicts)
    list += std::string("<li class=\"is-") + StyleFor(BadgeFor(verdict.judgement)) + "\"><p>" +
            verdict.limit + ": " + verdict.allowed + "</p><p class=\"finding\">" +
            VerdictText(verdict.judgement) + " " + verdict.finding + ".</p></li>\n";
  return list + "</ul>\n";
}

std::string List(const std::vector<std::string>& lines) {
  if (lines.empty())
    return "";
  std::string list = "<ul class=\"notes\">\n";
  for (const std::string& line : lines)
    list += "<li>" + Isolated(line) + "</li>\n";
  return list + "</ul>\n";
}

std::string Plots(const MeasuredSeries& series, const LoudnessLimits& limits,
                  const std::string& id) {
  if (series.points.empty())
    return "<p>There is no audio in it, so there is nothing to draw.</p>\n";
  return LoudnessFigure(series, limits, id + "-loudness") +
         TruePeakFigure(series, limits, id + "-peak") +
         HistogramFigure(series, limits, id + "-histogram");
}

std::string FileSection(const MeasuredSeries& series, const LoudnessLimits& limits,
                        const std::string& id) {
  return "<section id=\"" + id + "\">\n<h2>" + Isolated(FileNameOf(series.file)) +
         "</h2>\n<p class=\"path\">" + Isolated(series.file) + "</p>\n" +
         VerdictList(VerdictsOn(series.figures, limits)) + List(NotesOn(series.figures)) +
         Plots(series, limits, id) + "</section>\n";
}

std::string FailureSection(const std::vector<std::string>& failures) {
  if (failures.empty())
    return "";
  return "<section>\n<h2>Not measured</h2>\n" + List(failures) + "</section>\n";
}

std::string TitleOf(const Report& report) {
  return report.files.size() == 1 ? "Loudness of " + FileNameOf(report.files.front().file)
                                  : "Loudness report";
}

}  // namespace

std::string ReportPage(const Report& report) {
  std::string contents = FigureTable(report);
  for (std::size_t i = 0; i < report.files.size(); ++i)
    contents += FileSection(report.files[i], report.limits, IdOf(i));
  return Page({TitleOf(report), "Loudness report", LimitsText(report.limits) + ".",
               contents + FailureSection(report.failures), kFooter});
}

}  // namespace louddesk
