// The events waiting for one reader.

#include "EventQueue.h"

#include <gtest/gtest.h>

namespace {

using loudgate::EventQueue;
using std::chrono::seconds;

const EventQueue::Time kStart = EventQueue::Time{} + seconds(100);

class EventQueueTest : public testing::Test {
 protected:
  void Put(const std::string& text) { mQueue.Put(std::make_shared<const std::string>(text), mNow); }

  std::string Take(std::size_t size) {
    std::string taken(size, '\0');
    taken.resize(mQueue.Take(taken.data(), size, mNow));
    return taken;
  }

  EventQueue::Time mNow = kStart;
  EventQueue mQueue;
};

TEST_F(EventQueueTest, HasNothingAtFirst) {
  EXPECT_EQ("", Take(10));
  EXPECT_EQ(mNow, mQueue.BehindSince(mNow));
}

TEST_F(EventQueueTest, AnEventIsTakenInPieces) {
  Put("abcdef");
  EXPECT_EQ("abcd", Take(4));
  EXPECT_EQ("ef", Take(4));
  EXPECT_EQ("", Take(4));
}

TEST_F(EventQueueTest, TheNewestWaitsAndTheOneOnItsWayIsFinished) {
  Put("first");
  EXPECT_EQ("fi", Take(2));
  Put("second");
  Put("third");
  EXPECT_EQ("rst", Take(10));
  EXPECT_EQ("third", Take(10));
  EXPECT_EQ("", Take(10));
}

TEST_F(EventQueueTest, IsBehindSinceTheOldestEventThatIsNotTaken) {
  Put("first");
  mNow += seconds(1);
  Put("second");
  EXPECT_EQ(kStart, mQueue.BehindSince(mNow));
  EXPECT_EQ("sec", Take(3));
  mNow += seconds(2);
  Put("third");
  EXPECT_EQ(kStart + seconds(1), mQueue.BehindSince(mNow));  // "second" is being sent
  EXPECT_EQ("ond", Take(10));
  mNow += seconds(1);
  EXPECT_EQ(kStart + seconds(3), mQueue.BehindSince(mNow));  // "third" is waiting
  EXPECT_EQ("third", Take(10));
  EXPECT_EQ(mNow, mQueue.BehindSince(mNow));
}

}  // namespace
