// Peers that are absent for so long that queues fill up: a thousand heartbeats take a thousand
// seconds. Not daily tests; the label is `soak`.

#include "FaultyUnit.h"

namespace {

using louddesk::Peer;

constexpr std::chrono::milliseconds kLong = std::chrono::seconds{1100};

constexpr std::size_t kQueue = 1000;  // messages queued for a peer

constexpr char kFailedBeat[] = "\"Failed to send HB Topic.\"";

class SoakTest : public FaultyUnit {
 protected:
  const Peers mAllPeers{louddesk::kAllPeers.begin(), louddesk::kAllPeers.end()};
};

TEST_F(SoakTest, AbsentMonitorGetsTheBeatsThatWaitedAndFullQueueIsReportedOnceABeat) {
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kHeartbeatReceiver}));
  StartMeasuringWithoutConsole();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  Pass(kLong);
  const std::size_t failed = LinesOf(*mService, kFailedBeat);
  RecordFigure("beats_that_failed", static_cast<double>(failed));
  EXPECT_NEAR(static_cast<double>(kLong / std::chrono::seconds{1} - kQueue),
              static_cast<double>(failed), 10);

  StartRemote({Peer::kHeartbeatReceiver});
  ExpectServedSoon();
  Pass(std::chrono::seconds{3});
  const double beats = static_cast<double>(LinesOf(RemoteProcess(), "HeartbeatReceiver HbProc"));
  RecordFigure("beats_at_the_return", beats);
  EXPECT_GE(beats, kQueue);
  EXPECT_LE(beats, kQueue + 10);
  ExpectCadenceAndMemory();
}

TEST_F(SoakTest, ClientThatDoesNotReadGetsWhatFitsIntoItsQueue) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  StartRemoteClient();
  AwaitServed();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  StopRemote();
  const std::size_t before = RemoteProcess().LineCount();
  Pass(kLong);
  ContinueRemote();
  ExpectServedSoon();
  Pass(std::chrono::seconds{3});
  const double messages = static_cast<double>(RemoteProcess().LineCount() - before);
  RecordFigure("messages_at_the_return", messages);
  // The queues of both sides and the kernel's buffers between them.
  EXPECT_GE(messages, kQueue);
  EXPECT_LE(messages, 3 * kQueue);
  ExpectCadenceAndMemory();
}

TEST_F(SoakTest, AllPeersThatAreGoneAreServedAgain) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  StartRemote(mAllPeers);
  AwaitServed();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  KillRemote();
  Pass(kLong);
  StartRemote(mAllPeers);
  ExpectServedSoon();
  ExpectCadenceAndMemory();
}

TEST_F(SoakTest, AllPeersThatStoppedAreServedAgain) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  StartRemote(mAllPeers);
  AwaitServed();
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  StopRemote();
  Pass(kLong);
  ContinueRemote();
  ExpectServedSoon();
  ExpectCadenceAndMemory();
}

}  // namespace
