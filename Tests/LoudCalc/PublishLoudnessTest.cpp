// How the engine reaches the publishers.

#include "PublishLoudness.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <stdexcept>

#include "CzmqFaults.h"
#include "MqTestKit.h"
#include "PubHandler.h"

namespace {

using mqtest::Frames;
using mqtest::Subscriber;

enum class Allocation { Works, BadAlloc, RuntimeError };

// Outcome of the next allocation of this thread. ZeroMQ's threads are not affected.
thread_local Allocation gNextAllocation = Allocation::Works;

}  // namespace

// Not inlined: otherwise the compiler warns that malloc and delete, or new and free, do not match.
[[gnu::noinline]] void* operator new(std::size_t size) {
  const Allocation allocation = gNextAllocation;
  gNextAllocation = Allocation::Works;
  if (allocation == Allocation::RuntimeError)
    throw std::runtime_error("provoked by the test");
  void* memory = allocation == Allocation::Works ? std::malloc(size) : nullptr;
  if (memory == nullptr)
    throw std::bad_alloc();
  return memory;
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept {
  std::free(memory);
}

namespace {

// Without a publisher. For tests that end the process.
class PublishLoudnessDeathTest : public testing::Test {
 protected:
  PublishLoudnessDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    mqtest::MakeIpcDirectory();
    cPubHandler::SetMeterSetNo(2);
    cPubHandler::SetClusterNo(3);
    faults::Reset();
  }

  ~PublishLoudnessDeathTest() override { cPubHandler::DeleteInstance(); }

  LoudnessData_t results_{-231, -232, -233, -234, 57, -236, -101, -102};
};

// A bound publisher with a subscriber at each socket.
class PublishLoudnessTest : public PublishLoudnessDeathTest {
 protected:
  PublishLoudnessTest() {
    PublishLoudnessInit();
    gpLcPubs->Init(nullptr);
  }

  Subscriber SubscribeData() { return SubscribeTo(gpLcPubs->mpLuDataPubSocket); }
  Subscriber SubscribeState() { return SubscribeTo(gpLcPubs->mpLuStatePubSocket); }

 private:
  static Subscriber SubscribeTo(MqSock_t* socket) { return {socket, zsock_endpoint(socket)}; }

  mqtest::Console console_;
};

TEST_F(PublishLoudnessDeathTest, InitMakesThePublisherAndBindsNothing) {
  ASSERT_EQ(nullptr, gpLcPubs);
  PublishLoudnessInit();
  ASSERT_NE(nullptr, gpLcPubs);
  EXPECT_EQ(cPubHandler::mpPub, gpLcPubs);
  EXPECT_EQ(-1, gpLcPubs->GetSlot());
  EXPECT_EQ(nullptr, gpLcPubs->mpLuDataPubSocket);
  EXPECT_EQ(nullptr, gpLcPubs->mpLuStatePubSocket);
  EXPECT_EQ(0, faults::Count(faults::Call::SockNew));
}

TEST_F(PublishLoudnessDeathTest, SecondInitTakesTheSamePublisher) {
  PublishLoudnessInit();
  cPubHandler* first = gpLcPubs;
  gpLcPubs = nullptr;
  PublishLoudnessInit();
  EXPECT_EQ(first, gpLcPubs);
}

TEST_F(PublishLoudnessDeathTest, InitTakesAPublisherMadeBefore) {
  cPubHandler* made = cPubHandler::GetInstance();
  PublishLoudnessInit();
  EXPECT_EQ(made, gpLcPubs);
}

TEST_F(PublishLoudnessTest, DataGoOutOnTheDataSocketAndTheResultIsZero) {
  Subscriber data = SubscribeData();
  ASSERT_TRUE(data.IsConnected());
  EXPECT_EQ(0, PublishLoudnessData(results_, 1, 5, 3));
  const Frames message = data.Next();
  ASSERT_EQ(12u, message.size());
  EXPECT_EQ("LoudnessData", message[0]);
  EXPECT_EQ("\x19\xff", message[1]);  // -231 = 0xff19
  EXPECT_EQ(std::string("\x01\0", 2), message[9]);
  EXPECT_EQ(std::string("\x05\0", 2), message[10]);
  EXPECT_EQ(std::string("\x03\0", 2), message[11]);
}

TEST_F(PublishLoudnessTest, ConfigurationAndCommandGoOutOnTheStateSocket) {
  Subscriber state = SubscribeState();
  ASSERT_TRUE(state.IsConnected());
  PublishLoudnessConf("Configuration", "{\"Conf\":1}");
  PublishLoudnessCommand("Command", "{\"Command\":2}");
  EXPECT_EQ((Frames{"Configuration", "{\"Conf\":1}"}), state.Next());
  EXPECT_EQ((Frames{"Command", "{\"Command\":2}"}), state.Next());
}

TEST_F(PublishLoudnessTest, ClusterAndCleanupPublishNothing) {
  Subscriber data = SubscribeData();
  Subscriber state = SubscribeState();
  PublishLoudnessCluster();
  PublishLoudnessCleanup();
  EXPECT_NE(nullptr, gpLcPubs);
  EXPECT_NE(nullptr, gpLcPubs->mpLuDataPubSocket);
  PublishLoudnessData(results_, 1, 5, 3);
  PublishLoudnessConf("First", "{}");
  EXPECT_EQ("LoudnessData", data.Next()[0]);
  EXPECT_EQ("First", state.Next()[0]);
}

TEST_F(PublishLoudnessDeathTest, EveryFunctionNeedsAPublisher) {
  constexpr char kText[] = "`gpLcPubs != nullptr'";
  EXPECT_DEATH(PublishLoudnessData(results_, 1, 5, 3), kText);
  EXPECT_DEATH(PublishLoudnessConf("Topic", "{}"), kText);
  EXPECT_DEATH(PublishLoudnessCommand("Topic", "{}"), kText);
  EXPECT_DEATH(PublishLoudnessCluster(), kText);
  EXPECT_DEATH(PublishLoudnessCleanup(), kText);
}

TEST_F(PublishLoudnessDeathTest, EveryMessageNeedsItsSocket) {
  PublishLoudnessInit();
  EXPECT_DEATH(PublishLoudnessData(results_, 1, 5, 3), "`__null != mpLuDataPubSocket'");
  EXPECT_DEATH(PublishLoudnessConf("Topic", "{}"), "`__null != mpLuStatePubSocket'");
  EXPECT_DEATH(PublishLoudnessCommand("Topic", "{}"), "`__null != mpLuStatePubSocket'");
}

TEST_F(PublishLoudnessDeathTest, PublisherThatCannotBeMadeStopsTheProcess) {
  const auto initWith = [](Allocation allocation) {
    gNextAllocation = allocation;
    PublishLoudnessInit();
  };
  EXPECT_DEATH(initWith(Allocation::BadAlloc),
               "PubHandler\\|[0-9]+\\| \"Exception Bad alloc std::bad_alloc\"\n"
               "(.|\n)*`gpLcPubs != nullptr'");
  EXPECT_DEATH(initWith(Allocation::RuntimeError),
               "PubHandler\\|[0-9]+\\| \"Exception provoked by the test\"\n"
               "(.|\n)*`gpLcPubs != nullptr'");
}

TEST_F(PublishLoudnessDeathTest, FailedMakingLeavesNoPublisher) {
  testing::internal::CaptureStderr();
  gNextAllocation = Allocation::BadAlloc;
  EXPECT_EQ(nullptr, cPubHandler::GetInstance());
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(nullptr, cPubHandler::mpPub);
  EXPECT_NE(nullptr, cPubHandler::GetInstance());
}

}  // namespace
