// Links that ZeroMQ abandons and links that it renews, over real sockets.

#include "MqLink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "CzmqFaults.h"
#include "MqSupport.h"
#include "MqTestKit.h"

namespace {

using faults::Call;

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kTopic[] = "Topic";

// A watched SUB socket, and a TCP endpoint with changing peers.
class MqLinkTest : public testing::Test {
 protected:
  void SetUp() override {
    mqtest::MakeIpcDirectory();
    ASSERT_TRUE(mWatch.Start(mSocket));
    MqPrepareLink(mSocket, true);
    zsock_set_subscribe(mSocket, kTopic);
  }

  void TearDown() override {
    mWatch.Stop();
    zsock_destroy(&mSocket);
    zsock_destroy(&mPeer);
  }

  // Closes the previous peer and binds a new one of this type to the endpoint. The first peer
  // chooses the port.
  void BindPeer(int type) {
    zsock_destroy(&mPeer);
    mPeer = zsock_new(type);
    if (mPort == 0)
      mPort = zsock_bind(mPeer, "tcp://127.0.0.1:*");
    else
      ASSERT_TRUE(
          TendUntil([this] { return zsock_bind(mPeer, "tcp://127.0.0.1:%d", mPort) == mPort; }));
    ASSERT_GT(mPort, 0);
    mEndpoint = "tcp://127.0.0.1:" + std::to_string(mPort);
  }

  void Connect() { ASSERT_EQ(zsock_connect(mSocket, "%s", mEndpoint.c_str()), 0); }

  // Tends the links until `condition` holds, as a loop does; false at the deadline.
  template <typename Condition>
  bool TendUntil(Condition condition) {
    const std::int64_t end = zclock_mono() + mqtest::kDeadlineMs;
    while (!condition()) {
      if (zclock_mono() > end)
        return false;
      mWatch.Tend([this](const char* endpoint) { mRenewed.emplace_back(endpoint); });
      // A loop polls its sockets, which is when they send their subscriptions to a new peer.
      mqtest::HasMessage(mSocket);
      zclock_sleep(10);
    }
    return true;
  }

  void TendFor(std::int64_t milliseconds) {
    const std::int64_t end = zclock_mono() + milliseconds;
    TendUntil([end] { return zclock_mono() >= end; });
  }

  // The next subscription that an XPUB peer gets, while the links are tended.
  std::string NextSubscription() {
    if (!TendUntil([this] { return mqtest::HasMessage(mPeer); }))
      return "none";
    return mqtest::Receive(mPeer).front();
  }

  zsock_t* mSocket = zsock_new(ZMQ_SUB);
  MqLinkWatch mWatch;
  zsock_t* mPeer = nullptr;
  int mPort = 0;
  std::string mEndpoint;
  std::vector<std::string> mRenewed;  // endpoints, in the order of their reports
};

const std::string kSubscription = std::string("\1") + kTopic;

// Each option covers a different case: a peer that no longer answers, a peer that never answered,
// and a dead connection that only the kernel notices.
TEST(MqPrepareLinkTest, VanishedPeersAreNoticedInSeveralWays) {
  for (const int type : {ZMQ_SUB, ZMQ_PUSH}) {
    for (const bool isOverTcp : {true, false}) {
      SCOPED_TRACE(testing::Message() << type << (isOverTcp ? " over TCP" : " over IPC"));
      zsock_t* socket = zsock_new(type);
      MqPrepareLink(socket, isOverTcp);
      EXPECT_EQ(zsock_heartbeat_ivl(socket), isOverTcp ? 1000 : 0);
      EXPECT_EQ(zsock_heartbeat_timeout(socket), 3000);
      EXPECT_EQ(zsock_connect_timeout(socket), 1000);
      EXPECT_EQ(zsock_handshake_ivl(socket), 3000);
      EXPECT_EQ(zsock_tcp_keepalive(socket), 1);
      EXPECT_EQ(zsock_tcp_keepalive_idle(socket), 5);
      EXPECT_EQ(zsock_tcp_keepalive_intvl(socket), 2);
      EXPECT_EQ(zsock_tcp_keepalive_cnt(socket), 3);
      zsock_destroy(&socket);
    }
  }
}

TEST_F(MqLinkTest, PeerOfTheWrongTypeDoesNotDeafenTheSocket) {
  BindPeer(ZMQ_PUSH);
  Connect();
  ASSERT_TRUE(TendUntil([this] { return !mRenewed.empty(); }));
  BindPeer(ZMQ_XPUB);
  EXPECT_EQ(NextSubscription(), kSubscription);
  mqtest::Send(mPeer, {kTopic, "data"});
  EXPECT_THAT(mqtest::Receive(mSocket), ElementsAre(kTopic, "data"));
}

TEST_F(MqLinkTest, LinkIsReportedOnceUntilItWorksAgain) {
  BindPeer(ZMQ_PUSH);
  Connect();
  TendFor(4 * kMqLostLinkPatienceMs);
  EXPECT_THAT(mRenewed, ElementsAre(mEndpoint));
  BindPeer(ZMQ_XPUB);
  ASSERT_EQ(NextSubscription(), kSubscription);
  TendFor(kMqGoodLinkMs);
  BindPeer(ZMQ_PUSH);
  EXPECT_TRUE(TendUntil([this] { return mRenewed.size() == 2; }));
}

TEST_F(MqLinkTest, FrameOverTheLargestSizeBreaksTheLinkForAMomentOnly) {
  BindPeer(ZMQ_XPUB);
  Connect();
  ASSERT_EQ(NextSubscription(), kSubscription);
  mqtest::Send(mPeer, {kTopic, std::string(kMqMaxFrameSize, 'x')});
  EXPECT_EQ(mqtest::Receive(mSocket).size(), 2u);
  mqtest::Send(mPeer, {kTopic, std::string(kMqMaxFrameSize + 1, 'x')});
  // The old connection's subscription ends, the new one's begins.
  EXPECT_EQ(NextSubscription(), std::string("\0", 1) + kTopic);
  EXPECT_EQ(NextSubscription(), kSubscription);
  mqtest::Send(mPeer, {kTopic, "data"});
  EXPECT_THAT(mqtest::Receive(mSocket), ElementsAre(kTopic, "data"));
  EXPECT_FALSE(mqtest::HasMessage(mSocket));
}

TEST_F(MqLinkTest, LinkThatBreaksAfterEveryHandshakeIsReportedOnce) {
  BindPeer(ZMQ_XPUB);
  Connect();
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(NextSubscription(), kSubscription);
    mqtest::Send(mPeer, {kTopic, std::string(kMqMaxFrameSize + 1, 'x')});
    ASSERT_EQ(NextSubscription(), std::string("\0", 1) + kTopic);
  }
  ASSERT_EQ(NextSubscription(), kSubscription);
  EXPECT_THAT(mRenewed, ElementsAre(mEndpoint));
}

