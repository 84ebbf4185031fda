// Publisher sockets: binding, the two kinds of messages, and the state after failures.

#include "MqPubHandler.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "CzmqFaults.h"
#include "MqListener.h"
#include "MqTestKit.h"
#include "SignalStorm.h"

namespace {

using faults::Call;
using mqtest::Frames;
using mqtest::IpcEndpoint;
using mqtest::Printed;
using mqtest::Subscriber;

constexpr char kUnit[] = "MqPubHandler";
constexpr char kIpcName[] = "mqPubHandlerTest.ipc";
constexpr char kLocalHost[] = "127.0.0.1";

// A TCP port that was free a moment ago. Found with a plain socket, which releases the port as soon
// as it is closed.
std::uint32_t FreePort() {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(0, bind(socket, generic, size));
  EXPECT_EQ(0, getsockname(socket, generic, &size));
  close(socket);
  return ntohs(address.sin_port);
}

class MqPubHandlerTest : public testing::Test {
 protected:
  MqPubHandlerTest() {
    mqtest::MakeIpcDirectory();
    faults::Reset();
  }

  ~MqPubHandlerTest() override { handler_.DestroyMq(socket_); }

  MqSock_t* BindIpc(MqSock_t* existing = nullptr) {
    return handler_.BindMqOverIpc(kIpcName, existing);
  }

  // A bind that the library refuses.
  MqSock_t* BindTooLongName(MqSock_t* existing) {
    return handler_.BindMqOverIpc(mqtest::TooLongIpcName().c_str(), existing);
  }

  // A bound socket and a subscriber that gets everything sent on it.
  Subscriber Subscribe() {
    socket_ = BindIpc();
    return {socket_, IpcEndpoint(kIpcName)};
  }

  MqPubHandler handler_;
  MqSock_t* socket_ = nullptr;
  mqtest::Console console_;
};

// ----- binding

TEST_F(MqPubHandlerTest, IpcBindMakesAPublisherAtTheUnitsDirectory) {
  socket_ = BindIpc();
  ASSERT_NE(nullptr, socket_);
  EXPECT_EQ(ZMQ_PUB, zsock_type(socket_));
  EXPECT_STREQ("ipc:///run/shm/mq/mqPubHandlerTest.ipc", zsock_endpoint(socket_));
  EXPECT_THAT(console_.Output(),
              Printed(kUnit, "\"Tryig to bind ipc:///run/shm/mq/mqPubHandlerTest.ipc\""));
  EXPECT_THAT(console_.Output(),
              Printed(kUnit, "\"Bound to ipc:///run/shm/mq/mqPubHandlerTest.ipc\""));
  EXPECT_EQ("", console_.Errors());
}

TEST_F(MqPubHandlerTest, TcpBindMakesAPublisherAtThePort) {
  const std::uint32_t port = FreePort();
  const std::string endpoint = "tcp://127.0.0.1:" + std::to_string(port);
  socket_ = handler_.BindMqOverTcp(kLocalHost, port, nullptr);
  ASSERT_NE(nullptr, socket_);
  EXPECT_EQ(ZMQ_PUB, zsock_type(socket_));
  EXPECT_EQ(endpoint, zsock_endpoint(socket_));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Tryig to bind " + endpoint + "\""));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Bound to " + endpoint + "\""));
  Subscriber subscriber(socket_, endpoint);
  ASSERT_TRUE(subscriber.IsConnected());
  handler_.SendUint32(socket_, "Number", 1);
  EXPECT_EQ("Number", subscriber.Next()[0]);
}

TEST_F(MqPubHandlerTest, ExistingSocketIsBoundAndReturned) {
  socket_ = handler_.GetNewSock(ZMQ_XPUB);
  EXPECT_EQ(socket_, BindIpc(socket_));
  EXPECT_EQ(socket_, handler_.BindMqOverTcp(kLocalHost, FreePort(), socket_));
  EXPECT_EQ(ZMQ_XPUB, zsock_type(socket_));
}

// Waits until the library reports a closed connection of `socket`.
bool AwaitDisconnection(zactor_t* monitor) {
  zsock_set_rcvtimeo(zactor_sock(monitor), mqtest::kDeadlineMs);
  char* event = zstr_recv(monitor);
  const bool isClosed = event != nullptr && std::strcmp(event, "DISCONNECTED") == 0;
  zstr_free(&event);
  return isClosed;
}

