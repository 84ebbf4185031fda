// Publishers to which clients connect, and what those can make them take. Used from the thread that
// owns the socket.

#pragma once

#include <czmq.h>
#include <sys/types.h>

#include <vector>

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

/// Who may connect over IPC: processes of one of these users, or of one of these groups, be it that
/// they run as the group or that the group lists their user as a member. With none of either it is
/// everybody whom the rights of the socket file let in.
struct MqAdmitted {
  std::vector<uid_t> users;
  std::vector<gid_t> groups;
};

/// Admits only these to the sockets that MqPrepareListener prepares from now on.
void MqAdmitOnly(MqAdmitted admitted);

/// Limits who may connect to `socket`, a PUB socket, and what they can make it take. To be called
/// before it is bound. False when the library cannot tell who connects: it must not be bound then.
bool MqPrepareListener(zsock_t* socket);
