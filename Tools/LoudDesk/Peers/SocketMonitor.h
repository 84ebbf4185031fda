// What happens to the connections of a socket, told as messages by ZeroMQ.

#pragma once

#include <czmq.h>

namespace louddesk {

/// Watches `socket` for the ZeroMQ events in the mask `events`. Returns a socket, owned by the
/// caller and to be destroyed before `socket`, that receives two frames an event, the first
/// beginning with its number as an unsigned 16-bit value.
zsock_t* StartMonitor(zsock_t* socket, int events);

/// Ends what StartMonitor began and destroys the monitor.
void StopMonitor(zsock_t* socket, zsock_t*& monitor);

}  // namespace louddesk
