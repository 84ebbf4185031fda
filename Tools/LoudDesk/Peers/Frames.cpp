// Conversion between messages and byte strings.

#include "Frames.h"

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
  zmsg_t* message = zmsg_recv_nowait(socket);
  if (message == nullptr)
    return frames;
  for (zframe_t* frame = zmsg_first(message); frame != nullptr; frame = zmsg_next(message))
    frames.emplace_back(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
  zmsg_destroy(&message);
  return frames;
}

}  // namespace louddesk
