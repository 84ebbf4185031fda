// A running service led step by step: every message sent to it is known to be handled before the
// next one goes out, and whether it published something afterwards is known without a guess at
// times.
//
// Known how: the service logs a warning for a topic that it does not handle. A marker with such a
// topic, sent behind a message on the same connection, is read behind it, and its warning at the
// log sink tells that the message was handled. When a second marker has been answered too, all that
// the service published before the first answer has been received here: both sides read and write
// in order. That the service has nothing more to say is seen from two of its heartbeats, between
// which lie several of its 100 ms ticks.

#pragma once

#include <deque>
#include <string>

#include "RecordedMessage.h"
#include "UnitStandIn.h"

namespace louddesk {

/// The peer in whose place a recorded message is sent. REQUIRES: it is not one of the service.
Peer PeerOf(Sender sender);

class SteppedService {
 public:
  /// The service drops topics of raw blocks beyond this size; markers among the blocks have such.
  static constexpr std::size_t kLongestRawTopic = 4096;

  /// Leads the service of `unit`, which must outlive it and have all peers open.
  explicit SteppedService(UnitStandIn& unit) : mUnit(unit) {}

  /// Sends messages of one peer in a row and waits until all are handled. False when the service no
  /// longer answers.
  bool SendAll(Peer peer, const std::vector<Frames>& messages);

  /// Everything published before the last call of SendAll returned is in the queues on return; what
  /// comes after that was published later. False when the service no longer answers.
  bool ReceivePublished();

  /// Waits for the next message that is published, republications aside. False when the service has
  /// nothing to say.
  bool AwaitPublished();

  /// Messages received and not yet taken, oldest first. Of loudness data each is different from the
  /// one before; among states are no republications.
  std::deque<Frames>& Data() { return mData; }
  const Frames& LastData() const { return mLastData; }  // taken or not; empty: none yet
  std::deque<Frames>& States() { return mStates; }

  /// Messages of loudness data received so far, repetitions too.
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
