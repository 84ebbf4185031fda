// Blocks of a 5.1 programme.

#include "SurroundBlocks.h"

#include <algorithm>
#include <cstddef>
#include <random>

#include "SecondComputation.h"

using louddesk::BlockReading;

namespace {

// Weights of a 5.1 programme: surrounds 1.41, low-frequency effects 0.
const std::vector<float> kSurroundWeights = {1.0f, 1.0f, 1.0f, 0.0f, 1.41f, 1.41f};

}  // namespace

std::vector<BlockReading> RandomBlocks(unsigned count) {
  constexpr unsigned kBlocksPerPassage = 20;
  std::mt19937 random(20240229);
  const auto between = [&random](double low, double high) {
    return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
  };
  std::vector<BlockReading> blocks(count);
  double passage = 0;
  for (unsigned i = 0; i < count; ++i) {
    if (i % kBlocksPerPassage == 0)
      passage = between(-70, -8);
    for (std::size_t meter = 0; meter < louddesk::kMeters; ++meter) {
      const bool isDead = random() % 16 == 0;
      blocks[i].powers[meter] = isDead ? 0 : PowerOf(passage + between(-6, 6));
      blocks[i].peaks[meter] = isDead ? 0 : static_cast<std::uint32_t>(random() % 40000);
    }
  }
  return blocks;
}

std::uint64_t ProgrammePower(const BlockReading& block) {
  std::uint64_t sum = 0;
  for (std::size_t meter = 0; meter < kSurroundWeights.size(); ++meter)
    sum += static_cast<std::uint64_t>(static_cast<double>(block.powers[meter]) *
                                      static_cast<double>(kSurroundWeights[meter]));
  return std::max<std::uint64_t>(sum, 1);
}

std::uint16_t ProgrammePeak(const BlockReading& block) {
  const auto end = block.peaks.begin() + static_cast<std::ptrdiff_t>(kSurroundWeights.size());
  return static_cast<std::uint16_t>(
      std::max<std::uint32_t>(*std::max_element(block.peaks.begin(), end), 1));
}
