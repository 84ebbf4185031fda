// The progress bar's output to the terminal.

#include "ProgressBar.h"

#include <gtest/gtest.h>

#include <sstream>

namespace louddesk {
namespace {

TEST(ProgressBarTest, ShowsABarAPercentageAndTheLabel) {
  std::ostringstream terminal;
  ProgressBar bar(terminal, 80, "a.wav", 200);
  bar.Show(100);
  EXPECT_EQ(terminal.str(), "\r[###############...............]  50 %  a.wav");
}

TEST(ProgressBarTest, WritesOnlyWhenThePercentageChanges) {
  std::ostringstream terminal;
  ProgressBar bar(terminal, 80, "a.wav", 1000);
  bar.Show(20);
  const std::string before = terminal.str();
  bar.Show(29);
  EXPECT_EQ(terminal.str(), before);
  bar.Show(30);
  EXPECT_EQ(terminal.str(), before + "\r[..............................]   3 %  a.wav");
}

TEST(ProgressBarTest, EndsAtAHundredPercent) {
  for (const std::uint64_t done : {200U, 500U}) {
    std::ostringstream terminal;
    ProgressBar bar(terminal, 80, "a.wav", 200);
    bar.Show(done);
    EXPECT_EQ(terminal.str(), "\r[##############################] 100 %  a.wav") << done;
  }
}

// One column stays free, because a terminal may move to the next line after its last column.
TEST(ProgressBarTest, StaysWithinTheTerminal) {
  for (const std::size_t columns : {0U, 1U, 10U, 44U, 80U}) {
    std::ostringstream terminal;
    ProgressBar bar(terminal, columns, std::string(200, 'x'), 100);
    bar.Show(1);
    EXPECT_LE(terminal.str().size(), std::max<std::size_t>(columns, 1)) << columns << " columns";
  }
}

TEST(ProgressBarTest, ALabelCannotMoveTheCursor) {
  std::ostringstream terminal;
  ProgressBar bar(terminal, 80, "a\nb.wav", 100);
  bar.Show(0);
  EXPECT_EQ(terminal.str(), "\r[..............................]   0 %  a\\x0Ab.wav");
}

TEST(ProgressBarTest, LeavesAnEmptyLineBehind) {
  std::ostringstream terminal;
  {
    ProgressBar bar(terminal, 40, "a.wav", 100);
    bar.Show(1);
    terminal.str("");
  }
  EXPECT_EQ(terminal.str(), "\r" + std::string(39, ' ') + "\r");
}

TEST(ProgressBarTest, WritesNothingWhenNothingWasShown) {
  std::ostringstream terminal;
  { const ProgressBar bar(terminal, 40, "a.wav", 100); }
  EXPECT_EQ(terminal.str(), "");
}

}  // namespace
}  // namespace louddesk
