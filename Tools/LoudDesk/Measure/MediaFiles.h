// The files that the names on a command line stand for. Stateless.

#pragma once

#include <string>
#include <vector>

namespace louddesk {

/// The files with names as sound and video have them in a directory and all below it, in the order
/// of their names; links to directories are not followed. A name that is not that of a directory
/// stands for itself. What cannot be read, or holds no such file, is a line in `failures`.
std::vector<std::string> FilesBelow(const std::vector<std::string>& paths,
                                    std::vector<std::string>& failures);

}  // namespace louddesk
