// Cost of a block in the loudness engine.
//
// Measured: the time of one LoudCalcUpdate in steady state, with every window full, on
// programme-like random levels. It is the mean over whole seconds, and so includes blocks that
// refresh a slow figure and blocks that do not.
//
//   windows                      integrated   loudness range   programme
//   LoudCalcUpdate/TwoHours      72000        10800            72000 readings
//   LoudCalcUpdate/ThreeSeconds  30           9                72000 readings
//
// Against: the 100 ms available for a block; "ppm" is the fraction of that time used, in
// millionths. Also against each other: a window is a histogram, so its length should not matter.

#include <benchmark/benchmark.h>

#include <ctime>

#include "EngineLoad.h"

namespace {

constexpr double kBlockSeconds = 0.1;

void LoudCalcUpdateInWindows(benchmark::State& state, unsigned int integSecs,
                             unsigned int lraSecs) {
  EngineLoad engine(integSecs, lraSecs);
  const std::clock_t start = std::clock();
  for (auto _ : state)
    engine.FeedBlock();
  const double cpuSeconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  state.counters["ppm"] =
      1e6 * cpuSeconds / static_cast<double>(state.iterations()) / kBlockSeconds;
}

BENCHMARK_CAPTURE(LoudCalcUpdateInWindows, TwoHours, kMaxIntegWinSecs, kMaxLraWinSecs)
    ->Name("LoudCalcUpdate/TwoHours");
BENCHMARK_CAPTURE(LoudCalcUpdateInWindows, ThreeSeconds, 3, kMinLraWinSecs)
    ->Name("LoudCalcUpdate/ThreeSeconds");

}  // namespace

BENCHMARK_MAIN();
