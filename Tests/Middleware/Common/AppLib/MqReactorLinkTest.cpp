// Links of a reactor that are lost while messages wait to be read. The library aborts when the link
// of a partly read message is closed, and unread messages are lost together with their link.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "MqLink.h"
#include "MqReactor.h"
#include "MqTestKit.h"

namespace {

using mqtest::Frames;
using mqtest::Publisher;
using testing::ElementsAre;

constexpr char kIpcName[] = "mqReactorLinkTest.ipc";
constexpr char kTopics[1][kMqTopicSize] = {"Text"};
constexpr bool kText = false;

std::vector<std::string> gHeard;  // data of the messages that were read

int HandleText(const char*, const char* data) {
  gHeard.emplace_back(data != nullptr ? data : "");
  return 0;
}

// A reactor with two publishers on its text socket. The link of the first one, over TCP, breaks.
class MqReactorLinkTest : public testing::Test {
 protected:
  MqReactorLinkTest() {
    mqtest::MakeIpcDirectory();
    gHeard.clear();
    reactor_.SetReactorReader(HandleText);
    publisher_ = std::make_unique<Publisher>(nullptr);
    EXPECT_TRUE(reactor_.AddMqSubsOverTcp("127.0.0.1", publisher_->Port(), kTopics, 1, kText));
    EXPECT_EQ("+Text", publisher_->NextChange());
    other_ = std::make_unique<Publisher>(kIpcName);
    EXPECT_TRUE(reactor_.AddMqSubsOverIpc(kIpcName, kTopics, 1, kText));
    EXPECT_EQ("+Text", other_->NextChange());
  }

  // A message with more frames than are dropped at once.
  static Frames LongMessage() {
    Frames frames(5000);
    frames.front() = "Text";
    return frames;
  }

  // Breaks the link with a frame that is larger than the service accepts.
  void BreakTheLink() {
    publisher_->Publish({"Text", std::string(kMqMaxFrameSize + 1, 'x')});
    EXPECT_EQ("-Text", publisher_->NextChange());
  }

  void TendFor(std::int64_t milliseconds) {
    const std::int64_t end = zclock_mono() + milliseconds;
    while (zclock_mono() < end)
      reactor_.TendLinks();
  }

  void Read() { MqReactor::ReaderCallback(reactor_.mpLoop, reactor_.mpSock, &reactor_); }

  // Reads messages and tends the links, as a loop does, until the publisher sees the new link.
  bool IsRenewed() {
    const std::int64_t end = zclock_mono() + mqtest::kDeadlineMs;
    while (!publisher_->HasChange() && zclock_mono() < end) {
      reactor_.TendLinks();
      if (mqtest::HasMessage(reactor_.mpSock))
        Read();
    }
    return publisher_->NextChange() == "+Text";
  }

  MqReactor reactor_;
  std::unique_ptr<Publisher> publisher_;
  std::unique_ptr<Publisher> other_;
};

TEST_F(MqReactorLinkTest, MessageThatIsHalfReadIsReadToItsEndFirst) {
  publisher_->Publish(LongMessage());
  ASSERT_TRUE(mqtest::AwaitMessage(reactor_.mpSock));
  Read();
  BreakTheLink();
  // Longer than a lost link is kept while messages wait.
  TendFor(kMqBusyLinkPatienceMs + kMqLostLinkPatienceMs);
  Read();
  EXPECT_NE(0, zsock_rcvmore(reactor_.mpSock)) << "still in the middle of the message";
  EXPECT_TRUE(IsRenewed());
  publisher_->Publish({"Text", "after"});
  ASSERT_TRUE(mqtest::AwaitMessage(reactor_.mpSock));
  Read();
  EXPECT_THAT(gHeard, ElementsAre("", "after"));
}

TEST_F(MqReactorLinkTest, MessagesThatWaitAreReadFirst) {
  publisher_->Publish({"Text", "first"});
  publisher_->Publish({"Text", "second"});
  ASSERT_TRUE(mqtest::AwaitMessage(reactor_.mpSock));
  BreakTheLink();
  TendFor(2 * kMqLostLinkPatienceMs);
  EXPECT_TRUE(IsRenewed());
  EXPECT_THAT(gHeard, ElementsAre("first", "second"));
}

TEST_F(MqReactorLinkTest, AnotherPeersFloodHoldsUpTheRenewalForAWhileOnly) {
  BreakTheLink();
  const std::int64_t lost = zclock_mono();
  other_->Publish({"Text", "flood"});
  while (!publisher_->HasChange() && zclock_mono() < lost + mqtest::kDeadlineMs) {
    other_->Publish({"Text", "flood"});
    ASSERT_TRUE(mqtest::AwaitMessage(reactor_.mpSock));
    reactor_.TendLinks();
    Read();
  }
  EXPECT_EQ("+Text", publisher_->NextChange());
  EXPECT_GE(zclock_mono() - lost, kMqBusyLinkPatienceMs);
}

}  // namespace
