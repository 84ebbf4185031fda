// Addresses of the boards: compiled defaults, and environment variables that override them.

#include "BoardAddresses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using testing::HasSubstr;

class BoardAddressesTest : public testing::Test {
 protected:
  BoardAddressesTest() {
    unsetenv(kMainBoardVariable);
    unsetenv(kOpticalBoardVariable);
  }

  std::string error_;
};

TEST_F(BoardAddressesTest, DefaultsAreTheAddressesConfiguredForTheBuild) {
  ASSERT_TRUE(LoadBoardAddresses(error_));
  EXPECT_STREQ(DEFAULT_MAIN_BOARD_ADDRESS, MainBoardAddress());
  EXPECT_STREQ(DEFAULT_OPTICAL_BOARD_ADDRESS, OpticalBoardAddress());
  EXPECT_STRNE(MainBoardAddress(), OpticalBoardAddress());
}

TEST_F(BoardAddressesTest, EnvironmentOverridesEachAddress) {
  setenv(kMainBoardVariable, "127.0.0.1", 1);
  setenv(kOpticalBoardVariable, "127.0.0.2", 1);
  ASSERT_TRUE(LoadBoardAddresses(error_));
  EXPECT_STREQ("127.0.0.1", MainBoardAddress());
  EXPECT_STREQ("127.0.0.2", OpticalBoardAddress());
}

TEST_F(BoardAddressesTest, OneAddressCanBeOverriddenAlone) {
  setenv(kOpticalBoardVariable, "10.1.2.3", 1);
  ASSERT_TRUE(LoadBoardAddresses(error_));
  EXPECT_STREQ(DEFAULT_MAIN_BOARD_ADDRESS, MainBoardAddress());
  EXPECT_STREQ("10.1.2.3", OpticalBoardAddress());
}

TEST_F(BoardAddressesTest, InvalidValueIsNamedAndChangesNothing) {
  for (const char* variable : {kMainBoardVariable, kOpticalBoardVariable}) {
    for (const char* value : {"", "localhost", "1.2.3", "1.2.3.4.5", "256.1.1.1", "::1"}) {
      setenv(kMainBoardVariable, "127.0.0.7", 1);
      setenv(kOpticalBoardVariable, "127.0.0.8", 1);
      ASSERT_TRUE(LoadBoardAddresses(error_));
      setenv(kMainBoardVariable, "127.0.0.9", 1);
      setenv(variable, value, 1);
      EXPECT_FALSE(LoadBoardAddresses(error_)) << variable << "=" << value;
      EXPECT_THAT(error_, HasSubstr(variable));
      EXPECT_THAT(error_, HasSubstr(std::string("\"") + value + "\""));
      EXPECT_STREQ("127.0.0.7", MainBoardAddress());
      EXPECT_STREQ("127.0.0.8", OpticalBoardAddress());
    }
  }
}

}  // namespace
