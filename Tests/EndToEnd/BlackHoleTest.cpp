// TCP links that are interrupted for a while without being closed.

#include <algorithm>

#include "LinkTest.h"
#include "MqLink.h"
#include "NetworkHole.h"

namespace {

using louddesk::Peer;

/// Event that coincides with the loss of packets.
enum class Occasion { kOrdinary, kStartOfTheService, kRestartOfThePeers };

struct HoleCase {
  const char* name;
  std::chrono::milliseconds length;
  Occasion occasion;
};

void PrintTo(const HoleCase& hole, std::ostream* stream) {
  *stream << hole.name;
}

/// A service whose packets to and from the TCP peers may be lost.
class LossTest : public LinkTest {
 protected:
  void SetUp() override {
    const std::string obstacle = NetworkHole::WhyNot();
    if (!obstacle.empty())
      GTEST_SKIP() << obstacle;
  }

  std::vector<std::string> TcpEndpoints() const {
    std::vector<std::string> endpoints;
    for (const Peer peer : kTcpPeers)
      endpoints.push_back(mUnit.EndpointOf(peer));
    return endpoints;
  }
};

class BlackHoleTest : public LossTest, public testing::WithParamInterface<HoleCase> {
 protected:
  /// Waits for the time of the interruption, with messages in every direction.
  void PassHole() {
    for (const Peer peer : kTcpPeers)
      if (peer != Peer::kHeartbeatReceiver)
        Say(peer, "HwmStatusOrRequest", "{}");
    CountedPeer& receiver = At(Peer::kHeartbeatReceiver);
    PollUntil([] { return false; }, kPeriod);
    receiver.Messages().clear();
    EXPECT_FALSE(PollUntil([&] { return !receiver.Messages().empty(); }, GetParam().length))
        << "a heartbeat came through the hole";
  }

  void OpenHoleAtTheStart() {
    OpenPeers(kEveryPeer);
    const NetworkHole hole(TcpEndpoints());
    StartProcess();
    ASSERT_TRUE(mService->WaitForLine("addQVAppserverMq local optkria", kPatience));
    PassHole();
    for (const Peer peer : kTcpPeers)
      EXPECT_EQ(0, At(peer).Connections()) << NameOf(peer);
  }

  void OpenHoleInTheMiddle() {
    const NetworkHole hole(TcpEndpoints());
    if (GetParam().occasion == Occasion::kRestartOfThePeers) {
      ClosePeers(kTcpPeers);
      OpenPeers(kTcpPeers);
    }
    PassHole();
  }
};

TEST_P(BlackHoleTest, PeersAreServedAfterIt) {
  const bool isAtTheStart = GetParam().occasion == Occasion::kStartOfTheService;
  if (isAtTheStart) {
    ASSERT_NO_FATAL_FAILURE(OpenHoleAtTheStart());
  } else {
    ASSERT_NO_FATAL_FAILURE(StartLinked());
    MarkCadence();
    OpenHoleInTheMiddle();
  }

  ExpectServed(kTcpPeers, Clock::now(), GetParam().name);

  if (isAtTheStart)
    ASSERT_NO_FATAL_FAILURE(StartReporting());
  else
    ExpectCadenceKept();
  ExpectOneAnswer();
  ExpectNothingHeardTwice();
  ExpectEachSubscriptionOncePerConnection();
}

/// Connections that stay dead, as after the restart of a router or firewall between the machines.
/// New connections work. TCP alone would keep the dead ones for a quarter of an hour.
class DeadConnectionTest : public LossTest {
 protected:
  /// The time after which a silent peer counts as gone.
  static constexpr std::chrono::milliseconds kNoticed{kMqHeartbeatPeriodMs + kMqHeartbeatTimeoutMs};
};

TEST_F(DeadConnectionTest, IsReplacedByOneOther) {
  ASSERT_NO_FATAL_FAILURE(StartLinked());
  MarkCadence();
  const NetworkHole hole(TcpEndpoints(), NetworkHole::Scope::kPresentConnections);

  ExpectServed(kTcpPeers, Clock::now(), "dead connections", kNoticed + kLenientReturn);

  ExpectCadenceKept();
  ExpectOneAnswer();
  ExpectNothingHeardTwice();
  ExpectEachSubscriptionOncePerConnection();
  for (const Peer peer : kTcpPeers) {
    EXPECT_EQ(2, At(peer).Connections()) << NameOf(peer);
    EXPECT_EQ(1u, PortsConnectedTo(mUnit.EndpointOf(peer)).size())
        << "connections of the service to the " << NameOf(peer);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Holes, BlackHoleTest,
    testing::Values(HoleCase{"OneSecond", std::chrono::milliseconds{1000}, Occasion::kOrdinary},
                    HoleCase{"TwoAndAHalfSeconds", std::chrono::milliseconds{2500},
                             Occasion::kOrdinary},
                    HoleCase{"SixSeconds", std::chrono::milliseconds{6000}, Occasion::kOrdinary},
                    HoleCase{"BeforeTheFirstConnection", std::chrono::milliseconds{2500},
                             Occasion::kStartOfTheService},
                    HoleCase{"ShortWithRestartOfThePeers", std::chrono::milliseconds{1000},
                             Occasion::kRestartOfThePeers},
                    HoleCase{"LongWithRestartOfThePeers", std::chrono::milliseconds{6000},
                             Occasion::kRestartOfThePeers}),
    [](const auto& test) { return test.param.name; });

}  // namespace
