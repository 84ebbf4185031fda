// A link to a peer that collects messages from many processes, as the process monitor and the log
// sink do: a PUSH socket that never waits and whose connection is renewed. Used from one thread.

#pragma once

#include "MqLink.h"
#include "MqSupport.h"

class MqPushLink {
 public:
  /// A link that keeps its socket in `socket`, a field of the owner, null while there is none.
  explicit MqPushLink(zsock_t*& socket) : mpSocket(socket) {}
  ~MqPushLink() { Close(); }
  MqPushLink(const MqPushLink&) = delete;
  MqPushLink& operator=(const MqPushLink&) = delete;

  /// A socket with the options for a connection to `endpoint`; null when none can be made.
  static MqSockOwner NewSocket(const MqEndpoint& endpoint);

  /// Connects `socket`, which NewSocket made, and keeps it. The peer need not exist yet. False when
  /// the connection is refused at once; the socket is then destroyed. REQUIRES: no link yet.
  bool Connect(MqSockOwner socket, const MqEndpoint& endpoint);

  /// Renews the connection when ZeroMQ has abandoned it; see `MqLinkWatch::Tend`.
  template <typename Report>
  void Tend(Report report) {
    mWatch.Tend(report);
  }

  /// Empties the queue of the link's events. Call it before each send, so that events do not pile
  /// up if Tend is not called; see `MqLinkWatch::TakeNote`.
  void TakeNote() { mWatch.TakeNote(); }

  /// Destroys the socket, if there is one, with all messages that still wait for the peer.
  void Close();

 private:
  zsock_t*& mpSocket;  // the owner's field
  MqLinkWatch mWatch;  // watch of the socket
};
