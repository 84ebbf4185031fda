// Links to peers that collect messages: ownership and lifetime of the socket.

#include "MqPushLink.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

const MqEndpoint kNobody = MqEndpoint::Tcp("127.0.0.1", 9);

class MqPushLinkTest : public testing::Test {
 protected:
  zsock_t* socket_ = nullptr;
  MqPushLink link_{socket_};
};

TEST_F(MqPushLinkTest, AConnectedSocketStandsInTheOwnersField) {
  MqSockOwner socket = MqPushLink::NewSocket(kNobody);
  const zsock_t* const made = socket.get();
  EXPECT_TRUE(link_.Connect(std::move(socket), kNobody));
  EXPECT_EQ(made, socket_);
  EXPECT_EQ(ZMQ_PUSH, zsock_type(socket_));
}

TEST_F(MqPushLinkTest, ASendNeverWaits) {
  EXPECT_EQ(0, zsock_sndtimeo(MqPushLink::NewSocket(kNobody).get()));
}

TEST_F(MqPushLinkTest, OnlyAPeerOnTheNetworkIsAskedForSignsOfLife) {
  EXPECT_EQ(kMqHeartbeatPeriodMs, zsock_heartbeat_ivl(MqPushLink::NewSocket(kNobody).get()));
  EXPECT_EQ(0, zsock_heartbeat_ivl(MqPushLink::NewSocket(MqEndpoint::Ipc("nobody.ipc")).get()));
}

TEST_F(MqPushLinkTest, ARefusedConnectionLeavesNoSocket) {
  const MqEndpoint impossible = MqEndpoint::Tcp("no address", 9);
  EXPECT_FALSE(link_.Connect(MqPushLink::NewSocket(impossible), impossible));
  EXPECT_EQ(nullptr, socket_);
}

TEST_F(MqPushLinkTest, AClosedLinkHasNoSocketAndCanConnectAgain) {
  ASSERT_TRUE(link_.Connect(MqPushLink::NewSocket(kNobody), kNobody));
  link_.Close();
  EXPECT_EQ(nullptr, socket_);
  EXPECT_TRUE(link_.Connect(MqPushLink::NewSocket(kNobody), kNobody));
}

TEST(MqPushLinkEndTest, ALinkThatGoesTakesItsSocketWithIt) {
  zsock_t* socket = nullptr;
  {
    MqPushLink link{socket};
    ASSERT_TRUE(link.Connect(MqPushLink::NewSocket(kNobody), kNobody));
  }
  EXPECT_EQ(nullptr, socket);
}

}  // namespace
