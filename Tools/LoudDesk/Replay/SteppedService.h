// Drives a running service step by step. Each message is known to be handled before the next one is
// sent, and it is known without guessing times whether the service then published something.
//
// The service logs a warning for a topic that it does not handle. A marker with such a topic is
// sent after a message on the same connection, and the service reads it after the message. So when
// the marker's warning arrives at the log sink, the message has been handled. When the warning of a
// second marker has arrived, everything that the service published before the first warning has
// been received, because both sides read and write in order. If two heartbeats come and nothing
// else, the service has nothing more to publish, because several of its 100 ms ticks lie between
// the heartbeats.

#pragma once

#include <deque>
#include <string>

#include "RecordedMessage.h"
#include "UnitStandIn.h"

namespace louddesk {

/// The peer that sends a recorded message. REQUIRES: the sender is not the service.
Peer PeerOf(Sender sender);

class SteppedService {
 public:
  /// The service drops raw blocks with longer topics. The topics of markers among the blocks are
  /// longer.
  static constexpr std::size_t kLongestRawTopic = 4096;

  /// Drives the service of `unit`, which must outlive this object and have all endpoints of its
  /// peers open.
  explicit SteppedService(UnitStandIn& unit) : mUnit(unit) {}

  /// Sends messages of one peer in sequence and waits until all are handled. False when the service
  /// no longer answers.
  bool SendAll(Peer peer, const std::vector<Frames>& messages);

  /// On return, the queues contain everything published before the last call of SendAll returned.
  /// Messages received afterwards were published later. False when the service no longer answers.
  bool ReceivePublished();

  /// Waits for the next published message; republications do not count. False when the service has
  /// nothing to publish.
  bool AwaitPublished();

  /// Messages received and not taken yet, oldest first. Repetitions of loudness data and
  /// republications of states are left out.
  std::deque<Frames>& Data() { return mData; }
  const Frames& LastData() const { return mLastData; }  // taken or not; empty if there was none
  std::deque<Frames>& States() { return mStates; }

  /// Number of messages of loudness data received so far, including repetitions.
  unsigned long DataCount() const { return mDataCount; }

 private:
  bool PassMarker(Peer peer);
  bool AwaitWarning(const std::string& text);
  void Collect();

  UnitStandIn& mUnit;
  unsigned mMarkers = 0;  // sent so far
  Peer mLastPeer = Peer::kMainAppServer;
  Frames mLastData;
  unsigned long mDataCount = 0;
  std::deque<Frames> mData;
  std::deque<Frames> mStates;
};

}  // namespace louddesk
