// Peers that are late, are killed, stop without closing, or accept and never read: the data keeps
// its cadence, memory is bounded, and who comes back is served again.

#include "FaultyUnit.h"

namespace {

using louddesk::Peer;
using testing::Combine;
using testing::ValuesIn;

enum class Fault { kLate, kKilled, kStopped, kSilent };

const char* NameOf(Fault fault) {
  switch (fault) {
    case Fault::kLate:
      return "Late";
    case Fault::kKilled:
      return "Killed";
    case Fault::kStopped:
      return "Stopped";
    case Fault::kSilent:
      break;
  }
  return "Silent";
}

// Longer than a gap that is left to a busy machine. For a peer that says nothing the service waits
// three seconds before it tries anew.
constexpr std::chrono::milliseconds kAbsence{2500};
constexpr std::chrono::milliseconds kSilence{4500};

// Of a cadence that nothing disturbs.
constexpr std::chrono::milliseconds kAWhile{1500};

struct PeerSet {
  const char* name;
  std::set<Peer> peers;
};

std::vector<PeerSet> EachPeer() {
  std::vector<PeerSet> sets;
  for (const Peer peer : louddesk::kAllPeers)
    sets.push_back({PlaceOf(peer), {peer}});
  return sets;
}

std::vector<PeerSet> EachPeerAndAll() {
  std::vector<PeerSet> sets = EachPeer();
  sets.push_back({"All", {louddesk::kAllPeers.begin(), louddesk::kAllPeers.end()}});
  return sets;
}

void PrintTo(const PeerSet& set, std::ostream* stream) {
  *stream << set.name;
}

void PrintTo(Fault fault, std::ostream* stream) {
  *stream << NameOf(fault);
}

class PeerFaultTest : public FaultyUnit,
                      public testing::WithParamInterface<std::tuple<PeerSet, Fault>> {
 protected:
  void Suffer(Fault fault) {
    if (fault == Fault::kStopped)
      return SufferStop();
    KillRemote();
    if (fault == Fault::kSilent)
      ListenSilently();
    Pass(fault == Fault::kSilent ? kSilence : kAbsence);
    EndSilence();
    StartRemote(Peers());
  }

  void SufferStop() {
    StopRemote();
    Pass(kSilence);
    ContinueRemote();
  }

  /// Without them no data is published at all.
  bool AreNeededToMeasure() const {
    return Peers().count(Peer::kMainAppServer) + Peers().count(Peer::kOpticalAppServer) != 0;
  }

  const std::set<Peer>& Peers() const { return std::get<PeerSet>(GetParam()).peers; }
};

class EarlierPeerTest : public PeerFaultTest {};

TEST_P(EarlierPeerTest, LeavesTheDataAloneAndIsServedAgain) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  StartRemote(Peers());
  AwaitServed();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  Suffer(std::get<Fault>(GetParam()));
  ExpectServedSoon();
  ExpectWatchedWell();
}

const auto kNameOfSetAndFault = [](const auto& test) {
  return std::string(std::get<PeerSet>(test.param).name) + NameOf(std::get<Fault>(test.param));
};

INSTANTIATE_TEST_SUITE_P(Faults, EarlierPeerTest,
                         Combine(ValuesIn(EachPeerAndAll()),
                                 testing::Values(Fault::kKilled, Fault::kStopped, Fault::kSilent)),
                         kNameOfSetAndFault);

class LatePeerTest : public PeerFaultTest {};

TEST_P(LatePeerTest, LeavesTheDataAloneAndIsServed) {
  ASSERT_NO_FATAL_FAILURE(Start(Peers()));
  if (!AreNeededToMeasure()) {
    StartMeasuringUnheard();
    ASSERT_NO_FATAL_FAILURE(BeginWatch());
  }
  Pass(kAbsence);
  StartRemote(Peers());
  ExpectServedSoon();
  if (!AreNeededToMeasure())
    ExpectWatchedWell();
}

INSTANTIATE_TEST_SUITE_P(Faults, LatePeerTest,
                         Combine(ValuesIn(EachPeer()), testing::Values(Fault::kLate)),
                         kNameOfSetAndFault);

// Without any of them nothing is measured: they are late in this process, where they have something
// to say.
TEST_F(LatePeerTest, AllAtOnceAreServedAndMeasuredFor) {
  ASSERT_NO_FATAL_FAILURE(Start({louddesk::kAllPeers.begin(), louddesk::kAllPeers.end()}));
  Pass(kAbsence);
  const auto opening = std::chrono::steady_clock::now();
  mUnit.OpenAll();
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  EXPECT_TRUE(mUnit.NextHeartbeat(kPatience));
  ExpectLogLine("Connected to ipc");
  ExpectSoon(std::chrono::steady_clock::now() - opening);

  StartMeasuringUnheard();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  ExpectMeasures(-20);
  Pass(kAWhile);
  ExpectWatchedWell();
}

}  // namespace
