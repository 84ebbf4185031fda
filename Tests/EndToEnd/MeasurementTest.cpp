// Compares the figures of the running service with a second computation.

#include "RunningService.h"
#include "SecondComputation.h"
#include "SurroundBlocks.h"

namespace {

using louddesk::BlockReading;
using louddesk::LoudnessConfiguration;
using louddesk::LoudnessMessage;
using louddesk::PublishedCodes;

constexpr unsigned kIntegratedWindow = 5;     // s, shorter than the longest material
constexpr unsigned kLoudnessRangeWindow = 9;  // s

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

// Numbers of blocks: only the three of the warm-up; the first reading; around the blocks of a
// second on which figures are refreshed; around the first readings that leave the windows of 3, 5
// and 9 seconds; long material.
INSTANTIATE_TEST_SUITE_P(Blocks, MeasurementTest,
                         testing::Values(3, 4, 5, 7, 10, 13, 14, 34, 63, 145, 1200));

}  // namespace
