// The tables and lists of a report: the row of a programme, its facts, its peaks and the passages
// above limits, as elements of a page. Stateless.

#pragma once

#include <string>

#include "Assessment.h"
#include "Page.h"

namespace louddesk {

/// The badge of a judgement.
Badge BadgeFor(Judgement judgement);

/// The word for a judgement with its sign.
std::string VerdictText(Judgement judgement);

/// The last part of a path.
std::string FileNameOf(const std::string& path);

/// The heading of the table of all programmes.
std::string RowHead();

/// The row of a programme; its name leads to the section `id`.
std::string RowOf(const Subject& subject, const Assessment& assessment, const std::string& id);

/// The row of a file that could not be measured.
std::string FailureRow(const std::string& path, const std::string& reason);

/// What file and programme are, and when the maxima were reached, as a list.
std::string FactList(const Subject& subject, const Assessment& assessment,
                     const Criteria& criteria);

/// The peaks of each channel; empty where there are none.
std::string ChannelTable(const MeasuredProgramme& programme);

/// The passages above each limit; empty where there are none.
std::string PassageTable(const MeasuredProgramme& programme, const Criteria& criteria);

}  // namespace louddesk
