// A programme as the formats of output show it: what it is part of, its figures, and how it stands
// to the criteria. Stateless.

#pragma once

#include <string>
#include <vector>

#include "Complaints.h"
#include "MeasuredFile.h"
#include "Verdict.h"

namespace louddesk {

/// The programme that a row is about. What it points to outlives it.
struct Subject {
  const FileFacts* file;               // null: all files as one programme
  std::size_t files;                   // how many the programme is made of
  bool isOneOfSeveral;                 // of the programmes of its file
  const MeasuredProgramme* programme;  // of all files as one: without channels
  std::size_t damagedFiles = 0;        // of all files as one: how many of them are damaged
};

/// How a programme stands to the criteria.
struct Assessment {
  std::vector<Verdict> verdicts;
  Judgement judgement;  // of all of them
  TargetGain gain;
};

/// Status of the program when it is to tell of limits, and one is broken.
constexpr int kLimitBrokenStatus = 3;

/// Whether a limit is broken. Complains of each that could not be judged; `name` begins the line.
bool TakeVerdicts(const Assessment& assessment, const std::string& name, Complaints& complaints);

Assessment AssessmentOf(const Figures& figures, const Criteria& criteria);

/// The subjects of a file, one a programme.
std::vector<Subject> SubjectsOf(const MeasuredFile& file);

/// What a row is called: the path of the file, with the channels behind it where it holds several
/// programmes, or how many files it stands for. Any bytes.
std::string NameOf(const Subject& subject);

/// What of the programme is missing: of its file, or in how many of all files as one something is;
/// empty when nothing is.
std::string DamageOf(const Subject& subject);

/// What a table has behind the name of a programme: " (damaged)" or nothing.
const char* MarkOf(const Subject& subject);

/// Whether the loudness range may still change much: that of less than 60 s (EBU Tech 3341).
bool IsRangeUnstable(const Figures& figures);

}  // namespace louddesk
