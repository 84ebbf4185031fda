// The calculator allocates nothing once it is built, and frees everything at its end.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <random>

#include "AllocationCount.h"
#include "EngineFixture.h"
#include "LoudCalcBase.h"

namespace {

// Global, so that the compiler cannot see that it is never read and remove the allocation.
volatile void* gKeptVisible = nullptr;

class EngineAllocationTest : public EngineFixture {};

TEST_F(EngineAllocationTest, ReleaseIsSeen) {
  auto number = std::make_unique<int>(1);
  gKeptVisible = number.get();
  EXPECT_FALSE(IsReleasedBy(number.get(), [] {}));
  EXPECT_TRUE(IsReleasedBy(number.get(), [&] { number.reset(); }));
}

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

TEST_F(EngineAllocationTest, CleanupGivesBackEveryRingAndIntegrator) {
  const struct {
    const char* name;
    const void* (*memory)();
  } kCases[] = {
      {"momentary ring", []() -> const void* { return pCbBinMomLoud; }},
      {"range ring", []() -> const void* { return pCbBinLra; }},
      {"programme", []() -> const void* { return pProgramLoud; }},
      {"short-term", []() -> const void* { return pShortTermLoud; }},
      {"range", []() -> const void* { return pLraLoud; }},
      {"integrated", []() -> const void* { return pIntegLoud; }},
  };
  for (const auto& [name, memory] : kCases) {
    EXPECT_TRUE(IsReleasedBy(memory(), LoudCalcCleanup)) << name;
    LoudCalcInit();
  }
}

TEST_F(EngineAllocationTest, TenThousandBlocksWithResetsAllocateNothing) {
  std::mt19937_64 random(1770);
  const std::uint64_t releases = ReleasesSoFar();
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
  EXPECT_EQ(ReleasesSoFar() - releases, 0U);
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
