// Series of files as comma-separated values, one row for each 100 ms block. Stateless.

#pragma once

#include <string>

#include "MeasuredSeries.h"

namespace louddesk {

/// "File,Seconds,Momentary,ShortTerm,Integrated,Lra,TruePeak" and a line feed.
std::string CsvHeader();

/// A row for each point: the file, the end of the block in seconds, LKFS, LU and dBTP with two
/// decimals, nothing where there is no reading. A file name with commas, quotes or line ends stands
/// in quotes (RFC 4180); its bytes are left as they are. Each row ends with a line feed.
std::string CsvRows(const MeasuredSeries& series);

}  // namespace louddesk
