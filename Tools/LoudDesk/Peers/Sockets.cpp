// Messages, polling and monitors.

#include "Sockets.h"

#include <atomic>

#include "MqSupport.h"

namespace louddesk {

bool SendFrames(zsock_t* socket, const Frames& frames) {
  zmsg_t* message = zmsg_new();
  for (const std::string& frame : frames)
    zmsg_addmem(message, frame.data(), frame.size());
  const bool sent = MqUninterrupted([&] { return zmsg_send(&message, socket); }) == 0;
  zmsg_destroy(&message);
  return sent;
}

Frames ReceiveFrames(zsock_t* socket) {
  Frames frames;
  zmsg_t* message = socket == nullptr ? nullptr : zmsg_recv_nowait(socket);
  if (message == nullptr)
    return frames;
  for (zframe_t* frame = zmsg_first(message); frame != nullptr; frame = zmsg_next(message))
    frames.emplace_back(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
  zmsg_destroy(&message);
  return frames;
}

void WaitAndRead(const std::vector<SocketReader*>& readers, Patience patience, int descriptor) {
  std::vector<zmq_pollitem_t> items;
  for (const SocketReader* reader : readers)
    for (zsock_t* socket : reader->Sockets())
      if (socket != nullptr)
        items.push_back({zsock_resolve(socket), 0, ZMQ_POLLIN, 0});
  if (descriptor >= 0)
    items.push_back({nullptr, descriptor, ZMQ_POLLIN, 0});
  zmq_poll(items.data(), static_cast<int>(items.size()), static_cast<long>(patience.count()));
  for (SocketReader* reader : readers)
    reader->ReadPending();
}

zsock_t* StartMonitor(zsock_t* socket, int events) {
  // Unique names, because ZeroMQ frees a name only some time after its socket is closed.
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
