// Numbers that a user enters.

#include "NumberCheck.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

TEST(NumberCheckTest, NumbersBetweenTheLimitsAndOnThemAreTaken) {
  for (const char* text : {"-70", "-70.0", "-23.5", "0", "-1e1"})
    EXPECT_EQ(Between(-70.0, 0.0)(text), "") << text;
}

TEST(NumberCheckTest, AnythingElseIsNamedWithTheLimits) {
  for (const char* text : {"-70.1", "0.001", "nan", "inf", "-inf", "1e999", "loud", "", "1x", "1 "})
    EXPECT_EQ(Between(-70.0, 0.0)(text), "\"" + std::string(text) + "\" is not between -70 and 0");
}

TEST(NumberCheckTest, LimitsAreWrittenWithoutDecimalsTheyDoNotHave) {
  EXPECT_EQ(Between(0.1, 1e7)("x"), "\"x\" is not between 0.1 and 10000000");
}

TEST(NumberCheckTest, ACountIsAWholeNumberOfAtLeastOne) {
  for (const char* text : {"1", "007", "18446744073709551615"})
    EXPECT_EQ(CheckCount(text), "") << text;
  for (const char* text : {"0", "-1", "+1", "1.5", "", "many", "18446744073709551616", "0x10"})
    EXPECT_EQ(CheckCount(text), "\"" + std::string(text) + "\" is not a count");
}

}  // namespace
}  // namespace louddesk
