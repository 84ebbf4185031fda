// The unit around a running service: binds and connects everything that the service's peers do, for
// tests and for a desk without the hardware. Single-threaded; one object at a time and machine, for
// the endpoints are fixed.

#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BlockReading.h"
#include "BoundSocket.h"
#include "ServiceFeed.h"

namespace louddesk {

/// What is left until `due`; 0 when it has passed.
Patience Remaining(std::chrono::steady_clock::time_point due);

/// " in 2.0 s", for a sentence about what has not come.
std::string InTimeText(Patience patience);

/// The service's peers, in the order of kAllPeers.
enum class Peer {
  kHeartbeatReceiver,  // process monitor, receiving side
  kProcessMonitor,     // process monitor, publishing side
  kHardwareManager,
  kMainAppServer,
  kOpticalAppServer,
  kSignalProcessor,
  kLogSink,
};

constexpr std::array<Peer, 7> kAllPeers = {
    Peer::kHeartbeatReceiver, Peer::kProcessMonitor,  Peer::kHardwareManager, Peer::kMainAppServer,
    Peer::kOpticalAppServer,  Peer::kSignalProcessor, Peer::kLogSink,
};

class UnitStandIn {
 public:
  /// The unit around the service of one meter set and cluster. Board addresses come from the
  /// environment as for the service itself. Every peer is still closed; the clients of the
  /// service's publishers connect at once. Throws BindError when an address of the environment is
  /// not an address.
  UnitStandIn(unsigned meterSet, unsigned cluster);

  /// Opens every peer but `absent`. Throws BindError for the first that cannot be.
  void OpenAll(const std::set<Peer>& absent = {});

  /// Opens or closes one peer, as when it starts or ends; a closed peer's endpoint is free on
  /// return.
  void Open(Peer peer);
  void Close(Peer peer);

  /// Where the peer listens, as ZeroMQ takes it.
  std::string EndpointOf(Peer peer) const;

  /// Topics under which a publishing peer has subscribers.
  const std::set<std::string>& SubscriptionsAt(Peer peer) const;

  /// Reads everything that arrives until `condition` holds; looks at it before the first wait and
  /// after every message. False when `patience` ends or the process is interrupted first.
  bool WaitFor(const std::function<bool()>& condition, Patience patience);

  /// Until every open publishing peer has all subscriptions of the service and both of the
  /// service's publishers are connected.
  bool WaitUntilSubscribed(Patience patience);

  /// Whether anybody has subscribed anywhere.
  bool HasSubscribers() const;

  /// What WaitUntilSubscribed still lacks, for people; empty when nothing.
  std::string MissingSubscriptions() const;

  /// Publishes a text message, of the topic alone without `payload`. The peer must be open.
  void SendText(Peer peer, const std::string& topic,
                const std::optional<std::string>& payload = std::nullopt);

  /// Publishes one block of the signal-processing stage.
  void SendRaw(const BlockReading& block);

  /// Publishes a message of the signal-processing stage with any frames after the topic.
  void SendRawFrames(const Frames& framesAfterTopic);

  /// Publishes any frames at all; the first one is the topic.
  void SendFrames(Peer peer, const Frames& frames);

  /// The next message of each kind, oldest first; none when `patience` ends first.
  std::optional<LoudnessMessage> NextLoudnessData(Patience patience) {
    return Next(mFeed.Data(), patience);
  }
  std::optional<StateMessage> NextState(Patience patience) {
    return Next(mFeed.States(), patience);
  }
  std::optional<Frames> NextHeartbeat(Patience patience) {
    return Next(MessagesAt(Peer::kHeartbeatReceiver), patience);
  }
  std::optional<LogLine> NextLogLine(Patience patience);

  /// Drops messages of the kind that have arrived but were not taken.
  void DropLoudnessData() { Drop(mFeed.Data()); }
  void DropStates() { Drop(mFeed.States()); }
  void DropHeartbeats() { Drop(MessagesAt(Peer::kHeartbeatReceiver)); }
  void DropLogLines() { Drop(MessagesAt(Peer::kLogSink)); }

  /// Topic of the raw blocks of this meter set.
  std::string RawTopic() const;

  unsigned MeterSet() const { return mMeterSet; }
  unsigned Cluster() const { return mCluster; }

 private:
  std::set<std::string> MissingTopics(Peer peer, const PublisherPeer& publisher) const;
  std::deque<Frames>& MessagesAt(Peer peer) { return mCollectors.at(peer).Messages(); }
  void ReadEverything() { WaitAndRead(mReaders, Patience{0}); }

  template <typename Message>
  std::optional<Message> Next(std::deque<Message>& queue, Patience patience) {
    if (!WaitFor([&queue] { return !queue.empty(); }, patience))
      return std::nullopt;
    Message first = std::move(queue.front());
    queue.pop_front();
    return first;
  }

  template <typename Message>
  void Drop(std::deque<Message>& queue) {
    ReadEverything();
    queue.clear();
  }

  unsigned mMeterSet;
  unsigned mCluster;
  std::map<Peer, PublisherPeer> mPublishers;
  std::map<Peer, CollectorPeer> mCollectors;
  std::map<Peer, BoundSocket*> mPeers;  // both of these
  ServiceFeed mFeed;
  std::vector<SocketReader*> mReaders;  // all of these
};

/// Where the application server of the main board listens. Throws BindError when an address of the
/// environment is not an address.
Endpoint MainAppServerEndpoint();

/// What to say before the reason when that place cannot be taken.
constexpr char kPlaceNeededText[] = "--control needs the endpoint of the application server: ";

/// The topics that the service of a meter set subscribes to at a publishing peer.
std::set<std::string> ServiceTopicsAt(Peer peer, unsigned meterSet);

/// Topic with the meter-set number that ends it.
std::string TopicFor(const std::string& prefix, unsigned meterSet);

/// A block as the signal-processing stage publishes it, topic and all.
Frames RawMessage(unsigned meterSet, const BlockReading& block);

}  // namespace louddesk
