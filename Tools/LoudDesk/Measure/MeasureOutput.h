// Where the results of a run of `LoudDesk measure` go: rows on a stream, the series and the report
// on the disk, notes and complaints, and the status of the program.

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
  /// Writes nothing yet. The references must outlive the object.
  MeasureOutput(const MeasureOptions& options, std::ostream& out, Complaints& complaints);

  /// Whether there is any use in measuring: false, after a complaint, when the report or the series
  /// cannot be written.
  bool IsPossible();

  /// Takes the next file in the order of the command line: its rows are on the stream then.
  void Add(const MeasuredFile& file);

  /// Takes a file that could not be measured; `complaint` is one line that begins with its name.
  void AddFailure(const std::string& path, const std::string& complaint);

  /// Writes what comes after the last file: the row of all files, the series, the report.
  void Finish();

  /// Of the program: 0; 1 when a file (also one that is damaged, without
  /// `--keep-going`), the stream, the series or the report failed, with `--fail`
  /// also when a limit could not be judged; 3 when none did and, with `--fail`, a limit is broken.
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
  bool mIsLimitBroken = false;  // and the status tells
  std::size_t mFiles = 0;
  std::size_t mDamagedFiles = 0;
  std::vector<Album> mAlbums;  // one for each programme of a file
  std::optional<DraftFile> mSeries;
  std::optional<ReportPage> mReport;
};

}  // namespace louddesk
