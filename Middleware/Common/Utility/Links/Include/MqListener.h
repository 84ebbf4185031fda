// Publishers to which clients connect, and what those can make them take. Used from the thread that
// owns the socket.

#pragma once

#include <czmq.h>

/// The longest topic that a client may subscribe to, a little more than the longest that is
/// published. When a client leaves, the library walks the tree of all topics of all clients, which
/// has a node for each byte of each of them.
constexpr int kMqLongestSubscription = 50;  // bytes

/// The largest frame that is taken from a client: its handshake, of less than 40 bytes, or a
/// subscription. libzmq puts 10 bytes before the topic, 1 before version 4.3.3. A client that sends
/// more loses its connection.
constexpr int kMqMaxClientFrameSize = 10 + kMqLongestSubscription;

/// Files that the process may still open, to renew links for example, when its clients have taken
/// all others. Further clients are turned away until one has left: libzmq would end the process
/// when it cannot accept one for want of a descriptor.
constexpr int kMqSpareFiles = 16;

/// Limits what the clients that connect to `socket`, a PUB socket, can make it take. To be called
/// before it is bound.
void MqPrepareListener(zsock_t* socket);
