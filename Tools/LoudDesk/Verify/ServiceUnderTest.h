// A running service as a meter under test: the unit's stand-in sends the blocks and reads the
// published figures. Single-threaded; one object at a time per machine.

#pragma once

#include <memory>

#include "MeterUnderTest.h"
#include "Sockets.h"

namespace louddesk {

/// Opens the endpoints of the service's peers, waits until the service of that cluster has
/// subscribed, and switches its reporting on. Throws `BindError` if an endpoint is in use, and
/// `ServiceError` if the service does not subscribe within `patience`. The meter throws
/// `ServiceError` if the service does not start to measure, keep up or publish.
///
/// Readings have the published resolution: 0.1 for loudness and loudness range, 0.01 for true peak.
/// There is no reading for the first three blocks, for which the service publishes nothing.
///
/// Blocks are sent as fast as the service accepts them. The service does not publish how many it
/// has measured, so each block carries a small peak as a mark, which identifies its published
/// figures. In measurements of the true peak, only a silent block after the last one carries a
/// mark. Therefore measurements of loudness give no true peak, and those of the true peak no
/// loudness.
std::unique_ptr<MeterUnderTest> ConnectToService(unsigned cluster, Patience patience);

}  // namespace louddesk
