// Common parts of the desk's sockets: messages as byte strings, one per frame; waiting for several
// sockets; monitors of connections.

#pragma once

#include <czmq.h>

#include <chrono>
#include <string>
#include <vector>

namespace louddesk {

using Frames = std::vector<std::string>;

/// The longest time to wait.
using Patience = std::chrono::milliseconds;

/// Sends `frames` as one message without blocking. Returns false if the socket does not accept it.
bool SendFrames(zsock_t* socket, const Frames& frames);

/// Returns the next message that has arrived; no frames if there is none or `socket` is null.
Frames ReceiveFrames(zsock_t* socket);

/// Sockets that `WaitAndRead` waits for and reads without blocking.
class SocketReader {
 public:
  virtual ~SocketReader() = default;

  /// The sockets to poll; null pointers are skipped.
  virtual std::vector<zsock_t*> Sockets() const = 0;

  /// Reads everything that has arrived.
  virtual void ReadPending() = 0;
};

/// Waits until a message arrives for a reader, `descriptor` (-1: none) becomes readable, a signal
/// arrives or `patience` ends. Then every reader reads what has arrived.
void WaitAndRead(const std::vector<SocketReader*>& readers, Patience patience, int descriptor = -1);

/// Monitors `socket` for the ZeroMQ events in the mask `events`. Returns a socket that receives two
/// frames per event; the first one starts with the event number as an unsigned 16-bit value. The
/// caller owns it and must destroy it before `socket`. Callable from any thread; use the monitor on
/// the thread of its socket.
zsock_t* StartMonitor(zsock_t* socket, int events);

/// Stops the monitor of `socket` and destroys it.
void StopMonitor(zsock_t* socket, zsock_t*& monitor);

}  // namespace louddesk
