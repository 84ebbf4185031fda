// Limits on the clients of publishers and on what they can send. Used from the thread that owns the
// socket.

#pragma once

#include <czmq.h>
#include <sys/types.h>

#include <vector>

/// The longest topic that a client may subscribe to, slightly longer than the longest published
/// topic. When a client leaves, the library walks the tree of all topics of all clients, which has
/// up to one node for each byte of each topic.
constexpr int kMqLongestSubscription = 50;  // bytes

/// The largest frame that is accepted from a client: its handshake, of less than 40 bytes, or a
/// subscription. libzmq puts 10 bytes before the topic, 1 before version 4.3.3. A client that sends
/// more loses its connection.
constexpr int kMqMaxClientFrameSize = 10 + kMqLongestSubscription;

/// Descriptors that clients cannot take, so that the process can still open files, for example to
/// renew links. Clients beyond that are rejected until one has left: libzmq would end the process
/// if it could not accept one for lack of a descriptor.
constexpr int kMqSpareFiles = 16;

/// Who may connect over IPC: processes of these users and of these groups. A process belongs to a
/// group if it runs as the group or the group lists its user as a member. If both lists are empty,
/// the permissions of the socket file decide.
struct MqAdmitted {
  std::vector<uid_t> users;
  std::vector<gid_t> groups;
};

/// Restricts the sockets that MqPrepareListener prepares from now on to these clients.
void MqAdmitOnly(MqAdmitted admitted);

/// Limits who may connect to `socket`, a PUB socket, and what they can send. Call it before the
/// socket is bound. False when the library cannot identify clients: the socket must then not be
/// bound.
bool MqPrepareListener(zsock_t* socket);
