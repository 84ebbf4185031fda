// The file that a page is written to: whole, or not at all. Stateless.

#pragma once

#include <string>

#include "Complaints.h"

namespace louddesk {

/// What is wrong with the name of a page, for a check of the command line; empty when nothing is. A
/// page takes the place of the file of its name, so a name that audio may have is refused.
std::string CheckPageName(const std::string& path);

/// The same for a table of comma-separated values.
std::string CheckCsvName(const std::string& path);

/// Writes a page. Until it lies there whole, an earlier page of that name stays as it is. Returns
/// why it failed, and leaves nothing behind then; empty when it did not fail.
std::string WritePage(const std::string& path, const std::string& page);

/// Complains when no file can be written to `path`, which is to become `what`: "the report"; an
/// empty path means that none is wanted. Returns whether all is well.
bool CheckWritable(Complaints& complaints, const std::string& path, const std::string& what);

/// The same for a page.
bool CheckReport(Complaints& complaints, const std::string& path);

/// Writes a page, unless `path` is empty, and complains when that fails.
void WriteReport(Complaints& complaints, const std::string& path, const std::string& page);

/// Complains that `what` could not be written to `path`, unless the reason is empty.
void ComplainUnwritten(Complaints& complaints, const std::string& path, const std::string& what,
                       const std::string& reason);

}  // namespace louddesk
