// The gate's event loop.

#include "EventLoop.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace {

using loudgate::EventLoop;
using std::chrono::milliseconds;

class EventLoopTest : public testing::Test {
 protected:
  EventLoopTest() : mDescriptor(eventfd(0, EFD_NONBLOCK)) {}
  ~EventLoopTest() override { close(mDescriptor); }

  void MakeReadable() const { EXPECT_EQ(0, eventfd_write(mDescriptor, 1)); }
  void Read() const {
    std::uint64_t value = 0;
    EXPECT_EQ(0, eventfd_read(mDescriptor, &value));
  }

  EventLoop mLoop;
  const int mDescriptor;
};

TEST_F(EventLoopTest, ActsWhenADescriptorCanBeRead) {
  int actions = 0;
  mLoop.Watch(mDescriptor, [&] {
    Read();
    if (++actions == 2)
      mLoop.End();
    else
      MakeReadable();
  });
  MakeReadable();
  mLoop.Run();
  EXPECT_EQ(2, actions);
}

TEST_F(EventLoopTest, ActsWhenASocketHasAMessage) {
  zsock_t* sender = zsock_new_pair("@inproc://event-loop-test");
  zsock_t* receiver = zsock_new_pair(">inproc://event-loop-test");
  std::string text;
  mLoop.Watch(receiver, [&] {
    char* message = zstr_recv(receiver);
    text = message;
    zstr_free(&message);
    mLoop.End();
  });
  EXPECT_EQ(0, zstr_send(sender, "hello"));
  mLoop.Run();
  EXPECT_EQ("hello", text);
  mLoop.Unwatch(receiver);
  zsock_destroy(&receiver);
  zsock_destroy(&sender);
}

TEST_F(EventLoopTest, AnActionMayEndItsOwnWatch) {
  int actions = 0;
  mLoop.Watch(mDescriptor, [this, &actions, kept = std::string(100, 'x')] {
    mLoop.Unwatch(mDescriptor);
    actions += static_cast<int>(kept.size());  // reads freed memory if the action is gone
  });
  MakeReadable();  // and it stays readable
  mLoop.After(milliseconds(50), [this] { mLoop.End(); });
  mLoop.Run();
  EXPECT_EQ(100, actions);
}

TEST_F(EventLoopTest, ActsAgainAndAgainOrOnce) {
  int ticks = 0;
  int once = 0;
  mLoop.After(milliseconds(1), [&] { ++once; });
  mLoop.Every(milliseconds(5), [&] {
    if (++ticks == 4)
      mLoop.End();
  });
  mLoop.Run();
  EXPECT_EQ(4, ticks);
  EXPECT_EQ(1, once);
}

}  // namespace
