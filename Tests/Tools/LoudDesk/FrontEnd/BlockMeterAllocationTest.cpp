// The front end allocates nothing once it is built.

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "AllocationCount.h"
#include "BlockMeter.h"

namespace louddesk {
namespace {

TEST(BlockMeterAllocationTest, BuildingAMeterIsCounted) {
  EXPECT_GT(AllocationsOf([] { const BlockMeter meter(6, 48000); }), 0U);
}

TEST(BlockMeterAllocationTest, MeasuringAllocatesNothing) {
  for (const std::size_t channels : {1U, 2U, 6U, 32U}) {
    BlockMeter meter(channels, 11025);
    const std::vector<double> samples(meter.MaxFramesInBlock() * channels, 0.25);
    BlockReading reading;
    EXPECT_EQ(AllocationsOf([&] {
                for (int block = 0; block < 100; ++block)
                  meter.Measure(samples.data(), reading);
              }),
              0U)
        << channels << " channels";
  }
}

}  // namespace
}  // namespace louddesk
