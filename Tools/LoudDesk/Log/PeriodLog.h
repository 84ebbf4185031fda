// A run of `LoudDesk log`: a period of the record on a stream, as a report and as a table of its
// seconds.

#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "Evidence.h"
#include "FigureStyle.h"
#include "ProfileOptions.h"

namespace louddesk {

/// What is asked for.
struct LogOptions {
  std::string file = {};                       // of the record
  std::optional<StationCluster> cluster = {};  // nothing: the only one that there is
  PeriodAsked period = {};
  FigureStyle style = FigureStyle::kTable;
  ProfileOptions profile = {};
  std::string report = {};  // path of the page to write; empty: none
  std::string series = {};  // path of the table of seconds; empty: none
};

/// Writes the figures of the period to `out`; what goes wrong is a line on `errors`. Returns the
/// status of the program: 0; 1 when the record cannot be read or holds nothing of the period, or
/// something could not be written, with --fail also when a limit could not be judged; 3 when, with
/// --fail, a limit is broken.
int LogPeriod(const LogOptions& options, std::int64_t now, std::ostream& out, std::ostream& errors);

/// Writes what the record holds: its ends and its clusters. Returns 0, or 1 after a complaint.
int ListRecord(const std::string& file, std::ostream& out, std::ostream& errors);

}  // namespace louddesk
