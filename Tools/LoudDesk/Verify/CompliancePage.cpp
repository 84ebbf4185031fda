// Summary, plots and tables of a verification.

#include "CompliancePage.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "ComplianceFormat.h"
#include "CompliancePlots.h"
#include "FigureText.h"
#include "Page.h"
#include "XmlText.h"

namespace louddesk {
namespace {

constexpr char kFooter[] =
    "<p>Measured by LoudDesk. Signals are sines of 1 kHz, in phase on Left and Right, unless "
    "noted otherwise; levels are peak levels of each channel, fs is the sample rate. Standard is "
    "what the document asks for. Expected is what a meter that works in blocks of 100 ms reads, "
    "computed from the signal alone; the tolerance is that of the document. LKFS is the same as "
    "LUFS.</p>";

constexpr char kPlotsHead[] =
    "<section id=\"deviations\">\n<h2>Deviations</h2>\n"
    "<p>Deviation of each figure from what the standard asks for, in units of the tolerance on "
    "that "
    "side: the standard is met from -1 to +1.</p>\n";

struct VerdictMeaning {
  ComplianceVerdict verdict;
  Badge badge;
  const char* meaning;
};

// From worst to best.
constexpr VerdictMeaning kVerdicts[] = {
    {ComplianceVerdict::kFail, Badge::kBad,
     "Not met: outside the tolerance of what a meter that works in blocks of 100 ms must read"},
    {ComplianceVerdict::kGrid, Badge::kNoted,
     "Listed deviation: outside the standard's tolerance, but within the same tolerance of what a "
     "meter that works in blocks of 100 ms must read"},
    {ComplianceVerdict::kPass, Badge::kGood,
     "Met: what the standard asks for, within its tolerance"},
    {ComplianceVerdict::kNotRun, Badge::kNone,
     "Not run: a recording that must not be passed on, of which no copy was measured"},
};

struct Document {
  const char* prefix;  // of the case identifiers
  const char* name;
};

constexpr Document kDocuments[] = {
    {"1770-", "ITU-R BS.1770"}, {"3341-", "EBU Tech 3341"}, {"3342-", "EBU Tech 3342"}};

// All rows of one case.
struct CaseRows {
  std::string id;
  std::vector<ComplianceRow> rows;
};

std::vector<CaseRows> CasesOf(const std::vector<ComplianceRow>& rows) {
  std::vector<CaseRows> cases;
  for (const ComplianceRow& row : rows) {
    if (cases.empty() || cases.back().id != row.caseId)
      cases.push_back({row.caseId, {}});
    cases.back().rows.push_back(row);
  }
  return cases;
}

// The worst verdict in the case.
ComplianceVerdict VerdictOn(const CaseRows& known) {
  for (const VerdictMeaning& entry : kVerdicts)
    if (CountOf(known.rows, entry.verdict) > 0)
      return entry.verdict;
  return ComplianceVerdict::kNotRun;
}

int CountOf(const std::vector<CaseRows>& cases, ComplianceVerdict verdict) {
  return static_cast<int>(
      std::count_if(cases.begin(), cases.end(),
                    [verdict](const CaseRows& known) { return VerdictOn(known) == verdict; }));
}

std::string VerdictText(ComplianceVerdict verdict) {
  for (const VerdictMeaning& entry : kVerdicts)
    if (entry.verdict == verdict)
      return BadgeText(entry.badge, VerdictWord(verdict));
  return "";
}

std::string Cell(const char* name, const std::string& content) {
  return std::string("<td data-name=\"") + name + "\"><span>" + content + "</span></td>";
}

std::string IdOf(const std::string& caseId) {
  return "case-" + caseId;
}

// The largest deviation from the standard among the figures with a verdict. A reading may meet the
// standard and still fail, where a meter that works in blocks must read something else.
std::string FurthestText(const CaseRows& known, ComplianceVerdict verdict) {
  double furthest = 0.0;
  const char* unit = "";
  for (const ComplianceRow& row : known.rows) {
    if (row.verdict != verdict)
      continue;
    if (!row.measured)
      return "without a reading";
    const double deviation = *row.measured - row.expectation->standard;
    unit = DifferenceUnitOf(row);
    if (std::abs(deviation) > std::abs(furthest))
      furthest = deviation;
  }
  const std::string distance = FigureText(std::abs(furthest), "");
  if (distance == FigureText(0.0))
    return "as the standard asks, but not as predicted";
  return distance + " " + unit + " " + (furthest < 0.0 ? "below" : "above") +
         " the standard at most";
}

// The cases with a verdict, each with the number of such figures and their largest deviation.
std::string DeviationList(const std::vector<CaseRows>& cases, ComplianceVerdict verdict,
                          const char* heading) {
  std::string list;
  for (const CaseRows& known : cases) {
    const int count = CountOf(known.rows, verdict);
    if (count > 0)
      list += fmt::format("<li><a href=\"#{}\">{}</a>: {} of {} figures, {}</li>\n", IdOf(known.id),
                          known.id, count, known.rows.size(), FurthestText(known, verdict));
  }
  return list.empty() ? ""
                      : fmt::format("<h3>{}</h3>\n<ul class=\"notes\">\n{}</ul>\n", heading, list);
}

std::string SummaryLine(const VerdictMeaning& entry, const ComplianceReport& report,
                        const std::vector<CaseRows>& cases) {
  return "<tr><th scope=\"row\">" + BadgeText(entry.badge, VerdictWord(entry.verdict)) + "</th>" +
         Cell("Cases", std::to_string(CountOf(cases, entry.verdict))) +
         Cell("Figures", entry.verdict == ComplianceVerdict::kNotRun
                             ? "-"
                             : std::to_string(CountOf(report.rows, entry.verdict))) +
         "<td class=\"meaning\">" + XmlEscaped(entry.meaning) + "</td></tr>\n";
}

std::string Summary(const ComplianceReport& report, const std::vector<CaseRows>& cases) {
  std::string section =
      "<section id=\"summary\" class=\"summary\">\n<h2>Summary</h2>\n<table>\n<thead><tr>"
      "<th scope=\"col\">Verdict</th><th scope=\"col\">Cases</th><th scope=\"col\">Figures</th>"
      "<th scope=\"col\">Meaning</th></tr></thead>\n<tbody>\n";
  for (const VerdictMeaning& entry : kVerdicts)
    section += SummaryLine(entry, report, cases);
  return section + "</tbody></table>\n<p>A case has the worst verdict of its figures.</p>\n" +
         DeviationList(cases, ComplianceVerdict::kFail, "Not met") +
         DeviationList(cases, ComplianceVerdict::kGrid, "Listed deviations") + "</section>\n";
}

// Escapes text and marks up words between backquotes as code.
std::string Prose(const std::string& text) {
  std::string prose;
  bool isCode = false;
  for (const char c : XmlEscaped(text)) {
    if (c != '`') {
      prose += c;
      continue;
    }
    prose += isCode ? "</code>" : "<code>";
    isCode = !isCode;
  }
  return prose;
}

std::string CaseHead(const CaseRows& known) {
  return "<tr class=\"case\"><th colspan=\"6\" scope=\"rowgroup\">" + known.id + ": " +
         XmlEscaped(known.rows.front().signal) + " " + VerdictText(VerdictOn(known)) + "<p>" +
         Prose(ExplanationOf(known.id)) + "</p></th></tr>\n";
}

std::string FigureLine(const ComplianceRow& row) {
  const WrittenRow written = WrittenRowOf(row, kPlusMinus);
  return "<tr><th scope=\"row\">" + XmlEscaped(written.figure) + " <span class=\"unit\">" +
         written.unit + "</span></th>" + Cell("Standard", written.standard) +
         Cell("Expected", written.expected) + Cell("Tolerance", written.tolerance) +
         Cell("Measured", written.measured) + Cell("Verdict", VerdictText(row.verdict)) + "</tr>\n";
}

std::string CaseBody(const CaseRows& known) {
  std::string body = "<tbody id=\"" + IdOf(known.id) + "\">\n" + CaseHead(known);
  for (const ComplianceRow& row : known.rows)
    if (row.expectation)
      body += FigureLine(row);
  return body + "</tbody>\n";
}

std::string DocumentSection(const Document& document, const std::vector<CaseRows>& cases) {
  std::string bodies;
  for (const CaseRows& known : cases)
    if (known.id.rfind(document.prefix, 0) == 0)
      bodies += CaseBody(known);
  if (bodies.empty())
    return "";
  return std::string("<section>\n<h2>") + document.name +
         "</h2>\n<table class=\"cases\">\n<thead><tr><th scope=\"col\">Figure</th>"
         "<th scope=\"col\">Standard</th><th scope=\"col\">Expected</th>"
         "<th scope=\"col\">Tolerance</th><th scope=\"col\">Measured</th>"
         "<th scope=\"col\">Verdict</th></tr></thead>\n" +
         bodies + "</table>\n</section>\n";
}

std::string Plots(const std::vector<ComplianceRow>& rows) {
  const std::string figures = DeviationFigures(rows);
  return figures.empty() ? "" : kPlotsHead + figures + "</section>\n";
}

std::string Lead(const ComplianceReport& report) {
  return fmt::format(
      "Test signals of ITU-R BS.1770, EBU Tech 3341 and EBU Tech 3342 at {:g} kHz, measured by {}.",
      report.sampleRate / 1000.0, report.meter);
}

}  // namespace

std::string ExplanationOf(const std::string& caseId) {
  const std::string all = kComplianceExplanations;
  const std::size_t heading = all.find("**" + caseId + "**");
  if (heading == std::string::npos)
    return "";
  constexpr char kEndOfHeading[] = "**: ";
  const std::size_t begin = all.find(kEndOfHeading, heading) + sizeof kEndOfHeading - 1;
  std::string text = all.substr(begin, all.find("\n\n", begin) - begin);
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

std::string CompliancePage(const ComplianceReport& report) {
  const std::vector<CaseRows> cases = CasesOf(report.rows);
  std::string contents = Summary(report, cases) + Plots(report.rows);
  for (const Document& document : kDocuments)
    contents += DocumentSection(document, cases);
  return Page({"Loudness verification", "Verification report", Lead(report), contents, kFooter});
}

}  // namespace louddesk
