// Proves that the calculator allocates nothing once it is built: in this program every operator new
// counts.

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>

#include "EngineFixture.h"
#include "LoudCalcBase.h"

namespace {

std::atomic<std::uint64_t> gAllocations{0};
std::atomic<std::uint64_t> gReleases{0};

constexpr std::size_t kUsualAlignment = alignof(std::max_align_t);

// Not inlined: seen together, the compiler takes the pair of aligned_alloc and operator delete for
// a mistake.
[[gnu::noinline]] void* Allocate(std::size_t size, std::size_t alignment) noexcept {
  ++gAllocations;
  const std::size_t units = size == 0 ? 1 : (size + alignment - 1) / alignment;
  return std::aligned_alloc(alignment, units * alignment);
}

[[gnu::noinline]] void Release(void* memory) noexcept {
  if (memory != nullptr)
    ++gReleases;
  std::free(memory);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
  void* memory = Allocate(size, alignment);
  if (memory == nullptr)
    throw std::bad_alloc();
  return memory;
}

}  // namespace

// Every form, because a sanitizer's runtime brings all of them and its own do not count.
void* operator new(std::size_t size) {
  return AllocateOrThrow(size, kUsualAlignment);
}
void* operator new[](std::size_t size) {
  return AllocateOrThrow(size, kUsualAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, kUsualAlignment);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, kUsualAlignment);
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
void operator delete(void* memory, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  Release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  Release(memory);
}

namespace {

// Kept where the compiler cannot see that nobody reads it, so that it does not remove the
// allocation.
volatile void* gKeptVisible = nullptr;

template <typename Work>
std::uint64_t AllocationsOf(Work work) {
  const std::uint64_t before = gAllocations;
  work();
  return gAllocations - before;
}

class EngineAllocationTest : public EngineFixture {};

TEST_F(EngineAllocationTest, CounterCounts) {
  EXPECT_EQ(AllocationsOf([] {}), 0U);
  EXPECT_EQ(AllocationsOf([] {
              const auto number = std::make_unique<int>(1);
              gKeptVisible = number.get();
            }),
            1U);
  EXPECT_EQ(AllocationsOf([] {
              const auto numbers = std::make_unique<int[]>(1000);
              gKeptVisible = numbers.get();
            }),
            1U);
  EXPECT_EQ(AllocationsOf([] {
              int* number = new (std::nothrow) int(1);
              gKeptVisible = number;
              delete number;
            }),
            1U);
}

TEST_F(EngineAllocationTest, BuildingTheCalculatorIsCounted) {
  LoudCalcCleanup();
  EXPECT_EQ(AllocationsOf([] { LoudCalcInit(); }), 8U);  // two rings, their codes, four integrators
}

TEST_F(EngineAllocationTest, TenThousandBlocksWithResetsAllocateNothing) {
  std::mt19937_64 random(1770);
  const std::uint64_t releases = gReleases;
  const std::uint64_t allocations = AllocationsOf([&] {
    for (int block = 0; block < 10000; ++block) {
      if (block % 1000 == 500) {
        SetIntegWinTime(static_cast<unsigned int>(random() % 8000));
        SetLraWinTime(static_cast<unsigned int>(random() % 12000));
        LoudCalcReset();
      }
      const double lkfs = -80.0 + static_cast<double>(random() % 9000) / 100.0;
      LoudCalcUpdate(block % 50 == 0 ? 0 : PowerOf(lkfs), static_cast<std::uint16_t>(random()));
    }
  });
  EXPECT_EQ(allocations, 0U);
  EXPECT_EQ(gReleases - releases, 0U);
  EXPECT_GT(pProgramLoud->Bins.NumBinnedValues, 0U);
}

TEST_F(EngineAllocationTest, ShortWindowsThatSlideAllocateNothing) {
  RestartWithWindows(1, 9);
  std::mt19937_64 random(3342);
  EXPECT_EQ(AllocationsOf([&] {
              for (int block = 0; block < 10000; ++block)
                LoudCalcUpdate(random() >> 20, static_cast<std::uint16_t>(random()));
            }),
            0U);
  EXPECT_EQ(pIntegLoud->NumSamplesReceived, 10U);
}

}  // namespace
