// Writes results as they come.

#include "MeasureOutput.h"

#include <ctime>

#include "CsvFormat.h"
#include "FigureFormat.h"
#include "JsonFormat.h"
#include "PageFile.h"
#include "TimeText.h"
#include "Version.h"

namespace louddesk {
namespace {

constexpr char kSeries[] = "the series";

// The functions for the heading and for a row.
struct Style {
  std::string (*header)();
  std::string (*row)(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria);
};

std::string HeaderOfTable() {
  return TableHeader();
}

std::string NoHeader() {
  return "";
}

std::string RowOfTable(const Subject& subject, const Assessment& assessment, const Criteria&) {
  return TableRow(subject, assessment);
}

// In the order of `FigureStyle`.
constexpr Style kStyles[] = {
    {HeaderOfTable, RowOfTable}, {NoHeader, JsonLine}, {CsvHeader, CsvRow}};

}  // namespace

MeasureOutput::MeasureOutput(const MeasureOptions& options, std::ostream& out,
                             Complaints& complaints)
    : mOptions(options),
      mCriteria(CriteriaFor(options.profile)),
      mOut(out),
      mComplaints(complaints) {}

bool MeasureOutput::IsPossible() {
  if (!CheckReport(mComplaints, mOptions.report) ||
      !CheckWritable(mComplaints, mOptions.series, kSeries))
    return false;
  if (!mOptions.report.empty())
    mReport.emplace(mCriteria, LocalTimeText(std::time(nullptr)), kVersion);
  if (!mOptions.series.empty())
    mSeries.emplace(mOptions.series).Write(SeriesHeader());
  return true;
}

void MeasureOutput::Add(const MeasuredFile& file) {
  ++mFiles;
  if (!file.facts.damage.empty()) {
    mComplaints.Note(file.facts.path + ": note: " + DamageNote(file.facts.damage));
    ++mDamagedFiles;
    if (!mOptions.keepsGoing)
      mComplaints.Fail();
  }
  if (!file.facts.otherStreams.empty())
    mComplaints.Note(file.facts.path + ": note: " + file.facts.otherStreams);
  for (const Subject& subject : SubjectsOf(file)) {
    AddRow(subject);
    for (const std::string& note : NotesOn(subject.programme->figures))
      mComplaints.Note(NameOf(subject) + ": note: " + note);
    if (mSeries)
      mSeries->Write(SeriesRows(subject));
    if (mReport)
      mReport->Add(subject);
  }
  if (mOptions.hasAlbum)
    AddToAlbums(file);
}

void MeasureOutput::AddFailure(const std::string& path, const std::string& complaint) {
  mComplaints.Add(complaint);
  if (mReport)
    mReport->AddFailure(path, complaint);
}

void MeasureOutput::Finish() {
  FinishAlbums();
  if (!mOut)
    mComplaints.Add("the figures could not be written");
  if (mSeries)
    ComplainUnwritten(mComplaints, mOptions.series, kSeries, mSeries->TakePlace());
  if (mReport)
    WriteReport(mComplaints, mOptions.report, mReport->Text());
}

int MeasureOutput::Status() const {
  if (mComplaints.Status() != 0)
    return mComplaints.Status();
  return mIsLimitBroken ? kLimitBrokenStatus : 0;
}

void MeasureOutput::AddRow(const Subject& subject) {
  const Assessment assessment = AssessmentOf(subject.programme->figures, mCriteria);
  const Style& style = kStyles[static_cast<std::size_t>(mOptions.style)];
  mOut << (mHasRows ? "" : style.header()) << style.row(subject, assessment, mCriteria)
       << std::flush;
  mHasRows = true;
  if (subject.file != nullptr && mOptions.profile.failsByVerdict &&
      TakeVerdicts(assessment, NameOf(subject), mComplaints))
    mIsLimitBroken = true;
}

void MeasureOutput::AddToAlbums(const MeasuredFile& file) {
  mAlbums.resize(file.programmes.size());
  for (std::size_t i = 0; i < mAlbums.size(); ++i)
    mAlbums[i].Add(file.programmes[i]);
}

void MeasureOutput::FinishAlbums() {
  for (const Album& album : mAlbums) {
    const MeasuredProgramme all = album.AsOne();
    const Subject subject = {nullptr, mFiles, mAlbums.size() > 1, &all, mDamagedFiles};
    AddRow(subject);
    if (mReport)
      mReport->Add(subject);
  }
}

}  // namespace louddesk
