// Peers that are late, are killed, stop without closing, or accept but never read. The data keeps
// its cadence, memory is bounded, and peers that return are served again.

#include "FaultyUnit.h"

namespace {

using louddesk::Peer;

enum class Fault { kKilled, kStopped, kSilent };

const char* NameOf(Fault fault) {
  switch (fault) {
    case Fault::kKilled:
      return "Killed";
    case Fault::kStopped:
      return "Stopped";
    case Fault::kSilent:
      break;
  }
  return "Silent";
}

void PrintTo(Fault fault, std::ostream* stream) {
  *stream << NameOf(fault);
}

// Longer than the gap allowed for a busy machine. With a silent peer the service waits three
// seconds before it tries again.
constexpr std::chrono::milliseconds kAbsence{2500};
constexpr std::chrono::milliseconds kSilence{4500};

// Time between the faults of two peers.
constexpr std::chrono::milliseconds kStagger{300};

// Time of undisturbed cadence.
constexpr std::chrono::milliseconds kAWhile{1500};

// Without these peers no data is published at all.
const std::set<Peer> kNeededToMeasure = {Peer::kMainAppServer, Peer::kOpticalAppServer};

/// A service with a separate process for each peer.
class PeerFaultTest : public FaultyUnit {
 protected:
  /// Calls `action` with each of the peers, one after the other. A failure names its peer.
  template <typename Action>
  void ForEach(const std::vector<Peer>& peers, Action action) {
    for (const Peer peer : peers) {
      SCOPED_TRACE(std::string("row ") + PlaceOf(peer));
      SelectRemote(PlaceOf(peer));
      action(peer);
    }
  }

  void ExpectEachServedSoon(const std::vector<Peer>& peers) {
    ForEach(peers, [this](Peer) { ExpectSoon(AwaitServed()); });
    // Later messages must arrive too.
    ForEach(peers, [this](Peer) { ExpectServedSoon(); });
  }
};

const std::vector<Peer> kEveryPeer(louddesk::kAllPeers.begin(), louddesk::kAllPeers.end());

class EarlierPeerTest : public PeerFaultTest, public testing::WithParamInterface<Fault> {
 protected:
  void Begin() {
    if (GetParam() == Fault::kStopped)
      return StopRemote();
    KillRemote();
    if (GetParam() == Fault::kSilent)
      ListenSilently();
  }

  void End(Peer peer) {
    if (GetParam() == Fault::kStopped)
      return ContinueRemote();
    EndSilence();
    StartRemote({peer});
  }
};

// The peers fail one by one and return one by one. In between there is none for a while.
TEST_P(EarlierPeerTest, LeavesTheDataAloneAndIsServedAgain) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  ForEach(kEveryPeer, [this](Peer peer) { StartRemote({peer}); });
  ForEach(kEveryPeer, [this](Peer) { AwaitServed(); });
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  ForEach(kEveryPeer, [this](Peer) {
    Begin();
    Pass(kStagger);
  });
  Pass(GetParam() == Fault::kKilled ? kAbsence : kSilence);
  ForEach(kEveryPeer, [this](Peer peer) {
    End(peer);
    Pass(kStagger);
  });
  ExpectEachServedSoon(kEveryPeer);
  ExpectCadenceAndMemory();
}

INSTANTIATE_TEST_SUITE_P(Faults, EarlierPeerTest,
                         testing::Values(Fault::kKilled, Fault::kStopped, Fault::kSilent),
                         [](const auto& test) { return std::string(NameOf(test.param)); });

class LatePeerTest : public PeerFaultTest {};

TEST_F(LatePeerTest, LeavesTheDataAloneAndIsServed) {
  std::vector<Peer> late;
  for (const Peer peer : kEveryPeer)
    if (kNeededToMeasure.count(peer) == 0)
      late.push_back(peer);
  ASSERT_NO_FATAL_FAILURE(Start({late.begin(), late.end()}));
  StartMeasuringWithoutConsole();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  Pass(kAbsence);
  ForEach(late, [this](Peer peer) {
    StartRemote({peer});
    Pass(kStagger);
  });
  ExpectEachServedSoon(late);
  ExpectCadenceAndMemory();
}

// All peers are absent at first. They are in this process, which can send the messages that start a
// measurement.
TEST_F(LatePeerTest, AllAtOnceAreServedAndMeasuredFor) {
  ASSERT_NO_FATAL_FAILURE(Start({louddesk::kAllPeers.begin(), louddesk::kAllPeers.end()}));
  Pass(kAbsence);
  const auto opening = std::chrono::steady_clock::now();
  mUnit.OpenAll();
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  EXPECT_TRUE(mUnit.NextHeartbeat(kPatience));
  ExpectLogLine("Connected to ipc");
  ExpectSoon(std::chrono::steady_clock::now() - opening);

  StartMeasuringWithoutConsole();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  ExpectMeasures(-20);
  Pass(kAWhile);
  ExpectCadenceAndMemory();
}

}  // namespace
