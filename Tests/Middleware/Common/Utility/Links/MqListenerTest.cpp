// Limits on what clients can send to a bound socket.

#include "MqListener.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "MqTestKit.h"
#include "Zmtp.h"

namespace {

constexpr char kFile[] = "mqListenerTest.ipc";

// The longest topic of a client that puts only one byte before it, as libzmq did before 4.3.3.
constexpr std::size_t kLongestOfOlderClients = kMqMaxClientFrameSize - 1;

// A client that uses the library.
class Client {
 public:
  explicit Client(const std::string& topic) : socket_(zsock_new(ZMQ_SUB)) {
    zsock_set_subscribe(socket_, topic.c_str());
    zsock_connect(socket_, "%s", mqtest::IpcEndpoint(kFile).c_str());
  }
  ~Client() { zsock_destroy(&socket_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

 private:
  zsock_t* socket_;
};

// A client that speaks ZMTP 3.0.
class OlderClient {
 public:
  OlderClient() : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = mqtest::IpcEndpoint(kFile).substr(sizeof "ipc://" - 1);
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    const timeval patience = {mqtest::kDeadlineMs / 1000, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    Say(zmtp::Greeting() + zmtp::Ready("SUB"));
    EXPECT_TRUE(Hears(zmtp::kGreetingSize + zmtp::Ready("XPUB").size()));
  }
  ~OlderClient() { close(socket_); }
  OlderClient(const OlderClient&) = delete;
  OlderClient& operator=(const OlderClient&) = delete;

  void Subscribe(const std::string& topic) { Say(zmtp::Subscription(topic)); }

  // Whether the other side closes the connection.
  bool IsDropped() {
    char byte = 0;
    return recv(socket_, &byte, 1, 0) == 0;
  }

 private:
  void Say(const std::string& bytes) {
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
              send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL));
  }

  bool Hears(std::size_t size) {
    std::string bytes(size, '\0');
    return recv(socket_, bytes.data(), size, MSG_WAITALL) == static_cast<ssize_t>(size);
  }

  int socket_;
};

class MqListenerTest : public testing::Test {
 protected:
  MqListenerTest() : listener_(zsock_new(ZMQ_XPUB)) {
    mqtest::MakeIpcDirectory();
    MqPrepareListener(listener_);
    EXPECT_NE(-1, zsock_bind(listener_, "%s", mqtest::IpcEndpoint(kFile).c_str()));
  }
  ~MqListenerTest() override { zsock_destroy(&listener_); }

  // The topic of the next subscription; none if the client leaves first.
  std::optional<std::string> NextSubscription() {
    const mqtest::Frames frames = mqtest::Receive(listener_);
    if (frames.empty() || frames[0].empty() || frames[0][0] != '\1')
      return {};
    return frames[0].substr(1);
  }

  zsock_t* listener_;
};

TEST_F(MqListenerTest, LongestTopicMayBeSubscribedTo) {
  const std::string topic(kMqLongestSubscription, 'x');
  const Client client(topic);
  EXPECT_EQ(topic, NextSubscription());
}

TEST_F(MqListenerTest, ClientWithALongerTopicIsDroppedAndOthersAreNot) {
  const Client other("Topic");
  EXPECT_EQ("Topic", NextSubscription());
  zactor_t* monitor = zactor_new(zmonitor, listener_);
  zstr_sendx(monitor, "LISTEN", "DISCONNECTED", nullptr);
  zstr_send(monitor, "START");
  zsock_wait(monitor);
  const Client client(std::string(kMqLongestSubscription + 1, 'x'));
  zsock_set_rcvtimeo(zactor_sock(monitor), mqtest::kDeadlineMs);
  char* event = zstr_recv(monitor);
  EXPECT_STREQ("DISCONNECTED", event);
  zstr_free(&event);
  zactor_destroy(&monitor);
  EXPECT_FALSE(mqtest::HasMessage(listener_)) << "subscribed or unsubscribed";
}

TEST_F(MqListenerTest, OlderClientsMaySubscribeToTheSameFrame) {
  OlderClient client;
  const std::string topic(kLongestOfOlderClients, 'x');
  client.Subscribe(topic);
  EXPECT_EQ(topic, NextSubscription());
  client.Subscribe(topic + 'x');
  EXPECT_TRUE(client.IsDropped());
}

}  // namespace
