// The report on measured files as one self-contained page.

#pragma once

#include <map>
#include <string>

#include "Assessment.h"

namespace louddesk {

/// The criteria of a report and their source, as text.
std::string LeadOf(const Criteria& criteria);

/// Takes programmes one at a time and keeps only what the page shows. Curves are reduced to the
/// width of a screen, so the size of the page hardly depends on the length of the files.
class ReportPage {
 public:
  /// `date` and `version` appear as the time and the tool of the measurement.
  ReportPage(const Criteria& criteria, std::string date, std::string version);

  /// Takes the next programme: adds its row in the table, and its section with verdicts, notes,
  /// facts, plots, peaks of channels and passages above limits.
  void Add(const Subject& subject);

  /// Takes a file that could not be measured. `reason` is one line that may start with its name.
  void AddFailure(const std::string& path, const std::string& reason);

  /// The page: HTML that is also well-formed XML, without scripts or external resources. File names
  /// are escaped.
  std::string Text() const;

 private:
  std::string CountsInWords() const;
  std::string Table() const;

  Criteria mCriteria;
  std::string mDate;
  std::string mVersion;
  std::map<Judgement, int> mJudged;  // number of programmes in files, by verdict
  int mNotMeasured = 0;              // number of files
  std::size_t mProgrammes = 0;
  std::string mFirstName;  // name of the first programme
  std::string mRows;       // rows of the table
  std::string mSections;
};

}  // namespace louddesk