TEST_F(MqPubHandlerTest, ClientWhoseTopicNoMessageCouldHaveIsDropped) {
  Subscriber other = Subscribe();
  zsock_t* client = zsock_new(ZMQ_SUB);
  zactor_t* monitor = zactor_new(zmonitor, client);
  zstr_sendx(monitor, "LISTEN", "DISCONNECTED", nullptr);
  zstr_send(monitor, "START");
  zsock_wait(monitor);
  zsock_set_subscribe(client, std::string(kMqLongestSubscription + 1, 'x').c_str());
  ASSERT_EQ(0, zsock_connect(client, "%s", IpcEndpoint(kIpcName).c_str()));
  EXPECT_TRUE(AwaitDisconnection(monitor));
  EXPECT_TRUE(handler_.SendJson(socket_, "Topic", "{}"));
  EXPECT_EQ((Frames{"Topic", "{}"}), other.Next());
  zactor_destroy(&monitor);
  zsock_destroy(&client);
}

TEST_F(MqPubHandlerTest, SocketThatCannotTellItsClientsApartIsNotBound) {
  faults::Reset();
  socket_ = BindIpc();
  const int options = faults::Count(Call::SetOption);  // for a socket without restrictions
  handler_.DestroyMq(socket_);
  MqAdmitOnly({{1}, {2}});
  for (const int filter : {1, 2}) {
    faults::Reset();
    faults::Fail(Call::SetOption, options + filter, EINVAL);
    EXPECT_EQ(nullptr, BindIpc());
    EXPECT_EQ(0, faults::Count(Call::Bind));
    EXPECT_EQ(1, faults::Count(Call::SockDestroy));
  }
  EXPECT_THAT(console_.Output(),
              Printed(kUnit, "\"Failed to bind to " + IpcEndpoint(kIpcName) + "\""));
}

TEST_F(MqPubHandlerTest, BindWithoutNameAddressOrPortDoesNothing) {
  EXPECT_EQ(nullptr, handler_.BindMqOverIpc(nullptr, nullptr));
  EXPECT_EQ(nullptr, handler_.BindMqOverTcp(nullptr, 7000, nullptr));
  EXPECT_EQ(nullptr, handler_.BindMqOverTcp(kLocalHost, 0, nullptr));
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  faults::Reset();
  EXPECT_EQ(nullptr, handler_.BindMqOverIpc(nullptr, socket_));
  EXPECT_EQ(nullptr, handler_.BindMqOverTcp(kLocalHost, 0, socket_));
  EXPECT_EQ(0, faults::Count(Call::SockNew));
  EXPECT_EQ(0, faults::Count(Call::Bind));
  EXPECT_EQ(0, faults::Count(Call::SockDestroy));
  EXPECT_EQ("", console_.Output());
}

TEST_F(MqPubHandlerTest, UdpAlwaysFails) {
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  faults::Reset();
  EXPECT_EQ(nullptr, handler_.BindMqOverUdp(kLocalHost, 7000, nullptr));
  EXPECT_EQ(nullptr, handler_.BindMqOverUdp(kLocalHost, 7000, socket_));
  EXPECT_EQ(0, faults::Count(Call::SockNew));
  EXPECT_EQ(0, faults::Count(Call::SockDestroy));
}

TEST_F(MqPubHandlerTest, FailedBindDestroysTheSocketMadeForIt) {
  EXPECT_EQ(nullptr, BindTooLongName(nullptr));
  EXPECT_EQ(1, faults::Count(Call::SockNew));
  EXPECT_EQ(1, faults::Count(Call::SockDestroy));
  const std::string endpoint = IpcEndpoint(mqtest::TooLongIpcName());
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Tryig to bind " + endpoint + "\""));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Failed to bind to " + endpoint + "\""));
}

TEST_F(MqPubHandlerTest, FailedTcpBindIsReported) {
  const std::uint32_t port = FreePort();
  const std::string endpoint = "tcp://127.0.0.1:" + std::to_string(port);
  socket_ = handler_.BindMqOverTcp(kLocalHost, port, nullptr);
  EXPECT_EQ(nullptr, handler_.BindMqOverTcp(kLocalHost, port, nullptr));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Failed to bind to " + endpoint + "\""));
}

TEST_F(MqPubHandlerTest, FailedBindLeavesAnExistingSocketUsable) {
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  EXPECT_EQ(nullptr, BindTooLongName(socket_));
  EXPECT_EQ(nullptr, handler_.BindMqOverTcp("no address", 7000, socket_));
  EXPECT_EQ(0, faults::Count(Call::SockDestroy));
  ASSERT_EQ(socket_, BindIpc(socket_));
  Subscriber subscriber(socket_, IpcEndpoint(kIpcName));
  EXPECT_TRUE(subscriber.IsConnected());
}

