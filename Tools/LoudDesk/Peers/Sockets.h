// What all sockets of the desk have in common: messages as plain byte strings, one a frame, a wait
// for several sockets at once, and monitors of their connections.

#pragma once

#include <czmq.h>

#include <chrono>
#include <string>
#include <vector>

namespace louddesk {

using Frames = std::vector<std::string>;

/// How long to wait for something at most.
using Patience = std::chrono::milliseconds;

/// Sends `frames` as one message without waiting. False when the socket does not take it.
bool SendFrames(zsock_t* socket, const Frames& frames);

/// The next message that has already arrived; no frames when there is none, or no socket.
Frames ReceiveFrames(zsock_t* socket);

/// What a wait looks at: sockets that are read without ever waiting.
class SocketReader {
 public:
  virtual ~SocketReader() = default;

  /// The sockets to poll; null ones are passed over.
  virtual std::vector<zsock_t*> Sockets() const = 0;

  /// Takes everything that has arrived.
  virtual void ReadPending() = 0;
};

/// Waits until something arrives at one of the readers, `descriptor` (-1: none) can be read, a
/// signal comes or `patience` ends. Then every reader takes what has arrived.
void WaitAndRead(const std::vector<SocketReader*>& readers, Patience patience, int descriptor = -1);

/// Watches `socket` for the ZeroMQ events in the mask `events`. Returns a socket, owned by the
/// caller and to be destroyed before `socket`, that receives two frames an event, the first
/// beginning with its number as an unsigned 16-bit value. Any thread may call it; the monitor is
/// used by its socket's thread.
zsock_t* StartMonitor(zsock_t* socket, int events);

/// Ends what StartMonitor began and destroys the monitor.
void StopMonitor(zsock_t* socket, zsock_t*& monitor);

}  // namespace louddesk
