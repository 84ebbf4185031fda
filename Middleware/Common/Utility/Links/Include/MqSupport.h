// Shared helpers of the messaging classes: endpoint texts, owned sockets, calls that are retried
// after signals, and the place where exceptions are caught. Stateless.

#pragma once

#include <czmq.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>

#include "MqNames.h"

/// Text of an endpoint, made once for the socket and for the log lines about it. Cut at 2047
/// characters.
class MqEndpoint {
 public:
  /// "tcp://ADDRESS:PORT". The address should be numeric: a name that needs a name server stalls
  /// all sockets of the process while it is looked up.
  static MqEndpoint Tcp(const char* address, std::uint32_t port) {
    MqEndpoint endpoint;
    std::snprintf(endpoint.mText, sizeof endpoint.mText, MQ_TCP_ENDPOINT_FORMAT, address, port);
    endpoint.mIsTcp = true;
    return endpoint;
  }

  /// "ipc://DIRECTORY/FILE" in the unit's IPC directory. A path of more than 107 characters can
  /// neither be bound nor connected.
  static MqEndpoint Ipc(const char* fileName) {
    MqEndpoint endpoint;
    std::snprintf(endpoint.mText, sizeof endpoint.mText, MQ_IPC_ENDPOINT_FORMAT, kIpcDirectory,
                  fileName);
    return endpoint;
  }

  const char* Text() const { return mText; }
  bool IsTcp() const { return mIsTcp; }

 private:
  MqEndpoint() = default;

  char mText[2048] = {};  // zero-terminated
  bool mIsTcp = false;    // over TCP, else IPC
};

/// Destroys a socket.
struct MqSockDestroyer {
  void operator()(zsock_t* socket) const { zsock_destroy(&socket); }
};

/// A socket with one owner.
using MqSockOwner = std::unique_ptr<zsock_t, MqSockDestroyer>;

/// How often a library call is tried when signals interrupt it. Each signal interrupts at most one
/// try, so even a storm of signals stays far below this limit, which only bounds the wait.
constexpr int kMqTries = 1000;

/// Makes a library call that returns -1 with `errno` on failure, and returns its result. If a
/// signal interrupts the call before it has done anything, it is repeated, up to `kMqTries` times
/// in all.
template <typename Call>
int MqUninterrupted(Call call) {
  int result = call();
  for (int tries = 1; result == -1 && errno == EINTR && tries < kMqTries; ++tries)
    result = call();
  return result;
}

/// The same for a `send` of a frame that is not the first of its message. It is repeated until no
/// signal interrupts it. Half a message must not remain: the next message would be appended to it.
template <typename Send>
int MqSendFurther(Send send) {
  int result = send();
  while (result == -1 && errno == EINTR)
    result = send();
  return result;
}

/// No file descriptor.
constexpr int kMqNoDescriptor = -1;

/// For a poll: readable when libzmq has a new event for `socket`, a socket of libzmq. If that is
/// null, the descriptor is kMqNoDescriptor. A poll of the socket itself would cost two more system
/// calls each time. Read all events each time and once before the first poll: the item does not
/// become readable again for events that are left.
inline zmq_pollitem_t MqSignalItem(void* socket) {
  zmq_pollitem_t item = {nullptr, kMqNoDescriptor, ZMQ_POLLIN, 0};
  std::size_t size = sizeof item.fd;
  if (socket != nullptr)
    zmq_getsockopt(socket, ZMQ_FD, &item.fd, &size);
  return item;
}

/// Lets the library handle all pending events of `socket`, such as clients that connect, and sets
/// `events` to whether it can be read (ZMQ_POLLIN) or written (ZMQ_POLLOUT). False when that fails.
/// Calls libzmq directly: CZMQ returns an uninitialised value when a signal interrupts the call.
inline bool MqAskEvents(zsock_t* socket, int& events) {
  std::size_t size = sizeof events;
  const auto ask = [&] {
    return zmq_getsockopt(zsock_resolve(socket), ZMQ_EVENTS, &events, &size);
  };
  return MqUninterrupted(ask) == 0;
}

/// Connect or bind a socket to an endpoint, repeated after signals. -1 with `errno` on failure.
inline int MqConnect(zsock_t* socket, const char* endpoint) {
  return MqUninterrupted([=] { return zsock_connect(socket, "%s", endpoint); });
}
inline int MqBind(zsock_t* socket, const char* endpoint) {
  return MqUninterrupted([=] { return zsock_bind(socket, "%s", endpoint); });
}

/// Send a text as the first frame of several, as the last of several or as the only one, repeated
/// after signals. -1 with `errno` on failure.
inline int MqSendFirstText(zsock_t* socket, const char* text) {
  return MqUninterrupted([=] { return zstr_sendm(socket, text); });
}
inline int MqSendLastText(zsock_t* socket, const char* text) {
  return MqSendFurther([=] { return zstr_send(socket, text); });
}
inline int MqSendOnlyText(zsock_t* socket, const char* text) {
  return MqUninterrupted([=] { return zstr_send(socket, text); });
}

/// Returns what `operation` returns. A standard exception is caught: `report(title, description)`
/// is called with the title of its log line and its description, and the result is
/// value-initialised (false, null).
template <typename Operation, typename Report>
auto MqGuard(Operation operation, Report report) -> decltype(operation()) {
  try {
    return operation();
  } catch (const std::bad_alloc& error) {
    report("Exception Bad alloc", error.what());
  } catch (const std::exception& error) {
    report("Exception", error.what());
  }
  return {};
}
