// Links to collecting peers. The socket belongs to the link's owner and thread.

#include "MqPushLink.h"

#include <utility>

MqSockOwner MqPushLink::NewSocket(const MqEndpoint& endpoint) {
  MqSockOwner socket(zsock_new(ZMQ_PUSH));
  if (socket == nullptr)
    return nullptr;
  // Sends must not wait for an absent or stalled peer when the queue of the socket is full.
  zsock_set_sndtimeo(socket.get(), 0);
  MqPrepareLink(socket.get(), endpoint.IsTcp());
  return socket;
}

bool MqPushLink::Connect(MqSockOwner socket, const MqEndpoint& endpoint) {
  MqLinkWatch watch;  // destroyed before the socket if the connection is refused
  watch.Start(socket.get());
  if (MqConnect(socket.get(), endpoint.Text()) == -1)
    return false;
  mpSocket = socket.release();
  mWatch = std::move(watch);
  return true;
}

void MqPushLink::Close() {
  mWatch.Stop();
  zsock_destroy(&mpSocket);
}
