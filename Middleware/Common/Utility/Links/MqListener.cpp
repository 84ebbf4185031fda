// Options of bound sockets.

#include "MqListener.h"

#include "MqLink.h"

void MqPrepareListener(zsock_t* socket) {
  zsock_set_maxmsgsize(socket, kMqMaxClientFrameSize);
  zsock_set_handshake_ivl(socket, kMqHandshakeTimeoutMs);
}
