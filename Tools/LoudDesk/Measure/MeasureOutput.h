// The output of `LoudDesk measure`: rows on a stream, series and report on disk, notes, errors and
// the exit status.

#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Album.h"
#include "Complaints.h"
#include "DraftFile.h"
#include "MeasureOptions.h"
#include "ReportPage.h"

namespace louddesk {

class MeasureOutput {
 public:
  /// Writes nothing yet. The arguments must outlive the object.
  MeasureOutput(const MeasureOptions& options, std::ostream& out, Complaints& complaints);

  /// Returns false, after an error message, if the report or the series cannot be written, so that
  /// measuring is pointless.
  bool IsPossible();

  /// Takes the next file in the order of the command line, and writes its rows to the stream.
  void Add(const MeasuredFile& file);

  /// Takes a file that could not be measured. `complaint` is one line that starts with its name.
  void AddFailure(const std::string& path, const std::string& complaint);

  /// Writes everything after the last file: the row for all files, the series, the report.
  void Finish();

  /// The exit status. 1 if the stream, the series, the report or a file failed (a damaged file too,
  /// without `--keep-going`), or with `--fail` if a limit could not be judged. Otherwise 3 if, with
  /// `--fail`, a limit is broken. Otherwise 0.
  int Status() const;

 private:
  void AddRow(const Subject& subject);
  void AddToAlbums(const MeasuredFile& file);
  void FinishAlbums();

  const MeasureOptions& mOptions;
  Criteria mCriteria;
  std::ostream& mOut;
  Complaints& mComplaints;
  bool mHasRows = false;
  bool mIsLimitBroken = false;  // only with --fail
  std::size_t mFiles = 0;
  std::size_t mDamagedFiles = 0;
  std::vector<Album> mAlbums;  // one for each programme of a file
  std::optional<DraftFile> mSeries;
  std::optional<ReportPage> mReport;
};

}  // namespace louddesk
