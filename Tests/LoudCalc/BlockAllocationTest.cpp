// Allocations for a block and for a tick on their way through the service. Counts operator new,
// which all code of the service uses. The messaging library allocates the messages with malloc,
// which is not counted.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>

#include "AllocationCount.h"
#include "Endpoints.h"
#include "JsonParser.h"
#include "LoudCalcBase.h"
#include "LoudReport.h"
#include "MqNames.h"
#include "PubHandler.h"
#include "PublishLoudness.h"
#include "ReactorMain.h"
#include "ReportingState.h"
#include "Utilities.h"

namespace {

constexpr char kTopic[] = "ProbeLuRawData-1";
constexpr int kBlocks = 1000;

// Global, so that the compiler cannot see that it is never read and remove the allocation.
volatile void* gKeptVisible = nullptr;

struct DestroyMessage {
  void operator()(zmsg_t* message) const { zmsg_destroy(&message); }
};
using Message = std::unique_ptr<zmsg_t, DestroyMessage>;

// The frames of a raw block after its topic.
Message RawBlock(std::uint64_t power) {
  std::array<std::uint32_t, kRawMeters> peaks{};
  std::array<std::uint64_t, kRawMeters> powers{};
  peaks.fill(1000);
  powers.fill(power);
  Message message(zmsg_new());
  zmsg_addmem(message.get(), peaks.data(), sizeof peaks);
  zmsg_addmem(message.get(), powers.data(), sizeof powers);
  zmsg_addstr(message.get(), "spare");
  return message;
}

class BlockAllocationTest : public testing::Test {
 protected:
  BlockAllocationTest() {
    LoudCalcInit();
    cJsonParser::GetInstance();
    for (std::uint32_t meter = 1; meter <= kRawMeters; ++meter)
      cJsonParser::SetChannelWeight(meter, 1.0f);
  }
  ~BlockAllocationTest() override { LoudCalcCleanup(); }
};

TEST_F(BlockAllocationTest, CounterCounts) {
  EXPECT_EQ(AllocationsOf([] {
              const auto number = std::make_unique<int>(1);
              gKeptVisible = number.get();
            }),
            1U);
}

TEST_F(BlockAllocationTest, BlockIsMeasuredWithoutAllocating) {
  const Message loud = RawBlock(1000000000000000);
  const Message quiet = RawBlock(1000000000);
  EXPECT_EQ(AllocationsOf([&] {
              for (int i = 0; i < kBlocks; ++i)
                mqReaderForBinaryData(kTopic, (i % 3 == 0 ? quiet : loud).get());
            }),
            0U);
  EXPECT_EQ(pProgramLoud->Bins.NumBinnedValues, kBlocks - 3U);  // three blocks of warm-up
}

TEST_F(BlockAllocationTest, TickPublishesWithoutAllocating) {
  ASSERT_EQ(do_mkdir(kIpcDirectory, 0777), 0);
  cPubHandler::SetMeterSetNo(1);
  cPubHandler::SetClusterNo(1);
  PublishLoudnessInit();
  ASSERT_TRUE(gpLcPubs->BindMq());
  glEnableProbeData = 1;
  gluCalcActions = kActionRunning;
  SendLoudnessData();  // the library allocates at the first message
  EXPECT_EQ(AllocationsOf([] {
              for (int i = 0; i < kBlocks; ++i)
                SendLoudnessData();
            }),
            0U);
}

}  // namespace
