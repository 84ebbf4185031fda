// The loudness engine with every window full, and programme-like random levels to feed to it, the
// same in every run.

#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "LoudCalcBase.h"
#include "LoudConfigUser.h"

class EngineLoad {
 public:
  /// Starts the engine with windows of this many seconds for integrated loudness and loudness range
  /// and fills all windows.
  EngineLoad(unsigned int integSecs, unsigned int lraSecs) : mSound(RandomSound()) {
    SetIntegWinTime(integSecs);
    SetLraWinTime(lraSecs);
    LoudCalcInit();
    for (std::uint32_t i = 0; i < kFillingBlocks; ++i)
      FeedBlock();
  }
  ~EngineLoad() { LoudCalcCleanup(); }
  EngineLoad(const EngineLoad&) = delete;
  EngineLoad& operator=(const EngineLoad&) = delete;

  void FeedBlock() {
    const Block& block = mSound[mPosition++ % kSoundBlocks];
    LoudCalcUpdate(block.power, block.peak);
  }

 private:
  struct Block {
    std::uint64_t power;
    std::uint16_t peak;
  };

  static constexpr std::size_t kSoundBlocks = 4096;

  // Fills the longest window, that of the loudness range, and covers the warm-up.
  static constexpr std::uint32_t kFillingBlocks =
      kMaxLraWinSecs * kBlocksPerSecond + kBlocksPerSecond;

  static std::vector<Block> RandomSound() {
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

  std::vector<Block> mSound;
  std::size_t mPosition = 0;
};