TEST_F(MqPubHandlerTest, SocketThatCannotBeMadeIsReported) {
  faults::Fail(Call::SockNew);
  EXPECT_EQ(nullptr, BindIpc());
  faults::Fail(Call::SockNew);
  EXPECT_EQ(nullptr, handler_.BindMqOverTcp(kLocalHost, 7000, nullptr));
  EXPECT_EQ(0, faults::Count(Call::Bind));
  EXPECT_THAT(console_.Output(),
              Printed(kUnit, "\"zsock_new failed ipc:///run/shm/mq/mqPubHandlerTest.ipc\""));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"zsock_new failed tcp://127.0.0.1:7000\""));
  EXPECT_THAT(console_.Output(), testing::Not(testing::HasSubstr("Tryig")));
}

TEST_F(MqPubHandlerTest, ExceptionsEndInTheLogAndLeaveNoSocket) {
  for (const Call call : {Call::SockNew, Call::Bind}) {
    faults::ThrowBadAlloc(call);
    EXPECT_EQ(nullptr, BindIpc());
    faults::ThrowRuntimeError(call);
    EXPECT_EQ(nullptr, handler_.BindMqOverTcp(kLocalHost, 7000, nullptr));
  }
  EXPECT_EQ(2, faults::Count(Call::Bind));
  EXPECT_EQ(2, faults::Count(Call::SockDestroy));  // the sockets whose bind threw
  const std::string badAlloc = "\"Exception Bad alloc std::bad_alloc\"";
  const std::string other = "\"Exception provoked by the test\"";
  EXPECT_THAT(console_.Output(), Printed(kUnit, badAlloc));
  EXPECT_EQ(2u, mqtest::Occurrences(console_.Output(), badAlloc));
  EXPECT_THAT(console_.Output(), Printed(kUnit, other));
  EXPECT_EQ(2u, mqtest::Occurrences(console_.Output(), other));
}

TEST_F(MqPubHandlerTest, ExceptionLeavesAnExistingSocketAlive) {
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  faults::ThrowBadAlloc(Call::Bind);
  EXPECT_EQ(nullptr, BindIpc(socket_));
  EXPECT_EQ(0, faults::Count(Call::SockDestroy));
  EXPECT_EQ(socket_, BindIpc(socket_));
}

TEST_F(MqPubHandlerTest, EndpointIsNotAFormat) {
  constexpr char kName[] = "mqPubHandlerTest%s%d%n.ipc";
  socket_ = handler_.BindMqOverIpc(kName, nullptr);
  ASSERT_NE(nullptr, socket_);
  EXPECT_EQ(IpcEndpoint(kName), zsock_endpoint(socket_));
}

// ----- destruction

TEST_F(MqPubHandlerTest, DestructionEmptiesTheHandle) {
  socket_ = BindIpc();
  const void* destroyed = socket_;
  handler_.DestroyMq(socket_);
  EXPECT_EQ(nullptr, socket_);
  EXPECT_EQ(std::vector<const void*>{destroyed}, faults::Destroyed());
}

TEST_F(MqPubHandlerTest, DestructionOfAnEmptyHandleDoesNothing) {
  handler_.DestroyMq(socket_);
  EXPECT_EQ(nullptr, socket_);
  EXPECT_EQ(0, faults::Count(Call::SockDestroy));
}

// ----- JSON messages

TEST_F(MqPubHandlerTest, JsonMessageHasTopicAndText) {
  const std::string json = "{\"Command\":\"START\",\"Name\":\"100 %s\"}";
  Subscriber subscriber = Subscribe();
  ASSERT_TRUE(subscriber.IsConnected());
  EXPECT_TRUE(handler_.SendJson(socket_, "Topic-1", json.c_str()));
  EXPECT_EQ((Frames{"Topic-1", json}), subscriber.Next());
}

TEST_F(MqPubHandlerTest, EmptyTextsAreSentAsEmptyFrames) {
  Subscriber subscriber = Subscribe();
  EXPECT_TRUE(handler_.SendJson(socket_, "", "{}"));
  EXPECT_EQ((Frames{"", "{}"}), subscriber.Next());
  EXPECT_TRUE(handler_.SendJson(socket_, "Topic", ""));
  EXPECT_EQ((Frames{"Topic", ""}), subscriber.Next());
}

TEST_F(MqPubHandlerTest, JsonMessageWithAnythingMissingIsRefusedSilently) {
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  EXPECT_FALSE(handler_.SendJson(nullptr, "Topic", "{}"));
  EXPECT_FALSE(handler_.SendJson(socket_, nullptr, "{}"));
  EXPECT_FALSE(handler_.SendJson(socket_, "Topic", nullptr));
  EXPECT_EQ(0, faults::Count(Call::SendPart));
  EXPECT_EQ("", console_.Output());
}

