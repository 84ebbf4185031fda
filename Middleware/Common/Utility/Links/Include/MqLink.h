// Renewal of broken connections. A link is one connection of a socket to a remote endpoint. ZeroMQ
// renews broken links except in two cases, which this file handles: a peer that vanished without
// closing, and a peer that broke the protocol, to which ZeroMQ never connects again. Used from the
// thread that owns the socket.

#pragma once

#include <czmq.h>

#include <cstdint>
#include <map>
#include <string>

/// Times that decide how soon a vanished TCP peer is noticed. The ZeroMQ library of an idle peer
/// (4.2 and later) answers the heartbeats, so an idle peer never counts as vanished.
constexpr int kMqHeartbeatPeriodMs = 1000;   // between two pings to the peer
constexpr int kMqHeartbeatTimeoutMs = 3000;  // after a ping, for any traffic from the peer
constexpr int kMqConnectTimeoutMs = 1000;    // for the TCP handshake; then the next attempt
constexpr int kMqHandshakeTimeoutMs = 3000;  // for the ZeroMQ handshake; then the next attempt
constexpr int kMqKeepAliveIdleS = 5;         // silence before the first TCP probe
constexpr int kMqKeepAlivePeriodS = 2;       // between two probes
constexpr int kMqKeepAliveProbes = 3;        // unanswered probes that end the link

/// The largest frame that is accepted over TCP, larger than any document that a reader accepts
/// (JsonAccess.h), and over IPC, where a raw block may be longer than necessary. A peer that sends
/// more breaks the protocol.
constexpr int kMqMaxFrameSize = 512 * 1024;             // bytes
constexpr int kMqMaxLocalFrameSize = 64 * 1024 * 1024;  // bytes

/// The largest frame that is accepted where the peer sends nothing but its handshake. One message
/// is kept and never read.
constexpr int kMqMaxWordSize = 256;  // bytes
constexpr int kMqUnreadMessages = 1;

/// How long a link may be down before it counts as abandoned. ZeroMQ reports its own next attempt
/// immediately.
constexpr std::int64_t kMqLostLinkPatienceMs = 500;

/// How long a lost link is kept while messages wait on its socket: renewing it drops messages that
/// arrived over it.
constexpr std::int64_t kMqBusyLinkPatienceMs = 5000;

/// How long a link must have worked to count as good. The link to a peer that breaks the protocol
/// soon after every handshake never counts as good.
constexpr std::int64_t kMqGoodLinkMs = 3000;

/// Sets the options above for the connections that `socket`, a SUB or PUSH socket, makes from now
/// on. Heartbeats are used only over TCP: a peer on the same board cannot vanish without closing.
void MqPrepareLink(zsock_t* socket, bool isOverTcp);

/// Watches the links of one socket and renews those that ZeroMQ has abandoned.
///
/// The queue of the links' events has no limit: with one, a full queue would block ZeroMQ's own
/// thread. An owner that does not call Tend several times a second must at least call TakeNote
/// whenever it uses the socket, as the reactor's loop and the senders to collecting peers do.
class MqLinkWatch {
 public:
  MqLinkWatch() = default;
  ~MqLinkWatch() { Stop(); }
  MqLinkWatch(const MqLinkWatch&) = delete;
  MqLinkWatch& operator=(const MqLinkWatch&) = delete;

  /// Exchanges the watches of the two objects.
  MqLinkWatch& operator=(MqLinkWatch&& other) noexcept;

  /// Watches `socket` from now on, which must not be destroyed before Stop. Call it before the
  /// socket connects. False when the socket cannot be watched; it then works without renewal.
  bool Start(zsock_t* socket);

  /// Ends the watch. Does nothing if there is none.
  void Stop();

  /// Ends the watch over a socket that has already been destroyed.
  void StopWithoutSocket();

  /// Reads what happened to the links since the last call. Never waits.
  void TakeNote();

  /// For a poll: readable when there are new events to read. Call TakeNote each time and once
  /// before the first poll. Its descriptor is kMqNoDescriptor when there is no watch.
  zmq_pollitem_t PollItem() const;

  /// Calls TakeNote and renews abandoned links, unless messages wait on the socket. The socket
  /// keeps its subscriptions. Never waits. Calls `report(endpoint)` for each renewed link, once
  /// until the link has been good again. Call it several times a second.
  template <typename Report>
  void Tend(Report report) {
    if (mpEvents == nullptr)
      return;
    TakeNote();
    if (IsAnyLostFor(kMqLostLinkPatienceMs) && IsIdle())
      Renew(report);
  }

  /// Renews links that have been lost for so long that waiting messages no longer delay the
  /// renewal. Call it after the last frame of a message and before the socket is polled again: the
  /// library aborts when a link ends in the middle of its message, and a message that a poll has
  /// found counts as begun.
  template <typename Report>
  void TendBetweenMessages(Report report) {
    if (mpEvents != nullptr && IsAnyLostFor(kMqBusyLinkPatienceMs))
      Renew(report);
  }

 private:
  static constexpr std::int64_t kNever = -1;

  struct Link {
    std::int64_t lostSince = kNever;  // ms of the monotonic clock; kNever: up or being renewed
    std::int64_t upSince = kNever;    // ms of the monotonic clock; kNever: not up
    bool isReported = false;          // renewed and reported since the link was last good
    bool isReportDue = false;         // renewed for the first time since then, not yet reported
  };

  template <typename Report>
  void Renew(Report report) {
    RenewLost();
    for (auto& [endpoint, link] : mLinks)
      if (link.isReportDue) {
        link.isReportDue = false;
        report(endpoint.c_str());
      }
  }

  void TakeEvent(std::uint16_t event, const std::string& endpoint);
  bool IsAnyLostFor(std::int64_t milliseconds) const;
  bool IsIdle() const;
  bool ConnectAgain(const std::string& endpoint);
  void RenewLost();

  zsock_t* mpSocket = nullptr;         // the watched socket, not owned
  void* mpEvents = nullptr;            // libzmq socket where its events arrive, owned
  std::map<std::string, Link> mLinks;  // links with an event so far, by endpoint
};
