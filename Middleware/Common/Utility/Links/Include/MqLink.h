// Connecting sockets that come back by themselves. A link is one connection of a socket to a remote
// endpoint. ZeroMQ renews a link that broke, with two exceptions that this unit is for: a peer that
// vanished without closing, and a peer that broke the protocol, to which ZeroMQ never connects
// again. Used from the thread that owns the socket.

#pragma once

#include <czmq.h>

#include <cstdint>
#include <map>
#include <string>

/// How soon a vanished TCP peer is noticed. An idle peer answers the heartbeats of ZeroMQ (4.2 and
/// later) on its own and is never taken for a vanished one.
constexpr int kMqHeartbeatPeriodMs = 1000;   // between two questions to the peer
constexpr int kMqHeartbeatTimeoutMs = 3000;  // for any sign of life after a question
constexpr int kMqConnectTimeoutMs = 1000;    // for the TCP handshake; then the next attempt
constexpr int kMqHandshakeTimeoutMs = 3000;  // for the ZeroMQ handshake; then the next attempt
constexpr int kMqKeepAliveIdleS = 5;         // of silence before the first TCP probe
constexpr int kMqKeepAlivePeriodS = 2;       // between two probes
constexpr int kMqKeepAliveProbes = 3;        // unanswered ones that end the link

/// The largest frame that is taken over TCP, well over any document that a reader takes
/// (JsonAccess.h), and over IPC, where a raw block may be longer than it needs to be. A peer that
/// sends more breaks the protocol.
constexpr int kMqMaxFrameSize = 512 * 1024;             // bytes
constexpr int kMqMaxLocalFrameSize = 64 * 1024 * 1024;  // bytes

/// The largest frame that is taken where the other side has nothing to say but its handshake. One
/// message is kept; nobody reads it.
constexpr int kMqMaxWordSize = 256;  // bytes
constexpr int kMqUnreadMessages = 1;

/// How long a link may be down before it counts as given up. ZeroMQ announces its own next attempt
/// at once.
constexpr std::int64_t kMqLostLinkPatienceMs = 500;

/// How long a lost link is kept while messages wait on its socket: renewing it drops what has
/// arrived over it.
constexpr std::int64_t kMqBusyLinkPatienceMs = 5000;

/// How long a link must have worked to count as a good one. The link to a peer that breaks the
/// protocol soon after every handshake never does.
constexpr std::int64_t kMqGoodLinkMs = 3000;

/// Sets the options above for the connections that `socket`, a SUB or PUSH socket, makes from now
/// on. Only over TCP is a quiet peer asked for signs of life: one on the same board cannot vanish
/// without closing.
void MqPrepareLink(zsock_t* socket, bool isOverTcp);

/// Watches the links of one socket and renews those that ZeroMQ has given up.
///
/// What happens to the links is kept until somebody takes note of it, without bound: ZeroMQ offers
/// none that would not hold up its own thread. Whoever does not tend a watch several times a second
/// must at least take note whenever the socket is used, as the reactor's loop does and whoever
/// sends to a collecting peer.
class MqLinkWatch {
 public:
  MqLinkWatch() = default;
  ~MqLinkWatch() { Stop(); }
  MqLinkWatch(const MqLinkWatch&) = delete;
  MqLinkWatch& operator=(const MqLinkWatch&) = delete;

  /// Takes over what `other` watches, which gets what this one watched.
  MqLinkWatch& operator=(MqLinkWatch&& other) noexcept;

  /// Watches `socket` from now on, which must not be destroyed before Stop; to be called before it
  /// connects. False when the socket cannot be watched; it is then used as it is.
  bool Start(zsock_t* socket);

  /// Ends the watch; harmless when there is none.
  void Stop();

  /// Ends the watch over a socket that somebody has destroyed already.
  void StopWithoutSocket();

  /// Takes note of what happened to the links since the last call, and no more. Never waits.
  void TakeNote();

  /// Something for a poll to wait for: readable when there is something to take note of. Its socket
  /// is null when there is no watch.
  zmq_pollitem_t PollItem() const { return {mpEvents, 0, ZMQ_POLLIN, 0}; }

  /// Takes note, and renews links that are lost for good, unless messages wait on the socket;
  /// subscriptions stay with the socket. Never waits.
  /// `report(endpoint)` is called for each of them, once until it has been a good link again. To be
  /// called several times a second.
  template <typename Report>
  void Tend(Report report) {
    if (mpEvents == nullptr)
      return;
    TakeNote();
    if (IsAnyLostFor(kMqLostLinkPatienceMs) && IsIdle())
      Renew(report);
  }

  /// Renews links that have been lost for so long that no message may delay it any more. To be
  /// called after the last frame of a message and before the socket is polled again: when a link
  /// goes in the middle of its message, the library aborts, and a message that a poll has found
  /// counts as begun.
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
    bool isReported = false;          // renewed and reported since it last was a good link
    bool isReportDue = false;         // renewed for the first time since then
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
  std::map<std::string, Link> mLinks;  // by endpoint, as far as anything happened to them
};
