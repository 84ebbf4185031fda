// The report on measured files as one page that needs nothing but itself. Stateless.

#pragma once

#include <string>
#include <vector>

#include "LoudnessLimits.h"
#include "MeasuredSeries.h"

namespace louddesk {

/// What a report is made from.
struct Report {
  std::vector<MeasuredSeries> files;  // in the order of the command line
  std::vector<std::string> failures;  // one line for each file that could not be measured
  LoudnessLimits limits;              // for all files
};

/// The page: HTML that is well-formed XML too, without scripts or anything to fetch. It shows all
/// figures in one table, then for each file the verdicts in words, notes and plots. Names of files
/// are escaped. Curves are thinned out, so that its size hardly depends on the length of the files.
std::string ReportPage(const Report& report);

}  // namespace louddesk
