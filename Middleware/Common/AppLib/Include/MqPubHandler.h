// How every publishing component makes, binds, uses and destroys its PUB sockets. The deriving
// class keeps the sockets. All on the thread of the event loop; a socket is never shared between
// threads.

#pragma once

#include <czmq.h>

#include <cstdint>

/// A socket of the messaging library.
using MqSock_t = zsock_t;

/// No operation lets an exception out; what fails is written to the console (standard output).
class MqPubHandler {
 public:
  /// Binds `socket`, or a new PUB socket when it is null, to an endpoint: a file name in the unit's
  /// IPC directory, or an IPv4 address text and a port. Returns the bound socket, which the caller
  /// then owns. Null when it fails or when the name, the address or the port (0) is missing: a
  /// socket made here is then destroyed, one passed in stays as it was.
  ///
  /// Over IPC the file of another socket is taken over silently.
  MqSock_t* BindMqOverIpc(const char* cpIpc_in, MqSock_t* socket);
  MqSock_t* BindMqOverTcp(const char* cpIp_in, std::uint32_t port, MqSock_t* socket);

  /// There is no UDP transport: always null.
  MqSock_t* BindMqOverUdp(const char* cpIp_in, std::uint32_t port, MqSock_t* socket);

  /// Destroys the socket, if there is one, and leaves the handle empty.
  void DestroyMq(MqSock_t*& socket);

  /// Publishes two frames: topic, JSON text; both without a terminator. False when an argument is
  /// missing or the socket refuses a frame. An empty topic is sent as it is.
  bool SendJson(MqSock_t* socket, const char* topic, const char* json);

  /// Publishes two frames: topic, and `value` as 4 bytes in the host's byte order. False as
  /// SendJson.
  bool SendUint32(MqSock_t* socket, const char* topic, std::uint32_t value);

  /// A new socket of a ZeroMQ type such as ZMQ_PUB, owned by the caller.
  MqSock_t* GetNewSock(int type);

  void SetSlot(std::int32_t slot) { miSlot = slot; }
  std::int32_t GetSlot() const { return miSlot; }
  void SetProbeId(std::int32_t probeId) { miProbeId = probeId; }
  std::int32_t GetProbeId() const { return miProbeId; }

  std::int32_t miSlot = -1;    // card slot that the publisher belongs to; -1: not set
  std::int32_t miProbeId = 0;  // probe identifier

 private:
  MqSock_t* Bind(const char* endpoint, MqSock_t* existing);
};
