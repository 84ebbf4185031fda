// The gate: its parts, and how they hang together on the loop.

#pragma once

#include "Complaints.h"
#include "GateOptions.h"

namespace loudgate {

/// Serves until SIGTERM, SIGINT or SIGHUP comes. Returns the status of the program. REQUIRES: these
/// three signals are blocked, and no thread was started before they were.
int RunGate(const GateOptions& options, louddesk::Complaints& complaints);

/// Blocks the signals by which the gate is ended, so that only its loop sees them, and ignores
/// those of broken connections.
void PrepareSignals();

}  // namespace loudgate
