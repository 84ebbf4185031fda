// Comma-separated values (RFC 4180): one row for the figures of each programme, and one row for
// each block of a series. Headings include the units. Figures have two decimals and are empty
// without a reading. A text with commas, quotes or line breaks is quoted; the bytes of file names
// are unchanged. Each row ends with a line feed. Stateless.

#pragma once

#include <string>

#include "Assessment.h"

namespace louddesk {

/// The heading for the rows of `CsvRow`.
std::string CsvHeader();

/// One row for a programme. For all files as one the path is empty.
std::string CsvRow(const Subject& subject, const Assessment& assessment, const Criteria& criteria);

/// The heading for the rows of `SeriesRows`.
std::string SeriesHeader();

/// One row for each point of a programme, with the end of its block in seconds. Rows of damaged
/// files are marked.
std::string SeriesRows(const Subject& subject);

}  // namespace louddesk
