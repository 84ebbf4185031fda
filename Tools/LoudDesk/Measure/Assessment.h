// A programme as the output formats show it: its origin, its figures and its verdicts. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Complaints.h"
#include "MeasuredFile.h"
#include "Verdict.h"

namespace louddesk {

/// The programme of a row. Everything it points to must outlive it.
struct Subject {
  const FileFacts* file;               // null: all files as one programme
  std::size_t files;                   // number of files in the programme
  bool isOneOfSeveral;                 // its file has several programmes
  const MeasuredProgramme* programme;  // without channels for all files as one
  std::size_t damagedFiles = 0;        // number of damaged files, for all files as one
};

/// The verdicts on a programme.
struct Assessment {
  std::vector<Verdict> verdicts;
  Judgement judgement;  // overall verdict
  TargetGain gain;
};

/// The exit status when --fail is given and a limit is broken.
constexpr int kLimitBrokenStatus = 3;

/// Returns whether a limit is broken. Reports each limit that could not be judged, in a line that
/// starts with `name`.
bool TakeVerdicts(const Assessment& assessment, const std::string& name, Complaints& complaints);

Assessment AssessmentOf(const Figures& figures, const Criteria& criteria);

/// The subjects of a file, one per programme.
std::vector<Subject> SubjectsOf(const MeasuredFile& file);

/// The name of a row: the path of the file, followed by the channels if the file has several
/// programmes, or the number of files for all files as one. May contain any bytes.
std::string NameOf(const Subject& subject);

/// A description of missing parts: of the file, or the number of damaged files for all files as
/// one. Empty if nothing is missing.
std::string DamageOf(const Subject& subject);

/// The suffix of a programme's name in a table: " (damaged)" or nothing.
const char* MarkOf(const Subject& subject);

/// Whether the loudness range may still change much, because the programme is shorter than 60 s
/// (EBU Tech 3341).
bool IsRangeUnstable(const Figures& figures);

}  // namespace louddesk
