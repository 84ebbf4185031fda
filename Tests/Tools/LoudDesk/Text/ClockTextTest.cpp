// Times, letter for letter.

#include "ClockText.h"

#include <gtest/gtest.h>

namespace louddesk {
namespace {

TEST(ClockTextTest, HoursMinutesAndSecondsHaveTheNearestTenth) {
  EXPECT_EQ(ClockText(0.0), "0:00:00.0");
  EXPECT_EQ(ClockText(0.05), "0:00:00.1");
  EXPECT_EQ(ClockText(4.24), "0:00:04.2");
  EXPECT_EQ(ClockText(59.96), "0:01:00.0");
  EXPECT_EQ(ClockText(3723.4), "1:02:03.4");
  EXPECT_EQ(ClockText(359999.96), "100:00:00.0");
}

TEST(ClockTextTest, HoursAreLeftOutWhereThereAreNone) {
  EXPECT_EQ(ShortClockText(0.0), "0:00.0");
  EXPECT_EQ(ShortClockText(62.3), "1:02.3");
  EXPECT_EQ(ShortClockText(754.0), "12:34.0");
  EXPECT_EQ(ShortClockText(3723.4), "1:02:03.4");
  EXPECT_EQ(ShortClockText(36000.0), "10:00:00.0");
}

}  // namespace
}  // namespace louddesk
