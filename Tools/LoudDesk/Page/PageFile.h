// The file that a page is written to: whole, or not at all. Stateless.

#pragma once

#include <string>

#include "Complaints.h"

namespace louddesk {

/// What is wrong with the name of a page, for a check of the command line; empty when nothing is. A
/// page takes the place of the file of its name, so a name that audio may have is refused.
std::string CheckPageName(const std::string& path);

/// Why no page can be written to `path`, for example "No such file or directory"; empty when one
/// can. Tells before hours of work whether it can be kept, and leaves everything as it is.
std::string WhyNotWritable(const std::string& path);

/// Writes a page. Until it lies there whole, an earlier page of that name stays as it is. Returns
/// why it failed, and leaves nothing behind then; empty when it did not fail.
std::string WritePage(const std::string& path, const std::string& page);

/// Complains when no page can be written to `path`; an empty path means that none is wanted.
/// Returns whether all is well.
bool CheckReport(Complaints& complaints, const std::string& path);

/// Writes a page, unless `path` is empty, and complains when that fails.
void WriteReport(Complaints& complaints, const std::string& path, const std::string& page);

}  // namespace louddesk
