// The report on measured files as one page that needs nothing but itself.

#pragma once

#include <map>
#include <string>

#include "Assessment.h"

namespace louddesk {

/// What a report judges by, and where that comes from.
std::string LeadOf(const Criteria& criteria);

/// Takes the programmes one by one and keeps no more of them than the page shows: curves are
/// thinned out, so that the size of the page hardly depends on the length of the files.
class ReportPage {
 public:
  /// `date` and `version` are told as when and by what was measured.
  ReportPage(const Criteria& criteria, std::string date, std::string version);

  /// Takes the next programme: its row in the table, and its section with verdicts in words, notes,
  /// facts, plots, the peaks of its channels and the passages above limits.
  void Add(const Subject& subject);

  /// Takes a file that could not be measured, with the reason in one line that may begin with its
  /// name.
  void AddFailure(const std::string& path, const std::string& reason);

  /// The page: HTML that is well-formed XML too, without scripts or anything to fetch. Names of
  /// files are escaped.
  std::string Text() const;

 private:
  std::string CountsInWords() const;
  std::string Table() const;

  Criteria mCriteria;
  std::string mDate;
  std::string mVersion;
  std::map<Judgement, int> mJudged;  // programmes of files
  int mNotMeasured = 0;              // files
  std::size_t mProgrammes = 0;
  std::string mFirstName;  // of the first programme
  std::string mRows;       // of the table
  std::string mSections;
};

}  // namespace louddesk
