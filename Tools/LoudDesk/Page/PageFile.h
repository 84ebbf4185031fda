// Writes pages to files, completely or not at all. Stateless.

#pragma once

#include <string>

#include "Complaints.h"

namespace louddesk {

/// What is wrong with the name of a page, for the check of the command line; empty if nothing is.
/// The page replaces a file of that name, so names that an audio file may have are refused.
std::string CheckPageName(const std::string& path);

/// The same check for a table of comma-separated values.
std::string CheckCsvName(const std::string& path);

/// Writes a page. Until it is complete, an existing page of that name stays unchanged. Returns the
/// reason of a failure, which leaves nothing behind; empty on success.
std::string WritePage(const std::string& path, const std::string& page);

/// Complains if no file can be written to `path`. `what` names its contents: "the report". Nothing
/// is checked if `path` is empty. Returns whether there was no complaint.
bool CheckWritable(Complaints& complaints, const std::string& path, const std::string& what);

/// The same check for a page.
bool CheckReport(Complaints& complaints, const std::string& path);

/// Writes a page unless `path` is empty, and complains if that fails.
void WriteReport(Complaints& complaints, const std::string& path, const std::string& page);

/// Complains that `what` could not be written to `path`, unless `reason` is empty.
void ComplainUnwritten(Complaints& complaints, const std::string& path, const std::string& what,
                       const std::string& reason);

}  // namespace louddesk
