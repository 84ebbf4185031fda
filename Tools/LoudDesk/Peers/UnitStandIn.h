// Stands in for all peers of a running service, for tests and for a desk without the hardware.
// Single-threaded. The endpoints are fixed, so there can be one object at a time per machine.

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

/// The time left until `due`; 0 if it has passed.
Patience Remaining(std::chrono::steady_clock::time_point due);

/// " in 2.0 s", for a message about a timeout.
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
  /// environment, as in the service itself. All peers are closed at first; the clients of the
  /// service's publishers connect at once. Throws BindError if the environment contains an invalid
  /// address.
  UnitStandIn(unsigned meterSet, unsigned cluster);

  /// Opens all peers but `absent`. Throws BindError for the first one that cannot be opened.
  void OpenAll(const std::set<Peer>& absent = {});

  /// Open or close one peer, as when its process starts or ends. The endpoint of a closed peer is
  /// free on return.
  void Open(Peer peer);
  void Close(Peer peer);

  /// The peer's endpoint in the notation of ZeroMQ.
  std::string EndpointOf(Peer peer) const;

  /// Topics with subscribers at a publishing peer.
  const std::set<std::string>& SubscriptionsAt(Peer peer) const;

  /// Reads everything that arrives until `condition` holds, which is checked before the first wait
  /// and after each message. Returns false if `patience` ends or the process is interrupted first.
  bool WaitFor(const std::function<bool()>& condition, Patience patience);

  /// Waits until every open publishing peer has all subscriptions of the service and both of the
  /// service's publishers are connected. Returns false as `WaitFor` does.
  bool WaitUntilSubscribed(Patience patience);

  /// Whether any publishing peer has a subscriber.
  bool HasSubscribers() const;

  /// What WaitUntilSubscribed is still waiting for, as text for the user; empty if nothing.
  std::string MissingSubscriptions() const;

  /// Publishes a text message; without `payload` it consists of the topic only. REQUIRES: the peer
  /// is open.
  void SendText(Peer peer, const std::string& topic,
                const std::optional<std::string>& payload = std::nullopt);

  /// Publishes one block in place of the signal-processing stage.
  void SendRaw(const BlockReading& block);

  /// Publishes a message of the signal-processing stage with arbitrary frames after the topic.
  void SendRawFrames(const Frames& framesAfterTopic);

  /// Publishes arbitrary frames; the first one is the topic.
  void SendFrames(Peer peer, const Frames& frames);

  /// The next message of a kind, oldest first; nothing if `patience` ends first.
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

  /// Discard messages that have arrived but were not taken.
  void DropLoudnessData() { Drop(mFeed.Data()); }
  void DropStates() { Drop(mFeed.States()); }
  void DropHeartbeats() { Drop(MessagesAt(Peer::kHeartbeatReceiver)); }
  void DropLogLines() { Drop(MessagesAt(Peer::kLogSink)); }

  /// Topic of the raw blocks for this meter set.
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
  std::map<Peer, BoundSocket*> mPeers;  // members of mPublishers and mCollectors
  ServiceFeed mFeed;
  std::vector<SocketReader*> mReaders;  // all readers
};

/// Endpoint of the main board's application server. Throws BindError if the environment contains an
/// invalid address.
Endpoint MainAppServerEndpoint();

/// Prefix of the error message when this endpoint cannot be bound.
constexpr char kPlaceNeededText[] = "--control needs the endpoint of the application server: ";

/// The topics at a publishing peer that the service of a meter set subscribes to.
std::set<std::string> ServiceTopicsAt(Peer peer, unsigned meterSet);

/// Topic with the meter-set number as its suffix.
std::string TopicFor(const std::string& prefix, unsigned meterSet);

/// A block as the signal-processing stage publishes it, including the topic.
Frames RawMessage(unsigned meterSet, const BlockReading& block);

}  // namespace louddesk
