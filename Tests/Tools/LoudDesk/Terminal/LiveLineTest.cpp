// The desk tool's live output on terminals and in pipes.

#include "LiveLine.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using louddesk::LiveLine;
using std::chrono::milliseconds;

const LiveLine::Time kStart{};

const louddesk::TerminalColumns kPipe;

louddesk::TerminalColumns Terminal(std::size_t columns) {
  return [columns] { return columns; };
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

// Padding with blanks to the old width would make the line wrap.
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
