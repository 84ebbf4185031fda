// What the messaging classes have in common: endpoint texts, owned sockets and the border at which
// exceptions end. Stateless.

#pragma once

#include <czmq.h>

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

/// Destroys a socket that goes out of use.
struct MqSockDestroyer {
  void operator()(zsock_t* socket) const { zsock_destroy(&socket); }
};

/// A socket with one owner.
using MqSockOwner = std::unique_ptr<zsock_t, MqSockDestroyer>;

/// Returns what `operation` returns. A standard exception ends here: `report(title, description)`
/// is called with the title of its log line and its description, and the result is a
/// value-initialised one (false, null).
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
