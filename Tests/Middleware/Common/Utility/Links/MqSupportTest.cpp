// Calls of the library that report an interruption by a signal.

#include "MqSupport.h"

#include <gtest/gtest.h>

namespace {

/// A call that fails with `error` in errno for the first `failures` times.
class FailingCall {
 public:
  FailingCall(int failures, int error) : mFailures(failures), mError(error) {}

  int operator()() {
    if (++calls > mFailures)
      return 0;
    errno = mError;
    return -1;
  }

  int calls = 0;

 private:
  int mFailures;
  int mError;
};

int First(FailingCall& call) {
  return MqUninterrupted([&call] { return call(); });
}

int Further(FailingCall& call) {
  return MqSendFurther([&call] { return call(); });
}

TEST(MqSupportTest, CallThatSucceedsIsMadeOnce) {
  for (auto* make : {First, Further}) {
    FailingCall call(0, EINTR);
    errno = EINTR;  // left over from another call
    EXPECT_EQ(make(call), 0);
    EXPECT_EQ(call.calls, 1);
  }
}

TEST(MqSupportTest, OnlyAnInterruptedCallIsMadeAgain) {
  for (auto* make : {First, Further})
    for (const int error : {EAGAIN, ENOTSUP, EFSM, ETERM}) {
      FailingCall call(1, error);
      EXPECT_EQ(make(call), -1);
      EXPECT_EQ(errno, error);
      EXPECT_EQ(call.calls, 1);
    }
}

TEST(MqSupportTest, CallIsGivenUpAfterAThousandTries) {
  FailingCall lastTry(kMqTries - 1, EINTR);
  EXPECT_EQ(First(lastTry), 0);
  FailingCall oneMore(kMqTries, EINTR);
  EXPECT_EQ(First(oneMore), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_EQ(oneMore.calls, 1000);
}

TEST(MqSupportTest, FurtherFrameIsNotGivenUp) {
  FailingCall send(100 * kMqTries, EINTR);
  EXPECT_EQ(Further(send), 0);
}

}  // namespace
