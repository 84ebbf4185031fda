// A run of `LoudDesk log`: writes a period of the record to a stream, as a report and as a table of
// its seconds.

#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "Evidence.h"
#include "FigureStyle.h"
#include "ProfileOptions.h"

namespace louddesk {

/// What the user gave on the command line.
struct LogOptions {
  std::string file = {};                       // path of the record
  std::optional<StationCluster> cluster = {};  // nothing: the only one in the record
  PeriodAsked period = {};
  FigureStyle style = FigureStyle::kTable;
  ProfileOptions profile = {};
  std::string report = {};  // path of the page to write; empty: none
  std::string series = {};  // path of the table of seconds; empty: none
};

/// Writes the figures of the period to `out` and complaints to `errors`, one line each. Returns the
/// status of the program: 0; 1 when the record cannot be read or has nothing of the period, or
/// something could not be written; with --fail also 1 when a limit could not be judged, and 3 when
/// a limit is broken.
int LogPeriod(const LogOptions& options, std::int64_t now, std::ostream& out, std::ostream& errors);

/// Writes the extent of the record and its clusters. Returns 0, or 1 after a complaint.
int ListRecord(const std::string& file, std::ostream& out, std::ostream& errors);

}  // namespace louddesk
