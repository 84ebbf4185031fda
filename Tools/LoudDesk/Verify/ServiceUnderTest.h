// A running service as a meter under test: played by the stand-in for the unit, and read by what it
// publishes. Single-threaded; one object at a time and machine.

#pragma once

#include <memory>

#include "MeterUnderTest.h"
#include "Sockets.h"

namespace louddesk {

/// Opens the endpoints of the peers of the service of that cluster, waits until it has subscribed
/// and switches its reporting on. Throws `BindError` when an endpoint is in use, `ServiceError`
/// when the service does not subscribe within `patience`. The meter throws `ServiceError` when the
/// service does not start to measure, keep up or publish.
///
/// Readings are those published: loudness and its range in steps of 0.1, true peak of 0.01. There
/// are none for the first three blocks, of which nothing is published.
///
/// Blocks go out as fast as the service takes them, and it says nothing of how many it has
/// measured. So each block, or in measurements of the true peak a silent one after the last,
/// carries a small peak as its mark, by which its figures are known when they are published. Hence
/// measurements of loudness have no true peak, and those of the true peak no loudness.
std::unique_ptr<MeterUnderTest> ConnectToService(unsigned cluster, Patience patience);

}  // namespace louddesk
