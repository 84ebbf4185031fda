// Monitors of sockets. Any thread may make them; each is used by its socket's thread.

#include "SocketMonitor.h"

#include <atomic>
#include <string>

namespace louddesk {

zsock_t* StartMonitor(zsock_t* socket, int events) {
  // A name of its own each time: ZeroMQ gives names free only some time after their end.
  static std::atomic<unsigned> count{0};
  const std::string endpoint = "inproc://louddesk-monitor-" + std::to_string(++count);
  zmq_socket_monitor(zsock_resolve(socket), endpoint.c_str(), events);
  return zsock_new_pair((">" + endpoint).c_str());
}

void StopMonitor(zsock_t* socket, zsock_t*& monitor) {
  zmq_socket_monitor(zsock_resolve(socket), nullptr, 0);
  zsock_destroy(&monitor);
}

}  // namespace louddesk
