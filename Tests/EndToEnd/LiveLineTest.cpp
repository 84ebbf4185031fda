// The desk tool's live output on terminals and in pipes.

#include "LiveLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "FiguresText.h"

namespace {

using louddesk::FinalText;
using louddesk::HundredthsText;
using louddesk::LiveLine;
using louddesk::LiveText;
using louddesk::RangeText;
using louddesk::TenthsText;
using std::chrono::milliseconds;
using testing::HasSubstr;

const LiveLine::Time kStart{};

const louddesk::TerminalColumns kPipe;

louddesk::TerminalColumns Terminal(std::size_t columns) {
  return [columns] { return columns; };
}

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
  // Neither code has the other's meaning.
  EXPECT_EQ("-9.90", HundredthsText(-990));
}

// The service has no code for it.
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
  // The widest of every figure, after a day.
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

TEST(LiveLineTest, TerminalLineIsRefreshedInPlace) {
  std::ostringstream out;
  LiveLine line(out, Terminal(80));
  line.Show("longer", kStart);
  line.Show("short", kStart + milliseconds(100));
  line.Finish();
  EXPECT_EQ("\rlonger\rshort \n", out.str());
}

TEST(LiveLineTest, PrintedLineTakesThePlaceOfTheTerminalLine) {
  std::ostringstream out;
  LiveLine line(out, Terminal(80));
  line.Show("longer", kStart);
  line.Print("word");
  line.Show("next", kStart + milliseconds(100));
  line.Print("a longer word");
  line.Finish();
  EXPECT_EQ("\rlonger\rword  \n\rnext\ra longer word\n", out.str());
}

TEST(LiveLineTest, PrintedLineBeforeTheTerminalLineIsALine) {
  std::ostringstream out;
  LiveLine line(out, Terminal(80));
  line.Print("word");
  line.Finish();
  EXPECT_EQ("word\n", out.str());
}

TEST(LiveLineTest, PrintedLineInAPipeDelaysNothing) {
  std::ostringstream out;
  LiveLine line(out, kPipe);
  line.Show("0", kStart);
  line.Print("word");
  line.Show("5", kStart + milliseconds(500));
  line.Show("10", kStart + milliseconds(1000));
  EXPECT_EQ("0\nword\n10\n", out.str());
}

TEST(LiveLineTest, TerminalLineIsEndedWithItsOwner) {
  std::ostringstream out;
  { LiveLine(out, Terminal(80)).Show("text", kStart); }
  EXPECT_EQ("\rtext\n", out.str());
}

TEST(LiveLineTest, TerminalLineNeverReachesTheLastColumn) {
  std::ostringstream out;
  LiveLine line(out, Terminal(6));
  line.Show("123456789", kStart);
  EXPECT_EQ("\r12345", out.str());
}

TEST(LiveLineTest, TerminalLineFollowsTheWidthOfTheTerminal) {
  std::ostringstream out;
  std::size_t columns = 10;
  LiveLine line(out, [&columns] { return columns; });
  line.Show("123456789", kStart);
  columns = 6;
  line.Show("abcdefghi", kStart + milliseconds(100));
  columns = 8;
  line.Show("ABCDEFGHI", kStart + milliseconds(200));
  EXPECT_EQ("\r123456789\rabcde\rABCDEFG", out.str());
}

// Blanks up to the old width would wrap.
TEST(LiveLineTest, NothingIsHiddenBeyondTheWidthOfTheTerminal) {
  std::ostringstream out;
  std::size_t columns = 10;
  LiveLine line(out, [&columns] { return columns; });
  line.Show("123456789", kStart);
  columns = 6;
  line.Show("abc", kStart + milliseconds(100));
  line.Show("ABCDE", kStart + milliseconds(200));
  columns = 4;
  line.Print("X");
  EXPECT_EQ("\r123456789\rabc  \rABCDE\rX  \n", out.str());
}

TEST(LiveLineTest, FirstOfSeveralPrintedLinesTakesThePlaceOfTheTerminalLine) {
  std::ostringstream out;
  LiveLine line(out, Terminal(80));
  line.Show("the live line", kStart);
  line.Print("first\nand the second line");
  EXPECT_EQ("\rthe live line\rfirst        \nand the second line\n", out.str());
}

TEST(LiveLineTest, PipeGetsALineASecond) {
  std::ostringstream out;
  LiveLine line(out, kPipe);
  for (int i = 0; i <= 20; ++i)
    line.Show(std::to_string(i), kStart + i * milliseconds(100));
  line.Finish();
  EXPECT_EQ("0\n10\n20\n", out.str());
}

TEST(LiveLineTest, PipeLineIsNotDelayedByJitter) {
  std::ostringstream out;
  LiveLine line(out, kPipe);
  line.Show("first", kStart);
  line.Show("second", kStart + milliseconds(990));
  EXPECT_EQ("first\nsecond\n", out.str());
}

TEST(LiveLineTest, NothingShownLeavesNothingToFinish) {
  std::ostringstream out;
  LiveLine(out, Terminal(80)).Finish();
  EXPECT_EQ("", out.str());
}

}  // namespace
