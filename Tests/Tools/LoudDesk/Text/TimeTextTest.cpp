// Times in the time zone of Berlin, where summer time ended on 2026-10-25 at 03:00.

#include "TimeText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace louddesk {
namespace {

constexpr std::int64_t kNoon = 1795345200;  // 2026-11-22T11:00:00Z, 12:00 in Berlin

class TimeTextTest : public testing::Test {
 protected:
  // Sets the rule itself, so that no time zone database is needed.
  TimeTextTest() {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
  }
  ~TimeTextTest() override {
    unsetenv("TZ");
    tzset();
  }
};

TEST_F(TimeTextTest, AMomentIsShownWithItsDistanceFromUtc) {
  EXPECT_EQ(LocalTimeText(kNoon), "2026-11-22 12:00:00 +0100");
  EXPECT_EQ(LocalTimeText(1792886399), "2026-10-25 01:59:59 +0200");
}

TEST_F(TimeTextTest, TimesWithAZoneAreInIt) {
  for (const char* text :
       {"2026-11-22T11:00:00Z", "2026-11-22T12:00:00+01:00", "2026-11-22T06:00:00-05:00",
        "2026-11-22T11:00Z", "2026-11-22 12:00:00 +0100", "2026-11-22T11:00:00.000Z",
        "2026-11-22T12:00:00.9+01:00", "2026-11-22T12:00:00.123456789"})
    EXPECT_EQ(ReadTime(text, 0), kNoon) << text;
}

TEST_F(TimeTextTest, TimesWithoutAZoneAreTheUsers) {
  for (const char* text :
       {"2026-11-22T12:00:00", "2026-11-22 12:00:00", "2026-11-22T12:00", "2026-11-22 12:00"})
    EXPECT_EQ(ReadTime(text, 0), kNoon) << text;
  EXPECT_EQ(ReadTime("2026-11-22", 0), kNoon - 12 * 3600);
}

TEST_F(TimeTextTest, ATimeAloneIsOfToday) {
  EXPECT_EQ(ReadTime("12:00", kNoon + 5000), kNoon);
  EXPECT_EQ(ReadTime("12:00:07", kNoon - 5000), kNoon + 7);
  EXPECT_EQ(ReadTime("now", kNoon), kNoon);
}

// That day has 25 hours.
TEST_F(TimeTextTest, TheDayOnWhichSummerTimeEndsIsLonger) {
  EXPECT_EQ(ReadTime("2026-10-26", 0).value() - ReadTime("2026-10-25", 0).value(), 25 * 3600);
}

// At its end, 2026-10-25, the clock goes from 03:00 back to 02:00; at its beginning, 2026-03-29,
// from 02:00 on to 03:00.
TEST_F(TimeTextTest, ATimeThatTheClockShowsTwiceOrNeverNeedsItsOffset) {
  for (const char* text :
       {"2026-10-25T02:00", "2026-10-25T02:59:59", "2026-03-29T02:00", "2026-03-29T02:59:59"})
    EXPECT_FALSE(ReadTime(text, 0)) << text;
  EXPECT_EQ(ReadTime("2026-10-25T02:30+02:00", 0), ReadTime("2026-10-25T00:30Z", 0));
  EXPECT_EQ(ReadTime("2026-10-25T02:30+01:00", 0), ReadTime("2026-10-25T01:30Z", 0));
  EXPECT_EQ(ReadTime("2026-10-25T01:59:59", 0), ReadTime("2026-10-24T23:59:59Z", 0));
  EXPECT_EQ(ReadTime("2026-10-25T03:00", 0), ReadTime("2026-10-25T02:00Z", 0));
  EXPECT_EQ(ReadTime("2026-03-29T01:59:59", 0), ReadTime("2026-03-29T00:59:59Z", 0));
  EXPECT_EQ(ReadTime("2026-03-29T03:00", 0), ReadTime("2026-03-29T01:00Z", 0));
}

TEST_F(TimeTextTest, WhatIsNotATimeIsRefused) {
  for (const char* text : {"", "yesterday", "2026-11-31", "2026-13-01", "2026-11-22T25:00:00Z",
                           "2026-11-22T11:00:00ZZ", "12", "1969-12-31", "99999-01-01", "12.5:30",
                           "2026-11-22T11:00:00.Z", "2026-11-22T11:00:00.5.5Z",
                           "2026-11-22T11:00.5Z", "2026-11-22T11:00:00.1234567890Z", "."})
    EXPECT_FALSE(ReadTime(text, kNoon)) << text;
}

TEST_F(TimeTextTest, ALeapYearHasItsDay) {
  EXPECT_TRUE(ReadTime("2028-02-29", 0));
  EXPECT_FALSE(ReadTime("2026-02-29", 0));
}

TEST_F(TimeTextTest, ADurationHasAUnit) {
  EXPECT_EQ(ReadDuration("90s"), 90);
  EXPECT_EQ(ReadDuration("15m"), 900);
  EXPECT_EQ(ReadDuration("1h"), 3600);
  EXPECT_EQ(ReadDuration("7d"), 604800);
  EXPECT_EQ(ReadDuration("2w"), 1209600);
  for (const char* text : {"", "1", "h", "0h", "-1h", "1.5h", "1h30m", "1y", "9999999999s"})
    EXPECT_FALSE(ReadDuration(text)) << text;
}

}  // namespace
}  // namespace louddesk
