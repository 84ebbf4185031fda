// A running service with a counted peer at each of its connections. A peer can be removed and
// replaced, and shows whether the service receives from it.

#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "CountedPeer.h"
#include "Emulation.h"
#include "RunningService.h"

/// The peer as part of the name of a test.
const char* NameOf(louddesk::Peer peer);

/// How soon a peer must be served once its link can work again, on the busiest machine. The service
/// promises two seconds; the measured time is printed.
constexpr std::chrono::milliseconds kLenientReturn{6000 * kSlowness};

class LinkTest : public RunningService {
 protected:
  using Clock = std::chrono::steady_clock;
  using Peers = std::set<louddesk::Peer>;

  /// All peers, and the peers that are reached over TCP.
  static const Peers kEveryPeer;
  static const Peers kTcpPeers;

  /// Opens every peer, starts the service, waits until it is connected to all of them and makes it
  /// report.
  void StartLinked();

  /// Waits until the service is connected to every peer. All must be open.
  void AwaitEveryPeer();

  /// Switches reporting on and sends the service a preset.
  void StartReporting();

  /// Open and close peers.
  void OpenPeers(const Peers& peers);
  void ClosePeers(const Peers& peers);

  CountedPeer& At(louddesk::Peer peer) { return *mPeers.at(peer); }

  /// Reads at every peer until the condition holds.
  bool PollUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience);

  /// Waits until each of the peers is served: the service handles its messages, or it receives
  /// those of the service. Prints and records the time since `since`; fails if a peer took longer
  /// than `limit`. `what` names the occasion.
  void ExpectServed(const Peers& peers, Clock::time_point since, const std::string& what,
                    std::chrono::milliseconds limit = kLenientReturn);

  /// Expects that each of the peers has had exactly one connection, which was never lost and
  /// brought every subscription of the service once, and that no further connection follows.
  void ExpectOneConnectionEach(const Peers& peers);

  /// Expects that every connection to the TCP peers brought each subscription exactly once, also
  /// after an abandoned link was renewed.
  void ExpectEachSubscriptionOncePerConnection();

  /// Sends a command and expects that it is handled once and acknowledged once.
  void ExpectOneAnswer();

  /// Expects that no message of ExpectServed was logged more than once.
  void ExpectNothingHeardTwice();

  /// Number of lines so far that contain `text`.
  int CountLines(const std::string& text) const;

  /// Publishes as one of the text peers.
  void Say(louddesk::Peer peer, const std::string& topic, const std::string& payload);

 private:
  bool IsConnected(louddesk::Peer peer);
  void Probe(louddesk::Peer peer);
  bool IsServed(louddesk::Peer peer, std::size_t firstLine);
  std::string ProbeLine(louddesk::Peer peer, int number) const;

  std::map<louddesk::Peer, std::unique_ptr<CountedPeer>> mPeers;  // open peers
  int mFirstProbe = 1;     // number of the first message of the last ExpectServed
  int mNextProbe = 1;      // number of the next message
  unsigned mCommands = 0;  // commands sent by ExpectOneAnswer
};
