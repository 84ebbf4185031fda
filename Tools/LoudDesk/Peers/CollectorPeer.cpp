// PULL socket with a queue behind it.

#include "CollectorPeer.h"

#include <utility>

namespace louddesk {

CollectorPeer::CollectorPeer(Endpoint endpoint) : mSocket(ZMQ_PULL, std::move(endpoint)) {}

void CollectorPeer::ReadPending() {
  if (!IsOpen())
    return;
  for (Frames frames = ReceiveFrames(Socket()); !frames.empty(); frames = ReceiveFrames(Socket()))
    mMessages.push_back(std::move(frames));
}

}  // namespace louddesk
