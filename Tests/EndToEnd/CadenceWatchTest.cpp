// The watch of the cadence notices gaps.

#include "CadenceWatch.h"

#include <czmq.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <thread>

#include "Emulation.h"

namespace {

using std::chrono::milliseconds;

constexpr char kFile[] = "cadence-watch.ipc";
constexpr milliseconds kPatience{20000 * kSlowness};
constexpr milliseconds kSilence{300};

/// A publisher and its watch.
class CadenceWatchTest : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories("/run/shm/mq");
    mPublisher = zsock_new(ZMQ_XPUB);
    ASSERT_NE(-1, zsock_bind(mPublisher, "ipc:///run/shm/mq/%s", kFile));
    mWatch = std::make_unique<CadenceWatch>(kFile);
    zframe_t* subscription = zframe_recv(mPublisher);
    zframe_destroy(&subscription);
    Publish();
    ASSERT_TRUE(mWatch->WaitFor(1, kPatience));
  }

  void TearDown() override {
    mWatch.reset();
    zsock_destroy(&mPublisher);
  }

  void Publish() { zstr_send(mPublisher, "LoudnessData"); }

  zsock_t* mPublisher = nullptr;
  std::unique_ptr<CadenceWatch> mWatch;
};

TEST_F(CadenceWatchTest, SilenceBetweenTwoMessagesIsAGapAndCostsTicks) {
  std::this_thread::sleep_for(kSilence);
  Publish();
  ASSERT_TRUE(mWatch->WaitFor(2, kPatience));
  const Cadence cadence = mWatch->Stop();
  EXPECT_EQ(2u, cadence.messages);
  EXPECT_GE(cadence.longestGap, kSilence - milliseconds{20});
  EXPECT_GE(cadence.ticks, 4u);  // at 0, 100, 200 and 300 ms
}

TEST_F(CadenceWatchTest, SilenceUpToTheEndIsAGap) {
  std::this_thread::sleep_for(kSilence);
  const Cadence cadence = mWatch->Stop();
  EXPECT_EQ(1u, cadence.messages);
  EXPECT_EQ(1u, cadence.onTime);
  EXPECT_EQ(1u, cadence.ticks);
  EXPECT_GE(cadence.longestGap, kSilence - milliseconds{20});
}

TEST_F(CadenceWatchTest, BurstHasMoreMessagesThanTicks) {
  for (int i = 0; i < 50; ++i)
    Publish();
  ASSERT_TRUE(mWatch->WaitFor(51, kPatience));
  const Cadence cadence = mWatch->Stop();
  EXPECT_EQ(51u, cadence.messages);
  EXPECT_LT(cadence.ticks, cadence.messages);
}

}  // namespace
