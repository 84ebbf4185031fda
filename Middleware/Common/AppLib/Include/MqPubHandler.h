// Makes, binds, uses and destroys PUB sockets for a publishing component. The derived class owns
// the sockets. Event-loop thread only.

#pragma once

#include <czmq.h>

#include <cstdint>

/// A socket of the messaging library.
using MqSock_t = zsock_t;

/// No operation throws; failures are written to standard output.
class MqPubHandler {
 public:
  /// Binds `socket`, or a new PUB socket when it is null, to an endpoint: a file name in the unit's
  /// IPC directory, or an IPv4 address text and a port. Returns the bound socket, which the caller
  /// then owns. Null when binding fails, the name or address is null or the port is 0. A socket
  /// made here is then destroyed; one passed in does not change.
  ///
  /// Over IPC, the file of another socket is replaced silently.
  MqSock_t* BindMqOverIpc(const char* cpIpc_in, MqSock_t* socket);
  MqSock_t* BindMqOverTcp(const char* cpIp_in, std::uint32_t port, MqSock_t* socket);

  /// There is no UDP transport: always null.
  MqSock_t* BindMqOverUdp(const char* cpIp_in, std::uint32_t port, MqSock_t* socket);

  /// Destroys the socket, if there is one, and clears the handle.
  void DestroyMq(MqSock_t*& socket);

  /// Publishes two frames: topic, JSON text; both without a terminator. False when an argument is
  /// null or the socket refuses a frame. An empty topic is allowed.
  bool SendJson(MqSock_t* socket, const char* topic, const char* json);

  /// Publishes two frames: topic, and `value` as 4 bytes in the host's byte order. False in the
  /// same cases as SendJson.
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
