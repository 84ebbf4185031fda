// Which version of the system this tool belongs to.

#pragma once

namespace louddesk {

/// As the build's project() tells it: "1.0.0".
extern const char kVersion[];

}  // namespace louddesk