TEST_F(MqLinkTest, LinksThatAreLostTogetherAllComeBack) {
  constexpr int kLinks = 4;
  std::vector<zsock_t*> peers(kLinks);
  std::vector<int> ports(kLinks, 0);
  const auto bindAll = [&](int type) {
    for (std::size_t i = 0; i < peers.size(); ++i) {
      zsock_destroy(&peers[i]);
      peers[i] = zsock_new(type);
      const std::string port = ports[i] == 0 ? "*" : std::to_string(ports[i]);
      ASSERT_TRUE(TendUntil([&] {
        const int bound = zsock_bind(peers[i], "tcp://127.0.0.1:%s", port.c_str());
        ports[i] = bound == -1 ? ports[i] : bound;
        return bound != -1;
      }));
    }
  };
  const auto allSubscribed = [&] {
    return std::all_of(peers.begin(), peers.end(), mqtest::HasMessage);
  };
  bindAll(ZMQ_XPUB);
  for (const int port : ports)
    zsock_connect(mSocket, "tcp://127.0.0.1:%d", port);
  ASSERT_TRUE(TendUntil(allSubscribed));

  bindAll(ZMQ_PUSH);
  TendFor(6 * kMqLostLinkPatienceMs);
  bindAll(ZMQ_XPUB);

  EXPECT_TRUE(TendUntil(allSubscribed));
  for (zsock_t* peer : peers)
    zsock_destroy(&peer);
}

TEST_F(MqLinkTest, PeersThatComeAndGoAreLeftToTheLibrary) {
  BindPeer(ZMQ_XPUB);
  Connect();
  ASSERT_EQ(NextSubscription(), kSubscription);
  zsock_destroy(&mPeer);
  TendFor(2 * kMqLostLinkPatienceMs);
  BindPeer(ZMQ_XPUB);
  EXPECT_EQ(NextSubscription(), kSubscription);
  TendFor(2 * kMqLostLinkPatienceMs);
  EXPECT_FALSE(mqtest::HasMessage(mPeer));  // no second connection
  EXPECT_THAT(mRenewed, IsEmpty());
}

TEST_F(MqLinkTest, AbsentPeerIsNotABrokenLink) {
  BindPeer(ZMQ_XPUB);
  zsock_destroy(&mPeer);
  Connect();
  TendFor(3 * kMqLostLinkPatienceMs);
  EXPECT_THAT(mRenewed, IsEmpty());
}

TEST_F(MqLinkTest, QuietPeerIsNotABrokenLink) {
  BindPeer(ZMQ_XPUB);
  Connect();
  ASSERT_EQ(NextSubscription(), kSubscription);
  TendFor(kMqHeartbeatPeriodMs + kMqHeartbeatTimeoutMs + 1000);
  EXPECT_FALSE(mqtest::HasMessage(mPeer));
  EXPECT_THAT(mRenewed, IsEmpty());
}

