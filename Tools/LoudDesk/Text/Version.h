// The version of the system that this tool belongs to.

#pragma once

namespace louddesk {

/// The version given to project() in CMake: "1.0.0".
extern const char kVersion[];

}  // namespace louddesk
