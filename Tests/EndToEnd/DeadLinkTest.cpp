// Peers that break the protocol or the connection, on every link of the service.

#include <filesystem>

#include "FaultyPeer.h"
#include "LinkTest.h"
#include "MqNames.h"

namespace {

using louddesk::Peer;
using FaultyPeers = std::map<Peer, std::unique_ptr<FaultyPeer>>;

constexpr int kSeveral = 3;  // connections that suffer the fault

const char* TypeOf(Peer peer) {
  return peer == Peer::kHeartbeatReceiver || peer == Peer::kLogSink ? "PULL" : "XPUB";
}

class DeadLinkTest : public LinkTest, public testing::WithParamInterface<PeerFault> {
 protected:
  FaultyPeers OpenFaulty(const Peers& peers, PeerFault fault) {
    FaultyPeers faulty;
    for (const Peer peer : peers)
      faulty[peer] = std::make_unique<FaultyPeer>(mUnit.EndpointOf(peer), TypeOf(peer), fault);
    return faulty;
  }

  void AwaitConnections(const FaultyPeers& faulty, int count) {
    for (const auto& [peer, place] : faulty)
      EXPECT_TRUE(
          PollUntil([&place = place, count] { return place->Connections() >= count; }, kPatience))
          << "the service does not connect again to the " << NameOf(peer);
  }

  void ExpectReported(Peer peer, int times) const {
    EXPECT_EQ(times, CountLines("\"Connection to " + mUnit.EndpointOf(peer) +
                                " broke the protocol, connecting again\""))
        << NameOf(peer);
  }
};

TEST_P(DeadLinkTest, RightPeerIsServedAfterIt) {
  ASSERT_NO_FATAL_FAILURE(StartLinked());
  MarkCadence();

  ClosePeers(kEveryPeer);
  FaultyPeers faulty = OpenFaulty(kEveryPeer, GetParam());
  AwaitConnections(faulty, kSeveral);
  faulty.clear();
  OpenPeers(kEveryPeer);

  ExpectServed(kEveryPeer, Clock::now(), NameOf(GetParam()));
  ExpectOneConnectionEach(kEveryPeer);
  ExpectCadenceKept();
  ExpectOneAnswer();
  ExpectNothingHeardTwice();
  for (const Peer peer : kEveryPeer)
    ExpectReported(peer, EndsTheLink(GetParam()) ? 1 : 0);
}

TEST_P(DeadLinkTest, RightPeerIsServedThoughItWasThereFirst) {
  std::filesystem::create_directories(kIpcDirectory);
  FaultyPeers faulty = OpenFaulty(kEveryPeer, GetParam());
  StartProcess();
  AwaitConnections(faulty, kSeveral);
  faulty.clear();
  OpenPeers(kEveryPeer);
  const Clock::time_point opened = Clock::now();

  ASSERT_NO_FATAL_FAILURE(AwaitEveryPeer());
  ASSERT_NO_FATAL_FAILURE(StartReporting());
  ExpectServed(kEveryPeer, opened, NameOf(GetParam()));
  ExpectOneConnectionEach(kEveryPeer);
  ExpectOneAnswer();
  ExpectNothingHeardTwice();
}

INSTANTIATE_TEST_SUITE_P(Faults, DeadLinkTest,
                         testing::Values(PeerFault::kAnotherProtocol, PeerFault::kZeros,
                                         PeerFault::kSilence, PeerFault::kGarbageAfterGreeting,
                                         PeerFault::kGarbageAfterHandshake,
                                         PeerFault::kWrongSocketType, PeerFault::kTooLargeFrame,
                                         PeerFault::kCutInGreeting, PeerFault::kCutInHandshake,
                                         PeerFault::kCutInFrame),
                         [](const auto& test) { return NameOf(test.param); });

/// A link that is broken while many of its messages wait to be read.
class BacklogLinkTest : public DeadLinkTest {};

TEST_F(BacklogLinkTest, IsReadToItsEndAndMadeAnew) {
  const Peers peer = {Peer::kHardwareManager};
  ASSERT_NO_FATAL_FAILURE(StartLinked());
  MarkCadence();
  ClosePeers(peer);
  FaultyPeers faulty = OpenFaulty(peer, PeerFault::kGarbageAfterBacklog);
  AwaitConnections(faulty, 2);
  faulty.clear();
  OpenPeers(peer);
  ExpectServed(peer, Clock::now(), "after a backlog");
  ExpectCadenceKept();
  ExpectOneAnswer();
}

/// Links that are broken while the others of the same socket are in use.
class NeighbourLinkTest : public DeadLinkTest {};

TEST_P(NeighbourLinkTest, IsNotDisturbed) {
  constexpr int kCommands = 100;
  constexpr std::chrono::milliseconds kPause{30};
  ASSERT_NO_FATAL_FAILURE(StartLinked());
  ClosePeers({Peer::kProcessMonitor});
  FaultyPeers faulty = OpenFaulty({Peer::kProcessMonitor}, GetParam());
  AwaitConnections(faulty, 1);

  std::vector<std::string> commands;
  const FaultyPeer& neighbour = *faulty.begin()->second;
  const auto end = Clock::now() + kPatience;
  for (int i = 0; i < kCommands || (neighbour.Connections() < kSeveral && Clock::now() < end);
       ++i) {
    louddesk::LoudnessCommand command;
    command.command = "Print";
    command.timeStamp = static_cast<unsigned>(1000 + i);
    commands.push_back(command.Json());
    Say(Peer::kMainAppServer, "AppIOQVLoudnessCmd-1", commands.back());
    PollUntil([] { return false; }, kPause);
  }

  EXPECT_TRUE(mService->WaitForLine(commands.back(), kPatience));
  for (const std::string& command : commands)
    EXPECT_EQ(1, CountLines(command)) << command;
  EXPECT_GE(neighbour.Connections(), kSeveral);
  ExpectOneConnectionEach({Peer::kMainAppServer, Peer::kHardwareManager, Peer::kOpticalAppServer});
}

INSTANTIATE_TEST_SUITE_P(Faults, NeighbourLinkTest,
                         testing::Values(PeerFault::kGarbageAfterGreeting,
                                         PeerFault::kWrongSocketType, PeerFault::kTooLargeFrame,
                                         PeerFault::kCutInFrame),
                         [](const auto& test) { return NameOf(test.param); });

}  // namespace
