// The messages that can be observed around a running service: an additional subscriber at each
// publishing peer of the service, and a client of both of its publishers. Heartbeats and log have
// only one receiver each and cannot be observed.

#pragma once

#include <czmq.h>

#include <deque>
#include <set>
#include <string>
#include <vector>

#include "RecordedMessage.h"
#include "Sockets.h"

namespace louddesk {

/// A subscriber of one publisher.
class SenderTap : public SocketReader {
 public:
  /// Subscribes to `topics` at `endpoint`, which may be bound later. The subscriptions are one
  /// character shorter than the topics: a publisher that waits for the service must not mistake
  /// this subscriber for it.
  SenderTap(Sender sender, const std::string& endpoint, const std::set<std::string>& topics);
  ~SenderTap() override;
  SenderTap(const SenderTap&) = delete;
  SenderTap& operator=(const SenderTap&) = delete;

  Sender Of() const { return mSender; }

  /// Whether the connection is up, according to the events read so far.
  bool IsConnected() const { return mIsConnected; }

  /// Messages received and not taken yet, oldest first.
  std::deque<Frames>& Messages() { return mMessages; }

  std::vector<zsock_t*> Sockets() const override { return {mSocket, mMonitor}; }
  void ReadPending() override;

 private:
  void ReadConnectionEvents();
  bool IsWanted(const std::string& topic) const;

  Sender mSender;
  std::set<std::string> mTopics;
  zsock_t* mSocket;   // SUB, owned
  zsock_t* mMonitor;  // reports connections made and lost; owned
  bool mIsConnected = false;
  std::deque<Frames> mMessages;
};

class ServiceTap {
 public:
  /// Connects to all publishers around the service of one meter set and cluster. Board addresses
  /// come from the environment, as for the service. Throws BindError if one of them is not an
  /// address.
  ServiceTap(unsigned meterSet, unsigned cluster);

  /// The taps of the service's peers come first. So if a message to the service and its answer
  /// arrive together, the message is taken first.
  std::deque<SenderTap>& Taps() { return mTaps; }

  /// Waits until something arrives, a signal comes or `patience` is over, and reads what has
  /// arrived.
  void Wait(Patience patience);

  /// The names of the publishers without a connection, for the user; empty when all are connected.
  std::string MissingText() const;

 private:
  std::deque<SenderTap> mTaps;
};

}  // namespace louddesk
