// Expands the names on a command line to files. Stateless.

#pragma once

#include <string>
#include <vector>

namespace louddesk {

/// Returns the files with extensions of sound or video in each directory and below it, sorted by
/// name. Links to directories are not followed. A name that is not a directory is returned
/// unchanged. Each directory that cannot be read, or has no such file, adds a line to `failures`.
std::vector<std::string> FilesBelow(const std::vector<std::string>& paths,
                                    std::vector<std::string>& failures);

}  // namespace louddesk
