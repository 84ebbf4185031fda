// Peers that work but send nothing.

#include "LinkTest.h"

namespace {

/// Longer than every time-out of a link together: heartbeat 1 s and 3 s, handshake 3 s.
constexpr std::chrono::milliseconds kSilence{8000};

class QuietPeerTest : public LinkTest {};

TEST_F(QuietPeerTest, IsNeverDisconnectedAndHeardAtOnceAfterIt) {
  ASSERT_NO_FATAL_FAILURE(StartLinked());
  const auto isAnyLost = [this] {
    for (const louddesk::Peer peer : kEveryPeer)
      if (At(peer).Losses() > 0)
        return true;
    return false;
  };
  MarkCadence();

  EXPECT_FALSE(PollUntil(isAnyLost, kSilence));

  ExpectCadenceKept();
  ExpectOneAnswer();
  ExpectServed(kEveryPeer, Clock::now(), "after the silence");
  ExpectOneConnectionEach(kEveryPeer);
}

}  // namespace
