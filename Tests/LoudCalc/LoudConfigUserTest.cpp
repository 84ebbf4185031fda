// The user's loudness settings: start values, clamping and refusal.

#include "LoudConfigUser.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr unsigned int kMaxUnsigned = std::numeric_limits<unsigned int>::max();

// The record at process start.
const LoudConfigUser_t kAtStart = LoudConfigUser;

// The record outlives a test; each test starts with the values of process start.
class LoudConfigUserTest : public testing::Test {
 protected:
  LoudConfigUserTest() { LoudConfigUser = LoudConfigUser_t{}; }
};

TEST_F(LoudConfigUserTest, RecordHoldsItsStartValues) {
  EXPECT_EQ(kAtStart.WinType, LOUD_WIN_TYPE_MOMENTARY);
  EXPECT_EQ(kAtStart.AlarmToleranceLu, 2);
  EXPECT_EQ(kAtStart.IntegWinSecs, 3U);
  EXPECT_EQ(kAtStart.LraWinTime, 9U);
  EXPECT_EQ(kAtStart.mode, LOUD_MODE_CONTINUOUS);
  EXPECT_EQ(kAtStart.ClusterId, 0U);
  EXPECT_FALSE(kAtStart.OriginFromFP4Cmd);
  EXPECT_FALSE(kAtStart.OriginFromFP4Conf);
  EXPECT_FALSE(kAtStart.OriginFromFP4Prog);
}

TEST_F(LoudConfigUserTest, AlarmTolerancesHaveTheirValues) {
  EXPECT_EQ(LOUD_ALARM_TOLERANCE_MIN, 1);
  EXPECT_EQ(LOUD_ALARM_DEFAULT_TOLERANCE, 2);
  EXPECT_EQ(LOUD_ALARM_TOLERANCE_MAX, 6);
}

TEST_F(LoudConfigUserTest, WindowTypesAreStored) {
  for (LoudWinType_e type :
       {LOUD_WIN_TYPE_INTEGRATED, LOUD_WIN_TYPE_SHORT, LOUD_WIN_TYPE_MOMENTARY}) {
    SetLuWinType(type);
    EXPECT_EQ(GetLuWinType(), type);
    EXPECT_EQ(LoudConfigUser.WinType, type);
  }
}

TEST_F(LoudConfigUserTest, UnknownWindowTypeChangesNothing) {
  SetLuWinType(LOUD_WIN_TYPE_SHORT);
  for (int type : {3, 4, 1000, -1, std::numeric_limits<int>::min()}) {
    SetLuWinType(static_cast<LoudWinType_e>(type));
    EXPECT_EQ(GetLuWinType(), LOUD_WIN_TYPE_SHORT) << type;
  }
}

TEST_F(LoudConfigUserTest, ModesAreStored) {
  for (teLoudModes mode : {LOUD_MODE_START_STOP, LOUD_MODE_CONTINUOUS}) {
    SetLuMode(mode);
    EXPECT_EQ(GetLuMode(), mode);
    EXPECT_EQ(LoudConfigUser.mode, mode);
  }
}

TEST_F(LoudConfigUserTest, UnknownModeChangesNothing) {
  SetLuMode(LOUD_MODE_START_STOP);
  for (int mode : {2, 3, 1000, -1, std::numeric_limits<int>::min()}) {
    SetLuMode(static_cast<teLoudModes>(mode));
    EXPECT_EQ(GetLuMode(), LOUD_MODE_START_STOP) << mode;
  }
}

struct ClampCase {
  unsigned int seconds;
  std::uint32_t stored;
};

TEST_F(LoudConfigUserTest, IntegrationWindowIsHeldToOneSecondAndTwoHours) {
  const ClampCase kCases[] = {{0, 1},       {1, 1},       {2, 2},
                              {3600, 3600}, {7199, 7199}, {7200, 7200},
                              {7201, 7200}, {9000, 7200}, {kMaxUnsigned, 7200}};
  for (const auto& [seconds, stored] : kCases) {
    SetIntegWinTime(seconds);
    EXPECT_EQ(GetIntegWinTime(), stored) << seconds << " s";
    EXPECT_EQ(LoudConfigUser.IntegWinSecs, stored);
  }
}

TEST_F(LoudConfigUserTest, RangeWindowIsHeldToNineSecondsAndThreeHours) {
  const ClampCase kCases[] = {
      {0, 9},         {3, 9},         {8, 9},         {9, 9},         {10, 10},
      {10799, 10799}, {10800, 10800}, {10801, 10800}, {20000, 10800}, {kMaxUnsigned, 10800}};
  for (const auto& [seconds, stored] : kCases) {
    SetLraWinTime(seconds);
    EXPECT_EQ(GetLraWinTime(), stored) << seconds << " s";
    EXPECT_EQ(LoudConfigUser.LraWinTime, stored);
  }
}

TEST_F(LoudConfigUserTest, ClusterIsStoredUnchanged) {
  for (unsigned int cluster : {1U, 0U, kMaxUnsigned}) {
    SetClusterId(cluster);
    EXPECT_EQ(GetClusterId(), cluster);
    EXPECT_EQ(LoudConfigUser.ClusterId, cluster);
  }
}

TEST_F(LoudConfigUserTest, EachOriginMarkIsStoredOnItsOwn) {
  SetOriginFromFP4Cmd(true);
  EXPECT_TRUE(IsOriginFromFP4Cmd());
  EXPECT_FALSE(IsOriginFromFP4Conf());
  EXPECT_FALSE(IsOriginFromFP4Prog());
  SetOriginFromFP4Cmd(false);
  SetOriginFromFP4Conf(true);
  EXPECT_FALSE(IsOriginFromFP4Cmd());
  EXPECT_TRUE(IsOriginFromFP4Conf());
  EXPECT_FALSE(IsOriginFromFP4Prog());
  SetOriginFromFP4Conf(false);
  SetOriginFromFP4Prog(true);
  EXPECT_FALSE(IsOriginFromFP4Cmd());
  EXPECT_FALSE(IsOriginFromFP4Conf());
  EXPECT_TRUE(IsOriginFromFP4Prog());
  SetOriginFromFP4Prog(false);
  EXPECT_FALSE(IsOriginFromFP4Prog());
}

TEST_F(LoudConfigUserTest, SettersTouchNoOtherField) {
  SetLuWinType(LOUD_WIN_TYPE_INTEGRATED);
  SetLuMode(LOUD_MODE_START_STOP);
  SetLraWinTime(100);
  SetIntegWinTime(200);
  SetClusterId(5);
  EXPECT_EQ(LoudConfigUser.WinType, LOUD_WIN_TYPE_INTEGRATED);
  EXPECT_EQ(LoudConfigUser.AlarmToleranceLu, LOUD_ALARM_DEFAULT_TOLERANCE);
  EXPECT_EQ(LoudConfigUser.IntegWinSecs, 200U);
  EXPECT_EQ(LoudConfigUser.LraWinTime, 100U);
  EXPECT_EQ(LoudConfigUser.mode, LOUD_MODE_START_STOP);
  EXPECT_EQ(LoudConfigUser.ClusterId, 5U);
}

}  // namespace
