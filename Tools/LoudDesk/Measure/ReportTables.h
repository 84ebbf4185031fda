// The tables and lists of a report as HTML elements: the row of a programme, its facts, its peaks
// and the passages above limits. Stateless.

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

/// A name and its value, both plain text.
using Fact = std::pair<std::string, std::string>;

/// The unit of `ClockText`.
constexpr char kClockUnit[] = "h:mm:ss";

/// How to show the seconds since the start.
struct Clock {
  std::function<std::string(double)> text = ClockText;
  const char* unit = kClockUnit;  // empty if the text includes it
};

/// The maximum number of passages listed for a limit; further ones are only counted.
constexpr std::size_t kMostPassages = 100;

/// The passages above one limit.
struct FoundPassages {
  const char* name;            // name of the limited figure: "True peak"
  const char* unit;            // unit of the figure
  std::vector<Passage> first;  // at most kMostPassages, in order of time
  std::size_t count;           // total number
};

/// The badge of a judgement.
Badge BadgeFor(Judgement judgement);

/// The word for a judgement, with its symbol.
std::string VerdictText(Judgement judgement);

/// The last component of a path.
std::string FileNameOf(const std::string& path);

/// The heading of the table of all programmes, with `subjects` above their names.
std::string RowHead(const char* subjects = "File");

/// The row of a programme. Its name links to the section `id`.
std::string RowOf(const Subject& subject, const Assessment& assessment, const std::string& id);

/// The row of a file that could not be measured.
std::string FailureRow(const std::string& path, const std::string& reason);

/// HTML elements for facts, notes and verdicts; empty if there are no notes or verdicts.
std::string ListOf(const std::vector<Fact>& facts);
std::string ListOfNotes(const std::vector<std::string>& notes);
std::string ListOfVerdicts(const std::vector<Verdict>& verdicts);

/// Adds the gain that brings a programme to its target, if there is a target.
void AddGain(std::vector<Fact>& facts, const TargetGain& gain, const Criteria& criteria);

/// The properties of file and programme, and the times of the maxima, as a list.
std::string FactList(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria);

/// The peaks of each channel; empty if there are none.
std::string ChannelTable(const MeasuredProgramme& programme);

/// The passages of a programme above each of its limits.
std::vector<FoundPassages> PassagesOf(const MeasuredProgramme& programme, const Criteria& criteria);

/// The table of these passages; empty if there are none.
std::string PassageTable(const std::vector<FoundPassages>& all, const Clock& clock = {});

}  // namespace louddesk
