// The published codes in words.

#include "FiguresText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace louddesk {
namespace {

using testing::HasSubstr;

TEST(FiguresTextTest, CodesAreTenthsAndHundredths) {
  EXPECT_EQ("-23.0", TenthsText(-230));
  EXPECT_EQ("-0.5", TenthsText(-5));
  EXPECT_EQ("0.0", TenthsText(0));
  EXPECT_EQ("9.9", TenthsText(99));
  EXPECT_EQ("-1.02", HundredthsText(-102));
  EXPECT_EQ("0.00", HundredthsText(0));
  EXPECT_EQ("6.02", HundredthsText(602));
}

TEST(FiguresTextTest, NoReadingIsADash) {
  EXPECT_EQ("-", TenthsText(-990));
  EXPECT_EQ("-", HundredthsText(-9900));
  // Each of the two special codes is special only in its own fields.
  EXPECT_EQ("-9.90", HundredthsText(-990));
}

// The service has no code for a missing range.
TEST(FiguresTextTest, RangeOfNothingIsADash) {
  LoudnessData_t data;
  EXPECT_EQ("-", RangeText(data));
  EXPECT_THAT(LiveText(1, data), HasSubstr("  LRA    - LU"));
  EXPECT_THAT(FinalText(1, data), HasSubstr("Loudness range              - LU\n"));
  data.Integrated = -230;
  EXPECT_EQ("0.0", RangeText(data));
  EXPECT_THAT(LiveText(1, data), HasSubstr("  LRA  0.0 LU"));
  data = LoudnessData_t{};
  data.Lra = 5;
  EXPECT_EQ("0.5", RangeText(data));
}

TEST(FiguresTextTest, LiveTextFitsATerminalOfEightyColumns) {
  // Every figure at its widest, after a day.
  const LoudnessData_t widest = {-701, -701, -701, -701, 801, -701, -9031, -9031};
  EXPECT_LE(LiveText(86400, widest).size(), 79u) << LiveText(86400, widest);
}

TEST(FiguresTextTest, FinalTextHasEveryFigure) {
  const LoudnessData_t data = {-101, -102, -103, -104, 105, -106, -107, -108};
  EXPECT_EQ(
      "Integrated loudness     -10.4 LKFS\n"
      "Programme loudness      -10.6 LKFS\n"
      "Loudness range           10.5 LU\n"
      "Momentary               -10.2 LKFS\n"
      "Maximum momentary       -10.1 LKFS\n"
      "Short-term              -10.3 LKFS\n"
      "True peak               -1.08 dBTP\n"
      "Maximum true peak       -1.07 dBTP\n"
      "Duration                 12.3 s\n"
      "(integrated, programme and range as of their last refresh, once a second)\n",
      FinalText(12.34, data));
}

}  // namespace
}  // namespace louddesk
