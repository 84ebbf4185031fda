// Figures of the running service against a second computation.

#include <algorithm>
#include <random>

#include "RunningService.h"
#include "SecondComputation.h"

namespace {

using louddesk::BlockReading;
using louddesk::LoudnessConfiguration;
using louddesk::LoudnessMessage;
using louddesk::PublishedCodes;

// Weights of a 5.1 programme: surrounds 1.41, low-frequency effects 0.
const std::vector<float> kSurroundWeights = {1.0f, 1.0f, 1.0f, 0.0f, 1.41f, 1.41f};

constexpr unsigned kIntegratedWindow = 5;     // s, shorter than the longest material
constexpr unsigned kLoudnessRangeWindow = 9;  // s

/// Blocks of random levels from -76 to -2 LKFS a channel in passages of two seconds, so that both
/// gates matter, some of them with dead channels; peaks of all sizes up to above full scale.
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

// What the dispatcher computes from a block: the weighted sum of the powers and the largest peak,
// neither of them 0. All meters that have a weight are in the programme.
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

// The coded figures of a fresh service after these blocks.
LoudnessData_t ComputeFigures(const std::vector<BlockReading>& blocks) {
  SecondComputation second(kIntegratedWindow, kLoudnessRangeWindow);
  for (const BlockReading& block : blocks)
    second.Add(ProgrammePower(block), ProgrammePeak(block));
  return second.Coded();
}

class MeasurementTest : public RunningService, public testing::WithParamInterface<unsigned> {
 protected:
  void ConfigureAndFeed(const std::vector<BlockReading>& blocks) {
    StartMeasuring();
    LoudnessConfiguration configuration;
    configuration.loudnessWindowTime = kIntegratedWindow;
    configuration.lraWindow = kLoudnessRangeWindow;
    SendConfiguration(configuration);
    ExpectAcknowledgement("Start");
    for (const BlockReading& block : blocks)
      mUnit.SendRaw(block);
  }
};

TEST_P(MeasurementTest, EveryFieldEqualsASecondComputation) {
  ASSERT_NO_FATAL_FAILURE(Start());
  const std::vector<BlockReading> blocks = RandomBlocks(GetParam());
  const LoudnessData_t expected = ComputeFigures(blocks);

  ConfigureAndFeed(blocks);

  const std::vector<int> figures = PublishedCodes(expected);
  ExpectData(
      [&](const LoudnessMessage& message) { return PublishedCodes(message.data) == figures; },
      "the figures " + testing::PrintToString(figures));
  const auto next = mUnit.NextLoudnessData(kPatience);
  ASSERT_TRUE(next);
  EXPECT_EQ(figures, PublishedCodes(next->data)) << "the figures did not stay";
  EXPECT_EQ(1, next->validSource);
  EXPECT_EQ(LU_CMD_START, next->command);
  EXPECT_EQ(1, next->cluster);
}

// Three blocks of warm-up; the first reading; around the positions of a second at which figures are
// refreshed; the first readings that leave the windows of 3, 5 and 9 seconds; long material.
INSTANTIATE_TEST_SUITE_P(Blocks, MeasurementTest,
                         testing::Values(3, 4, 5, 7, 10, 13, 14, 34, 63, 145, 1200));

}  // namespace
