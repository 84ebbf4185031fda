// The page around tables and plots.

#include "ReportPage.h"

#include <fmt/format.h>

#include "FigureFormat.h"
#include "Page.h"
#include "ReportPlots.h"
#include "ReportTables.h"
#include "XmlText.h"

namespace louddesk {
namespace {

constexpr char kFooter[] =
    "<p>Loudness according to ITU-R BS.1770, in whole blocks of 100 ms; LKFS is the same as LUFS. "
    "Momentary loudness is that of the last 400 ms. Short-term loudness is the mean of the last "
    "thirty momentary readings, from 3 s on: it covers 3.3 s, with less weight on the outer 0.3 s "
    "at both ends. The loudness range is computed from one such reading per second, gated "
    "according to EBU Tech 3342; ~ marks a range from less than 60 s, which is not yet stable. "
    "True peak covers every sample. A figure without a reading, as in silence, is shown as -; "
    "\xE2\x89\xA5 marks a figure at the end of its scale. Verdicts judge the figures as shown, to "
    "a hundredth. Times are the ends of the readings.</p>";

std::string NoteList(const Subject& subject) {
  const Figures& figures = subject.programme->figures;
  std::vector<std::string> notes = NotesOn(figures);
  if (const std::string damage = DamageOf(subject); !damage.empty())
    notes.insert(notes.begin(), DamageNote(damage));
  if (IsRangeUnstable(figures))
    notes.emplace_back("shorter than 60 s; the loudness range is not yet stable");
  return ListOfNotes(notes);
}

// All files as one programme have a histogram but no times.
std::string Plots(const Subject& subject, const Criteria& criteria, const std::string& id) {
  const MeasuredProgramme& programme = *subject.programme;
  std::string histogram = HistogramFigure(programme, criteria, id + "-histogram");
  if (subject.file == nullptr)
    return histogram;
  if (programme.points.empty())
    return "<p>There is no audio, so there is nothing to draw.</p>\n";
  return LoudnessFigure(programme, criteria, id + "-loudness") +
         TruePeakFigure(programme, criteria, id + "-peak") + histogram;
}

std::string Section(const Subject& subject, const Assessment& assessment, const Criteria& criteria,
                    const std::string& id) {
  const std::string name = NameOf(subject);
  return "<section id=\"" + id + "\">\n<h2>" + Isolated(FileNameOf(name)) +
         "</h2>\n<p class=\"path\">" + Isolated(name) + "</p>\n" +
         ListOfVerdicts(assessment.verdicts) + NoteList(subject) +
         FactList(subject, assessment, criteria) + Plots(subject, criteria, id) +
         ChannelTable(*subject.programme) + PassageTable(PassagesOf(*subject.programme, criteria)) +
         "</section>\n";
}

}  // namespace

std::string LeadOf(const Criteria& criteria) {
  return CriteriaText(criteria) + "." +
         (criteria.source.empty() ? "" : " Source: " + criteria.source + ".");
}

ReportPage::ReportPage(const Criteria& criteria, std::string date, std::string version)
    : mCriteria(criteria), mDate(std::move(date)), mVersion(std::move(version)) {}

void ReportPage::Add(const Subject& subject) {
  const Assessment assessment = AssessmentOf(subject.programme->figures, mCriteria);
  const std::string id = "file-" + std::to_string(++mProgrammes);
  if (mFirstName.empty())
    mFirstName = FileNameOf(NameOf(subject));
  if (subject.file != nullptr)
    ++mJudged[assessment.judgement];
  mRows += RowOf(subject, assessment, id);
  mSections += Section(subject, assessment, mCriteria, id);
}

void ReportPage::AddFailure(const std::string& path, const std::string& reason) {
  ++mNotMeasured;
  mRows += FailureRow(path, reason);
}

std::string ReportPage::Text() const {
  const bool isOfOne = mProgrammes == 1 && mNotMeasured == 0;
  return Page({isOfOne ? "Loudness of " + mFirstName : "Loudness report", "Loudness report",
               LeadOf(mCriteria),
               "<p class=\"made\">" +
                   XmlEscaped("Measured on " + mDate + " by LoudDesk " + mVersion) + ".</p>\n" +
                   Table() + mSections,
               kFooter});
}

std::string ReportPage::CountsInWords() const {
  const auto count = [this](Judgement judgement) {
    const auto judged = mJudged.find(judgement);
    return judged == mJudged.end() ? 0 : judged->second;
  };
  const int open = count(Judgement::kOpen) + count(Judgement::kNoReading);
  std::string words =
      fmt::format("{} pass, {} fail, ", count(Judgement::kPass), count(Judgement::kFail));
  if (open > 0)
    words += fmt::format("{} open, ", open);
  if (count(Judgement::kNotJudged) > 0)
    words += fmt::format("{} not judged, ", count(Judgement::kNotJudged));
  return words + fmt::format("{} not measured", mNotMeasured);
}

std::string ReportPage::Table() const {
  return "<div class=\"figures\"><table class=\"programmes\">\n<caption>" + CountsInWords() +
         "</caption>\n" + RowHead() + "<tbody>\n" + mRows + "</tbody></table></div>\n";
}

}  // namespace louddesk
