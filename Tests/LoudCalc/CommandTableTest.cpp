// The effect of each command on the pending actions, row by row.

#include "CommandTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr LoudModes_e kContinuous = LOUD_MODE_CONTINUOUS;
constexpr LoudModes_e kStartStop = LOUD_MODE_START_STOP;

struct Row {
  const char* name;
  LuCmd_e command;
  std::vector<LuCmd_e> lasts;
  std::vector<LoudModes_e> modes;
  std::uint32_t clear;
  std::uint32_t set;
};

const std::vector<LuCmd_e> kAllLasts = {LU_CMD_NONE, LU_CMD_STOP, LU_CMD_PAUSE, LU_CMD_START,
                                        LU_CMD_PLAY};
const std::vector<LuCmd_e> kNotStopped = {LU_CMD_NONE, LU_CMD_PAUSE, LU_CMD_START, LU_CMD_PLAY};
const std::vector<LuCmd_e> kNotFrozen = {LU_CMD_NONE, LU_CMD_START, LU_CMD_PLAY};
const std::vector<LoudModes_e> kBothModes = {kContinuous, kStartStop};

class CommandTableTest : public testing::TestWithParam<Row> {};

TEST_P(CommandTableTest, ChangesExactlyItsBits) {
  const Row& row = GetParam();
  for (const LuCmd_e last : row.lasts) {
    for (const LoudModes_e mode : row.modes) {
      // Every combination of the known bits, and unknown bits.
      for (std::uint32_t before = 0; before < 0x400; ++before) {
        std::uint32_t after = 0;
        ASSERT_TRUE(ApplyCommand(row.command, last, mode, before, after));
        ASSERT_EQ((before & ~row.clear) | row.set, after)
            << "command " << row.command << " last " << last << " mode " << mode << " before "
            << before;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CommandTableTest,
    testing::Values(
        Row{"StopInStartStopMode", LU_CMD_STOP, kAllLasts, {kStartStop}, 0x119, 0x004},
        Row{"StopInContinuousMode", LU_CMD_STOP, kAllLasts, {kContinuous}, 0, 0},
        Row{"PauseAfterStopInStartStopMode",
            LU_CMD_PAUSE,
            {LU_CMD_STOP},
            {kStartStop},
            0x119,
            0x004},
        Row{"PauseAfterStopInContinuousMode",
            LU_CMD_PAUSE,
            {LU_CMD_STOP},
            {kContinuous},
            0x015,
            0x008},
        Row{"PauseOtherwise", LU_CMD_PAUSE, kNotStopped, kBothModes, 0x015, 0x008},
        Row{"Start", LU_CMD_START, kAllLasts, kBothModes, 0x01C, 0x103},
        Row{"PlayAfterStop", LU_CMD_PLAY, {LU_CMD_STOP}, kBothModes, 0x01C, 0x103},
        Row{"PlayOtherwise", LU_CMD_PLAY, kNotStopped, kBothModes, 0x00D, 0x010},
        Row{"ResetWhenFrozenInStartStopMode",
            LU_CMD_RESET,
            {LU_CMD_STOP, LU_CMD_PAUSE},
            {kStartStop},
            0x119,
            0x006},
        Row{"ResetAfterPauseInContinuousMode",
            LU_CMD_RESET,
            {LU_CMD_PAUSE},
            {kContinuous},
            0x015,
            0x00A},
        Row{"ResetAfterStopInContinuousMode", LU_CMD_RESET, {LU_CMD_STOP}, {kContinuous}, 0, 0x002},
        Row{"ResetOtherwise", LU_CMD_RESET, kNotFrozen, kBothModes, 0, 0x002},
        Row{"Print", LU_CMD_PRINT, kAllLasts, kBothModes, 0, 0}),
    [](const testing::TestParamInfo<Row>& row) { return std::string(row.param.name); });

TEST(CommandTableValuesTest, AnyOtherValueChangesNothing) {
  for (const LuCmd_e command : {LU_CMD_NONE, LU_CMD_WAIT4CONF, LU_CMD_PROCESS_PROGRAM,
                                LU_CMD_PROCESS_LUCONF, LU_CMD_NUM_STATES}) {
    std::uint32_t after = 0;
    EXPECT_FALSE(ApplyCommand(command, LU_CMD_NONE, kStartStop, 0x11F, after)) << command;
    EXPECT_EQ(0x11Fu, after) << command;
  }
}

TEST(CommandTableValuesTest, RestartAndStopHaveTheirBits) {
  EXPECT_EQ(0x103u, Apply(kRestart, 0x01C));
  EXPECT_EQ(0x103u, Apply(kRestart, 0x000));
  EXPECT_EQ(0x004u, Apply(kStop, 0x119));
  EXPECT_EQ(0x006u, Apply(kStop, 0x11B));
}

}  // namespace