TEST_F(MqLinkTest, OtherLinksOfTheSocketAreLeftAlone) {
  BindPeer(ZMQ_XPUB);
  Connect();
  ASSERT_EQ(NextSubscription(), kSubscription);
  zsock_t* wrong = zsock_new(ZMQ_PUSH);
  const int port = zsock_bind(wrong, "tcp://127.0.0.1:*");
  ASSERT_EQ(zsock_connect(mSocket, "tcp://127.0.0.1:%d", port), 0);
  TendFor(3 * kMqLostLinkPatienceMs);
  EXPECT_THAT(mRenewed, ElementsAre("tcp://127.0.0.1:" + std::to_string(port)));
  EXPECT_FALSE(mqtest::HasMessage(mPeer));
  mqtest::Send(mPeer, {kTopic});
  EXPECT_THAT(mqtest::Receive(mSocket), ElementsAre(kTopic));
  zsock_destroy(&wrong);
}

TEST_F(MqLinkTest, SignalsDoNotStopTheWatch) {
  // A signal in the middle of an event, before an event, and in the query for messages.
  for (const auto& [call, nth] :
       {std::pair(Call::EventReceive, 2), {Call::EventReceive, 1}, {Call::AskEvents, 1}}) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(call) << ", " << nth);
    mRenewed.clear();
    faults::Reset();
    faults::Fail(Call::Monitor, 2, EINTR);  // the first call ends the previous watch
    ASSERT_TRUE(mWatch.Start(mSocket));
    BindPeer(ZMQ_PUSH);
    Connect();
    EXPECT_TRUE(TendUntil([this, call = call, nth = nth] {
      faults::Fail(call, nth, EINTR);
      return !mRenewed.empty();
    }));
    faults::Reset();
    ASSERT_EQ(zsock_disconnect(mSocket, "%s", mEndpoint.c_str()), 0);
  }
}

TEST_F(MqLinkTest, SignalDoesNotMakeTheSocketLookIdle) {
  BindPeer(ZMQ_XPUB);
  Connect();
  ASSERT_EQ(NextSubscription(), kSubscription);
  mqtest::Send(mPeer, {kTopic, "data"});
  ASSERT_TRUE(mqtest::AwaitMessage(mSocket));
  mqtest::Send(mPeer, {kTopic, std::string(kMqMaxFrameSize + 1, 'x')});
  const std::int64_t end = zclock_mono() + 3 * kMqLostLinkPatienceMs;
  TendUntil([end] {
    faults::Fail(Call::AskEvents, 1, EINTR);
    return zclock_mono() >= end;
  });
  faults::Reset();
  EXPECT_THAT(mRenewed, IsEmpty());
  EXPECT_THAT(mqtest::Receive(mSocket), ElementsAre(kTopic, "data"));
}

TEST_F(MqLinkTest, TakingNoteRenewsNothing) {
  BindPeer(ZMQ_PUSH);
  Connect();
  const std::int64_t end = zclock_mono() + 2 * kMqLostLinkPatienceMs;
  while (zclock_mono() < end)
    mWatch.TakeNote();
  // A link that has been lost for long enough is renewed at once.
  mWatch.Tend([this](const char* endpoint) { mRenewed.emplace_back(endpoint); });
  EXPECT_THAT(mRenewed, ElementsAre(mEndpoint));
}

TEST_F(MqLinkTest, PollSeesThatThereIsSomethingToTakeNoteOf) {
  zmq_pollitem_t item = mWatch.PollItem();
  ASSERT_NE(item.fd, kMqNoDescriptor);
  mWatch.TakeNote();
  EXPECT_EQ(zmq_poll(&item, 1, 0), 0);
  BindPeer(ZMQ_XPUB);
  Connect();
  EXPECT_EQ(zmq_poll(&item, 1, mqtest::kDeadlineMs), 1);
  mWatch.Stop();
  EXPECT_EQ(mWatch.PollItem().fd, kMqNoDescriptor);
  mWatch.TakeNote();
}

TEST_F(MqLinkTest, WatchThatHasBeenStoppedDoesNothing) {
  BindPeer(ZMQ_PUSH);
  Connect();
  mWatch.Stop();
  TendFor(2 * kMqLostLinkPatienceMs);
  EXPECT_THAT(mRenewed, IsEmpty());
  mWatch.Stop();
}

TEST_F(MqLinkTest, WatchCanBeHandedOn) {
  MqLinkWatch first;
  zsock_t* socket = zsock_new(ZMQ_SUB);
  ASSERT_TRUE(first.Start(socket));
  mWatch = std::move(first);
  BindPeer(ZMQ_PUSH);
  ASSERT_EQ(zsock_connect(socket, "%s", mEndpoint.c_str()), 0);
  EXPECT_TRUE(TendUntil([this] { return !mRenewed.empty(); }));
  mWatch.Stop();
  first.Stop();
  zsock_destroy(&socket);
}

}  // namespace