TEST_F(MqPubHandlerTest, RefusedTopicIsReportedAndItsTextNotSent) {
  socket_ = handler_.GetNewSock(ZMQ_SUB);  // such a socket cannot send
  EXPECT_FALSE(handler_.SendJson(socket_, "Topic", "{}"));
  EXPECT_EQ(1, faults::Count(Call::SendPart));
  EXPECT_EQ(0, faults::Count(Call::SendLast));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Failed to published: Topic/{}\""));
}

TEST_F(MqPubHandlerTest, RefusedTextIsReported) {
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  faults::Fail(Call::SendLast);
  EXPECT_FALSE(handler_.SendJson(socket_, "Topic", "{}"));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Failed to published: Topic/{}\""));
}

TEST_F(MqPubHandlerTest, StormOfSignalsLosesNoFrameOfAJsonMessage) {
  Subscriber subscriber = Subscribe();
  SendUnderStorm(
      socket_, [&] { EXPECT_TRUE(handler_.SendJson(socket_, "Topic", "{}")); },
      [&] {
        EXPECT_EQ((Frames{"Topic", "{}"}), subscriber.Next());
      });
}

TEST_F(MqPubHandlerTest, SignalAtAnyFrameLosesNone) {
  Subscriber subscriber = Subscribe();
  for (const Call call : {Call::SendPart, Call::SendLast}) {
    faults::Fail(call, 1, EINTR);
    EXPECT_TRUE(handler_.SendJson(socket_, "Topic", "{}"));
    EXPECT_EQ((Frames{"Topic", "{}"}), subscriber.Next());
  }
  faults::Fail(Call::SendPicture, 1, EINTR);
  EXPECT_TRUE(handler_.SendUint32(socket_, "Number", 0));
  EXPECT_EQ((Frames{"Number", std::string(4, '\0')}), subscriber.Next());
}

// ----- number messages

TEST_F(MqPubHandlerTest, NumberMessageHasTopicAndFourBytes) {
  Subscriber subscriber = Subscribe();
  for (const std::uint32_t value : {0u, 1u, 0x01020304u, 0xffffffffu}) {
    EXPECT_TRUE(handler_.SendUint32(socket_, "Number", value));
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    EXPECT_EQ((Frames{"Number", std::string(bytes, sizeof bytes)}), subscriber.Next()) << value;
  }
}

TEST_F(MqPubHandlerTest, NumberZeroIsFourBytesOfZero) {
  Subscriber subscriber = Subscribe();
  handler_.SendUint32(socket_, "", 0);
  EXPECT_EQ((Frames{"", std::string("\0\0\0\0", 4)}), subscriber.Next());
}

TEST_F(MqPubHandlerTest, StormOfSignalsLosesNoFrameOfANumberMessage) {
  Subscriber subscriber = Subscribe();
  SendUnderStorm(
      socket_, [&] { EXPECT_TRUE(handler_.SendUint32(socket_, "Number", 0)); },
      [&] {
        EXPECT_EQ((Frames{"Number", std::string(4, '\0')}), subscriber.Next());
      });
}

TEST_F(MqPubHandlerTest, NumberMessageWithAnythingMissingIsRefusedSilently) {
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  EXPECT_FALSE(handler_.SendUint32(nullptr, "Topic", 1));
  EXPECT_FALSE(handler_.SendUint32(socket_, nullptr, 1));
  EXPECT_EQ(0, faults::Count(Call::SendPicture));
  EXPECT_EQ("", console_.Output());
}

TEST_F(MqPubHandlerTest, RefusedNumberIsReported) {
  socket_ = handler_.GetNewSock(ZMQ_PUB);
  faults::Fail(Call::SendPicture);
  EXPECT_FALSE(handler_.SendUint32(socket_, "Topic", 4294967295u));
  EXPECT_THAT(console_.Output(), Printed(kUnit, "\"Failed to published: Topic/4294967295\""));
}

// ----- the rest

TEST_F(MqPubHandlerTest, NewSocketHasTheTypeAskedFor) {
  for (const int type : {ZMQ_PUB, ZMQ_SUB, ZMQ_PUSH}) {
    socket_ = handler_.GetNewSock(type);
    EXPECT_EQ(type, zsock_type(socket_));
    handler_.DestroyMq(socket_);
  }
}

TEST_F(MqPubHandlerTest, NumbersAreKept) {
  EXPECT_EQ(-1, handler_.GetSlot());
  handler_.SetSlot(1);
  handler_.SetProbeId(-7);
  EXPECT_EQ(1, handler_.GetSlot());
  EXPECT_EQ(1, handler_.miSlot);
  EXPECT_EQ(-7, handler_.GetProbeId());
  EXPECT_EQ(-7, handler_.miProbeId);
}

}  // namespace
