// Comma-separated values (RFC 4180): the figures of programmes, one row each, and their series, one
// row for each block. Units stand in the headings, figures have two decimals and are empty where
// there is no reading. A text with commas, quotes or line ends stands in quotes; bytes of file
// names are left as they are. Each row ends with a line feed. Stateless.

#pragma once

#include <string>

#include "Assessment.h"

namespace louddesk {

/// The heading over the rows of `CsvRow`.
std::string CsvHeader();

/// One row for a programme. The path is empty for all files as one.
std::string CsvRow(const Subject& subject, const Assessment& assessment, const Criteria& criteria);

/// The heading over the rows of `SeriesRows`.
std::string SeriesHeader();

/// A row for each point of a programme, with the end of its block in seconds, each marked when the
/// file is damaged.
std::string SeriesRows(const Subject& subject);

}  // namespace louddesk
