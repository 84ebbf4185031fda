// The tables and lists of a report: the row of a programme, its facts, its peaks and the passages
// above limits, as elements of a page. Stateless.

#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Assessment.h"
#include "ClockText.h"
#include "Page.h"
#include "Passages.h"

namespace louddesk {

/// A name and what there is to say of it, both plain text.
using Fact = std::pair<std::string, std::string>;

/// The unit of `ClockText`.
constexpr char kClockUnit[] = "h:mm:ss";

/// How the seconds since a beginning are shown.
struct Clock {
  std::function<std::string(double)> text = ClockText;
  const char* unit = kClockUnit;  // empty where the text says it
};

/// Of the passages above one limit so many are listed, and the others counted.
constexpr std::size_t kMostPassages = 100;

/// The passages above one limit.
struct FoundPassages {
  const char* name;            // of what is limited: "True peak"
  const char* unit;            // of it
  std::vector<Passage> first;  // at most kMostPassages, in time
  std::size_t count;           // of all
};

/// The badge of a judgement.
Badge BadgeFor(Judgement judgement);

/// The word for a judgement with its sign.
std::string VerdictText(Judgement judgement);

/// The last part of a path.
std::string FileNameOf(const std::string& path);

/// The heading of the table of all programmes; `subjects` stands over their names.
std::string RowHead(const char* subjects = "File");

/// The row of a programme; its name leads to the section `id`.
std::string RowOf(const Subject& subject, const Assessment& assessment, const std::string& id);

/// The row of a file that could not be measured.
std::string FailureRow(const std::string& path, const std::string& reason);

/// Elements for facts, notes and verdicts; empty where there are no notes or verdicts.
std::string ListOf(const std::vector<Fact>& facts);
std::string ListOfNotes(const std::vector<std::string>& notes);
std::string ListOfVerdicts(const std::vector<Verdict>& verdicts);

/// Adds what would bring a programme to its target, where there is one.
void AddGain(std::vector<Fact>& facts, const TargetGain& gain, const Criteria& criteria);

/// What file and programme are, and when the maxima were reached, as a list.
std::string FactList(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria);

/// The peaks of each channel; empty where there are none.
std::string ChannelTable(const MeasuredProgramme& programme);

/// The passages of a programme above each limit that there is.
std::vector<FoundPassages> PassagesOf(const MeasuredProgramme& programme, const Criteria& criteria);

/// The table of them; empty where there are none.
std::string PassageTable(const std::vector<FoundPassages>& all, const Clock& clock = {});

}  // namespace louddesk
