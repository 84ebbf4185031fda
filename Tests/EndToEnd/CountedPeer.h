// A well-behaved peer of the service that counts the connections made and lost, and the
// subscriptions on each of them.

#pragma once

#include <czmq.h>

#include <deque>
#include <map>
#include <string>

#include "Sockets.h"

class CountedPeer {
 public:
  /// A socket of the ZeroMQ type `type` (ZMQ_XPUB or ZMQ_PULL), bound to `endpoint`, which must not
  /// be in use. Fails the test when it cannot be bound.
  CountedPeer(int type, const std::string& endpoint);

  /// Closes the socket. The endpoint is free when this returns.
  ~CountedPeer();

  CountedPeer(const CountedPeer&) = delete;
  CountedPeer& operator=(const CountedPeer&) = delete;

  /// Reads everything that has arrived and updates the counts below.
  void ReadPending();

  /// Connections whose handshake succeeded, and connections that were lost.
  int Connections() const { return mConnections; }
  int Losses() const { return mLosses; }

  /// How often each topic was subscribed to. The same topic on two connections counts twice.
  const std::map<std::string, int>& Subscriptions() const { return mSubscriptions; }

  /// Messages received and not yet taken.
  std::deque<louddesk::Frames>& Messages() { return mMessages; }

  /// Publishes a message whose first frame is its topic.
  void Publish(const louddesk::Frames& frames);

  zsock_t* Socket() const { return mSocket; }

 private:
  void ReadEvents();
  void TakeMessage(louddesk::Frames frames);

  std::string mEndpoint;
  zsock_t* mSocket = nullptr;   // owned
  zsock_t* mMonitor = nullptr;  // owned
  int mConnections = 0;
  int mLosses = 0;
  bool mIsClosed = false;  // no longer listening
  std::map<std::string, int> mSubscriptions;
  std::deque<louddesk::Frames> mMessages;
};
