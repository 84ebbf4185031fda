// Proves that the front end allocates nothing once it is built: in this program every operator new
// counts.

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "BlockMeter.h"

namespace {

std::atomic<std::uint64_t> gAllocations{0};

// Not inlined: seen together, the compiler takes the pair of malloc and operator delete for a
// mistake.
[[gnu::noinline]] void* Allocate(std::size_t size) {
  ++gAllocations;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr)
    throw std::bad_alloc();
  return memory;
}

[[gnu::noinline]] void Release(void* memory) noexcept {
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
}
void operator delete(void* memory) noexcept {
  Release(memory);
}
void operator delete[](void* memory) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  Release(memory);
}

namespace louddesk {
namespace {

TEST(BlockMeterAllocationTest, BuildingAMeterIsCounted) {
  const std::uint64_t before = gAllocations;
  const BlockMeter meter(6, 48000);
  EXPECT_GT(gAllocations, before);
}

TEST(BlockMeterAllocationTest, MeasuringAllocatesNothing) {
  for (const std::size_t channels : {1U, 2U, 6U, 32U}) {
    BlockMeter meter(channels, 11025);
    const std::vector<double> samples(meter.MaxFramesInBlock() * channels, 0.25);
    BlockReading reading;
    const std::uint64_t before = gAllocations;
    for (int block = 0; block < 100; ++block)
      meter.Measure(samples.data(), reading);
    EXPECT_EQ(gAllocations, before) << channels << " channels";
  }
}

}  // namespace
}  // namespace louddesk
