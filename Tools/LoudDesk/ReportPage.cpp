// The page around the plots.

#include "ReportPage.h"

#include "FigureFormat.h"
#include "ReportPlots.h"
#include "ReportStyle.h"
#include "SvgPlot.h"
#include "Verdict.h"

namespace louddesk {
namespace {

// The policy holds every browser to it that nothing is fetched or run.
constexpr char kHead[] =
    "<!DOCTYPE html>\n"
    "<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"en\">\n<head>\n"
    "<meta charset=\"utf-8\"/>\n"
    "<meta http-equiv=\"Content-Security-Policy\" "
    "content=\"default-src 'none'; style-src 'unsafe-inline'\"/>\n"
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
    "<meta name=\"color-scheme\" content=\"light dark\"/>\n";

constexpr char kFooter[] =
    "<footer><p>Measured by LoudDesk: loudness by ITU-R BS.1770, loudness range by EBU Tech 3342. "
    "LKFS is the same as LUFS. Momentary loudness is that of the last 400 ms, short-term loudness "
    "that of the last 3 s; a figure without a reading, as in silence, is -. Verdicts judge the "
    "figures as they are written, to a hundredth.</p></footer>\n";

const char* StyleFor(Judgement judgement) {
  switch (judgement) {
    case Judgement::kPass:
      return "pass";
    case Judgement::kFail:
      return "fail";
    case Judgement::kNoReading:
      break;
  }
  return "none";
}

// A sign beside the word, for the quick eye.
const char* SignFor(Judgement judgement) {
  switch (judgement) {
    case Judgement::kPass:
      return "\xE2\x9C\x93";  // check mark
    case Judgement::kFail:
      return "\xE2\x9C\x97";  // ballot X
    case Judgement::kNoReading:
      break;
  }
  return "\xE2\x80\x93";  // dash
}

std::string VerdictText(Judgement judgement) {
  return std::string("<span class=\"verdict ") + StyleFor(judgement) + "\">" + SignFor(judgement) +
         " " + WordFor(judgement) + "</span>";
}

std::string FileNameOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The name may run from right to left; what stands around it does not.
std::string Isolated(const std::string& text) {
  return "<bdi>" + Escaped(text) + "</bdi>";
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
    line += "<td data-name=\"" + figure.name + "\"><span>" + figure.text +
            " <span class=\"unit\">" + figure.unit + "</span></span></td>";
  return line + "<td data-name=\"Verdict\">" + VerdictText(Overall(Judge(series.figures, limits))) +
         "</td></tr>\n";
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
    list += std::string("<li class=\"is-") + StyleFor(verdict.judgement) + "\"><p>" +
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
    return "<p>Shorter than a block of 100 ms, so there is nothing to draw.</p>\n";
  return LoudnessFigure(series, limits, id + "-loudness") +
         TruePeakFigure(series, limits, id + "-peak") +
         HistogramFigure(series, limits, id + "-histogram");
}

std::string FileSection(const MeasuredSeries& series, const LoudnessLimits& limits,
                        const std::string& id) {
  return "<section id=\"" + id + "\">\n<h2>" + Isolated(FileNameOf(series.file)) +
         "</h2>\n<p class=\"path\">" + Isolated(series.file) + "</p>\n" +
         VerdictList(Judge(series.figures, limits)) + List(NotesOn(series.figures)) +
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
  std::string page = std::string(kHead) + "<title>" + Escaped(TitleOf(report)) +
                     "</title>\n<style>" + kReportStyle +
                     "</style>\n</head>\n<body>\n<header>\n<h1>Loudness report</h1>\n<p>" +
                     NameOf(report.limits) + ".</p>\n</header>\n<main>\n" + FigureTable(report);
  for (std::size_t i = 0; i < report.files.size(); ++i)
    page += FileSection(report.files[i], report.limits, IdOf(i));
  return page + FailureSection(report.failures) + "</main>\n" + kFooter + "</body>\n</html>\n";
}

}  // namespace louddesk
