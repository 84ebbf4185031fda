// Peers, clients and the service itself end and return.

#include "WatchedService.h"

namespace {

using louddesk::Peer;
using testing::ElementsAre;
using testing::Optional;

constexpr char kBeat[] = R"({"HbKey":"QvOptLuCal1","Version":"Telvon8-v1.9.3","State":1})";

const char* NameOf(Peer peer) {
  switch (peer) {
    case Peer::kHeartbeatReceiver:
      return "HeartbeatReceiver";
    case Peer::kProcessMonitor:
      return "ProcessMonitor";
    case Peer::kHardwareManager:
      return "HardwareManager";
    case Peer::kMainAppServer:
      return "MainAppServer";
    case Peer::kOpticalAppServer:
      return "OpticalAppServer";
    case Peer::kSignalProcessor:
      return "SignalProcessor";
    case Peer::kLogSink:
      break;
  }
  return "LogSink";
}

/// A service whose peers come and go.
class PeerRestartTest : public WatchedService {
 protected:
  /// Expects that the service and the peer receive from each other.
  void ExpectConnected(Peer peer) {
    SCOPED_TRACE(NameOf(peer));
    switch (peer) {
      case Peer::kHeartbeatReceiver:
        return ExpectBeats();
      case Peer::kProcessMonitor:
        return ExpectLine(peer, "HbSysStatusEvent", R"({"SystemStatus":"Okay"})",
                          "\"Got System status Okay 1.\"");
      case Peer::kHardwareManager:
        return ExpectLine(peer, "HwmStatusOrRequest?", "{}",
                          "\"Topic HwmStatusOrRequest? not handled\"");
      case Peer::kMainAppServer:
        SendCommand("Play");
        return ExpectAcknowledgement("Play");
      case Peer::kOpticalAppServer:
        return EnableReporting();
      case Peer::kSignalProcessor:
        return ExpectMeasures(mLevel -= 3);
      case Peer::kLogSink:
        return ExpectLogLines();
    }
  }

  /// Starts the service again after its end and expects that each of the peers is connected.
  void ExpectSuccessorServesEveryPeer() {
    ASSERT_NO_FATAL_FAILURE(StartAgain());
    StartMeasuring();
    for (const Peer peer : louddesk::kAllPeers)
      ExpectConnected(peer);
  }

 private:
  void ExpectBeats() {
    mUnit.DropHeartbeats();
    EXPECT_THAT(mUnit.NextHeartbeat(kPatience), Optional(ElementsAre("HbProc", kBeat)));
  }

  void ExpectLine(Peer peer, const std::string& topic, const std::string& payload,
                  const std::string& line) {
    const std::size_t before = mService->LineCount();
    mUnit.SendText(peer, topic, payload);
    EXPECT_TRUE(mService->WaitForLine(line, kPatience, before)) << line;
  }

  // Expects log lines to arrive. One line may be lost together with its connection.
  void ExpectLogLines() {
    const std::string topic = "AppLoudnessCmd" + std::to_string(++mTopics) + ".";
    for (int i = 0; i < 100; ++i) {
      mUnit.SendText(Peer::kMainAppServer, topic, std::string("{}"));
      while (const auto line = mUnit.NextLogLine(kPeriod))
        if (line->message.find(topic) != std::string::npos)
          return;
    }
    ADD_FAILURE() << "no line about " << topic;
  }

  double mLevel = -17;  // level of the last blocks, LKFS
  int mTopics = 0;      // topics used so far
};

TEST_F(PeerRestartTest, AllPeersAreHeardAgainAfterEachRestart) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  for (int i = 0; i < 3; ++i) {
    MarkCadence();
    for (const Peer peer : louddesk::kAllPeers)
      mUnit.Close(peer);
    ExpectCadenceKept();
    mUnit.OpenAll();
    ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
    for (const Peer peer : louddesk::kAllPeers)
      ExpectConnected(peer);
  }
}

TEST_F(PeerRestartTest, AllPeersMayComeAfterTheService) {
  StartProcess();
  EXPECT_TRUE(mService->WaitForLine("addQVAppserverMq local optkria", kPatience));
  mUnit.OpenAll();
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  StartMeasuring();
  for (const Peer peer : louddesk::kAllPeers)
    ExpectConnected(peer);
}

TEST_F(PeerRestartTest, ClientOfTheDataMayComeLate) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  louddesk::DataClient late("ProbeLc1LoudnessDataPub-m1c1.ipc");
  EXPECT_TRUE(mUnit.WaitFor(
      [&late] {
        late.ReadPending();
        return late.Messages().size() >= 3;
      },
      kPatience));
  for (const louddesk::Arrival& arrival : late.Messages())
    EXPECT_TRUE(louddesk::DecodeLoudnessMessage(arrival).wellFormed);
}

TEST_F(PeerRestartTest, ServiceThatIsStartedAgainIsHeardByEveryPeer) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  ExpectCleanEnd(SIGTERM);
  ExpectSuccessorServesEveryPeer();
}

TEST_F(PeerRestartTest, KilledServiceIsReplacedByItsSuccessor) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  mService->Signal(SIGKILL);
  ASSERT_TRUE(mService->WaitForExit(kPatience));
  ExpectSuccessorServesEveryPeer();
}

}  // namespace
