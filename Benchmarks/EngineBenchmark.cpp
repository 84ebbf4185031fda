// What a block costs the loudness engine.
//
// Measured: the time of one LoudCalcUpdate in steady state, that is with every window full, on
// programme-like random levels. It is the mean over whole seconds and so over the blocks that
// refresh a slow figure and those that do not.
//
//   windows                      integrated   loudness range   programme
//   LoudCalcUpdate/TwoHours      72000        10800            72000 readings
//   LoudCalcUpdate/ThreeSeconds  30           9                72000 readings
//
// Against: the 100 ms in which a block has to be dealt with, of which "ppm" is the share of
// processor time taken, in millionths. And against each other: a window is a histogram, so its
// length should not matter.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <random>
#include <vector>

#include "LoudCalcBase.h"
#include "LoudConfigUser.h"

namespace {

constexpr double kBlockSeconds = 0.1;
constexpr std::size_t kSoundBlocks = 4096;

// Fills the longest window of all, that of the loudness range, besides the blocks of warm-up.
constexpr std::uint32_t kFillingBlocks = kMaxLraWinSecs * kBlocksPerSecond + kBlocksPerSecond;

struct Block {
  std::uint64_t power;
  std::uint16_t peak;
};

std::vector<Block> RandomSound() {
  std::mt19937 random(1770);
  std::uniform_real_distribution<double> level(-50.0, -10.0);  // LKFS
  std::uniform_int_distribution<int> peak(1, 32768);
  std::vector<Block> sound(kSoundBlocks);
  for (Block& block : sound) {
    block.power = static_cast<std::uint64_t>(std::pow(10.0, (level(random) + 153.388) / 10.0));
    block.peak = static_cast<std::uint16_t>(peak(random));
  }
  return sound;
}

void LoudCalcUpdateInWindows(benchmark::State& state, unsigned int integSecs,
                             unsigned int lraSecs) {
  const std::vector<Block> sound = RandomSound();
  std::size_t position = 0;
  const auto feed = [&] {
    const Block& block = sound[position++ % kSoundBlocks];
    LoudCalcUpdate(block.power, block.peak);
  };
  SetIntegWinTime(integSecs);
  SetLraWinTime(lraSecs);
  LoudCalcInit();
  for (std::uint32_t i = 0; i < kFillingBlocks; ++i)
    feed();
  const std::clock_t start = std::clock();
  for (auto _ : state)
    feed();
  const double cpuSeconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  state.counters["ppm"] =
      1e6 * cpuSeconds / static_cast<double>(state.iterations()) / kBlockSeconds;
  LoudCalcCleanup();
}

BENCHMARK_CAPTURE(LoudCalcUpdateInWindows, TwoHours, kMaxIntegWinSecs, kMaxLraWinSecs)
    ->Name("LoudCalcUpdate/TwoHours");
BENCHMARK_CAPTURE(LoudCalcUpdateInWindows, ThreeSeconds, 3, kMinLraWinSecs)
    ->Name("LoudCalcUpdate/ThreeSeconds");

}  // namespace

BENCHMARK_MAIN();
