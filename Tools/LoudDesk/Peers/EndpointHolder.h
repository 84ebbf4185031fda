// Finds out which process of this machine already listens on an endpoint.

#pragma once

#include <string>

namespace louddesk {

/// The process that listens on the file `path`, as "NAME (process 123)", "another process" when it
/// cannot be told which, or the empty string when nobody does.
std::string HolderOfFile(const std::string& path);

/// The same for a TCP port of the IPv4 address `address` or of all addresses.
std::string HolderOfTcpPort(const std::string& address, unsigned port);

/// This process in the same form.
std::string ThisHolder();

}  // namespace louddesk
