// What can be seen around a running service: one more subscriber beside the service at each of its
// peers that publish, and a client of both of its publishers. Heartbeats and log go to one receiver
// each and are out of sight.

#pragma once

#include <czmq.h>

#include <deque>
#include <set>
#include <string>
#include <vector>

#include "RecordedMessage.h"
#include "Sockets.h"

namespace louddesk {

/// One publisher.
class SenderTap : public SocketReader {
 public:
  /// Subscribes to `topics` at `endpoint`, now or as soon as somebody binds it. The subscriptions
  /// are a character shorter than the topics: a publisher that waits for a service must not take
  /// this one for it.
  SenderTap(Sender sender, const std::string& endpoint, const std::set<std::string>& topics);
  ~SenderTap() override;
  SenderTap(const SenderTap&) = delete;
  SenderTap& operator=(const SenderTap&) = delete;

  Sender Of() const { return mSender; }

  /// Whether the connection stands, as far as it was read.
  bool IsConnected() const { return mIsConnected; }

  /// Messages read and not yet taken, oldest first.
  std::deque<Frames>& Messages() { return mMessages; }

  std::vector<zsock_t*> Sockets() const override { return {mSocket, mMonitor}; }
  void ReadPending() override;

 private:
  void ReadConnectionEvents();
  bool IsWanted(const std::string& topic) const;

  Sender mSender;
  std::set<std::string> mTopics;
  zsock_t* mSocket;   // SUB, owned
  zsock_t* mMonitor;  // tells of connections made and lost; owned
  bool mIsConnected = false;
  std::deque<Frames> mMessages;
};

class ServiceTap {
 public:
  /// Connects to everything around the service of one meter set and cluster. Board addresses come
  /// from the environment as for the service itself. Throws BindError when one is not an address.
  ServiceTap(unsigned meterSet, unsigned cluster);

  /// Those of the service's peers first, so that what the service was sent is taken before what it
  /// answered when both have come at once.
  std::deque<SenderTap>& Taps() { return mTaps; }

  /// Waits until something arrives, a signal comes or `patience` ends, and reads it.
  void Wait(Patience patience);

  /// The publishers without a connection, for people; empty when all are connected.
  std::string MissingText() const;

 private:
  std::deque<SenderTap> mTaps;
};

}  // namespace louddesk
