// Limits on the clients of bound sockets.

#include "MqListener.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "MqLink.h"

namespace {

MqAdmitted gAdmitted;

// Adds users or groups that may connect. As soon as one is added, all others are rejected.
template <typename Id>
bool Admit(zsock_t* socket, int option, const std::vector<Id>& ids) {
  return std::all_of(ids.begin(), ids.end(), [&](Id id) {
    return zmq_setsockopt(zsock_resolve(socket), option, &id, sizeof id) == 0;
  });
}

// A new descriptor gets the lowest free number.
bool IsSpare(int descriptor) {
  rlimit files = {};
  getrlimit(RLIMIT_NOFILE, &files);
  return static_cast<rlim_t>(descriptor) + kMqSpareFiles >= files.rlim_cur;
}

}  // namespace

// Replaces the system's function of that name, also for libzmq, which ignores the error of a client
// that has closed before it is accepted.
extern "C" int accept4(int listener, sockaddr* address, socklen_t* size, int flags) {
  const auto client = static_cast<int>(syscall(SYS_accept4, listener, address, size, flags));
  if (client == -1 || !IsSpare(client))
    return client;
  close(client);
  errno = ECONNABORTED;
  return -1;
}

void MqAdmitOnly(MqAdmitted admitted) {
  gAdmitted = std::move(admitted);
}

bool MqPrepareListener(zsock_t* socket) {
  zsock_set_maxmsgsize(socket, kMqMaxClientFrameSize);
  zsock_set_handshake_ivl(socket, kMqHandshakeTimeoutMs);
  return Admit(socket, ZMQ_IPC_FILTER_UID, gAdmitted.users) &&
         Admit(socket, ZMQ_IPC_FILTER_GID, gAdmitted.groups);
}
