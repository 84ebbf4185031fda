// The bounded queue of the recorder.

#include "MessageQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace {

using louddesk::kLostTopic;
using louddesk::MessageQueue;
using louddesk::RecordedMessage;
using louddesk::Sender;
using testing::ElementsAre;

constexpr std::chrono::milliseconds kAtOnce{0};
constexpr std::size_t kMegabyte = 1000000;

RecordedMessage Large(std::uint64_t time) {
  return {Sender::kMainAppServer, time, {std::string(kMegabyte, 'x')}};
}

std::vector<std::uint64_t> TimesOf(const std::deque<RecordedMessage>& messages) {
  std::vector<std::uint64_t> times;
  for (const RecordedMessage& message : messages)
    times.push_back(message.time);
  return times;
}

TEST(MessageQueueTest, GivesWhatWasPutInOrder) {
  MessageQueue queue;
  for (std::uint64_t time : {1U, 2U, 3U})
    queue.Put({Sender::kDataPublisher, time, {"topic"}});
  EXPECT_THAT(TimesOf(queue.Take(kAtOnce)), ElementsAre(1, 2, 3));
  EXPECT_THAT(TimesOf(queue.Take(kAtOnce)), ElementsAre());
}

TEST(MessageQueueTest, WaitsForAMessage) {
  MessageQueue queue;
  std::thread sender([&queue] { queue.Put({Sender::kDataPublisher, 1, {"topic"}}); });
  EXPECT_THAT(TimesOf(queue.Take(std::chrono::minutes(1))), ElementsAre(1));
  sender.join();
}

// 16 MiB have room for sixteen of these messages, with what they need besides their text.
TEST(MessageQueueTest, DropsWhatHasNoRoomAndNotesItInItsPlace) {
  MessageQueue queue;
  for (std::uint64_t time = 1; time <= 20; ++time)
    queue.Put(Large(time));
  EXPECT_EQ(4U, queue.Lost().tooMany);
  auto messages = queue.Take(kAtOnce);
  ASSERT_EQ(17U, messages.size());
  EXPECT_EQ(16U, messages[15].time);
  EXPECT_EQ(Sender::kRecorder, messages[16].sender);
  EXPECT_EQ(20U, messages[16].time);
  EXPECT_THAT(messages[16].frames, ElementsAre(kLostTopic, "4", "17"));
}

// The writer still has what it took last.
TEST(MessageQueueTest, WhatWasTakenCountsUntilTheNextTime) {
  MessageQueue queue;
  for (std::uint64_t time = 1; time <= 16; ++time)
    queue.Put(Large(time));
  EXPECT_EQ(16U, queue.Take(kAtOnce).size());
  queue.Put(Large(17));
  EXPECT_EQ(1U, queue.Lost().tooMany);
  EXPECT_EQ(1U, queue.Take(kAtOnce).size());  // the note
  queue.Put(Large(18));
  EXPECT_THAT(TimesOf(queue.Take(kAtOnce)), ElementsAre(18));
}

TEST(MessageQueueTest, ASmallMessageAfterALostOneComesBehindTheNote) {
  MessageQueue queue;
  for (std::uint64_t time = 1; time <= 17; ++time)
    queue.Put(Large(time));
  queue.Put({Sender::kDataPublisher, 18, {"small"}});
  const auto messages = queue.Take(kAtOnce);
  ASSERT_EQ(18U, messages.size());
  EXPECT_THAT(messages[16].frames, ElementsAre(kLostTopic, "1", "17"));
  EXPECT_THAT(messages[17].frames, ElementsAre("small"));
}

TEST(MessageQueueTest, AMessageTooLongForTheFormatIsLost) {
  MessageQueue queue;
  queue.Put({Sender::kMainAppServer, 5, {std::string(louddesk::kLargestMessage, 'x')}});
  EXPECT_EQ(1U, queue.Lost().tooLong);
  EXPECT_EQ(0U, queue.Lost().tooMany);
  const auto messages = queue.Take(kAtOnce);
  ASSERT_EQ(1U, messages.size());
  EXPECT_THAT(messages[0].frames, ElementsAre(kLostTopic, "1", "5"));
}

}  // namespace
