// The gate, put together from its parts.

#pragma once

#include "Complaints.h"
#include "GateOptions.h"

namespace loudgate {

/// Serves until SIGTERM, SIGINT or SIGHUP. Returns the exit status of the program. REQUIRES:
/// PrepareSignals was called before any thread was started.
int RunGate(const GateOptions& options, louddesk::Complaints& complaints);

/// Blocks the signals that end the gate, so that only its event loop receives them, and ignores
/// SIGPIPE.
void PrepareSignals();

}  // namespace loudgate
