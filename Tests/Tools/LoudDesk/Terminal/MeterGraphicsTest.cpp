// Bars and history of the live meter.

#include "MeterGraphics.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using louddesk::CellRun;
using louddesk::Glyphs;
using louddesk::Ink;
using louddesk::TextScreen;
using louddesk::ValueRange;

// Ten cells, one per unit.
constexpr CellRun kRun = {0, 0, 10};
constexpr ValueRange kRange = {0, 10, 8};

std::string Bar(std::optional<double> value, std::optional<double> mark = std::nullopt,
                Glyphs glyphs = Glyphs::kBlocks) {
  TextScreen screen({10, 1});
  louddesk::DrawBar(screen, kRun, kRange, value, mark, glyphs);
  return screen.Text(0);
}

TEST(TextScreenTest, TextBeyondTheScreenIsCut) {
  TextScreen screen({4, 1});
  screen.Write(0, 2, "abc", Ink::kPlain);
  screen.Write(1, 0, "below", Ink::kPlain);
  EXPECT_EQ("  ab", screen.Text(0));
  screen.WriteRight(0, 4, "012345", Ink::kPlain);
  EXPECT_EQ("2345", screen.Text(0));
}

TEST(TextScreenTest, BytesThatAreNotPrintableBecomeQuestionMarks) {
  TextScreen screen({4, 1});
  screen.Write(0, 0, "a\x1b\n\xff", Ink::kPlain);
  EXPECT_EQ("a???", screen.Text(0));
}

TEST(MeterGraphicsTest, BarFillsInEighthsOfACell) {
  EXPECT_EQ("··········", Bar(0.0));
  EXPECT_EQ("▏·········", Bar(0.125));
  EXPECT_EQ("███▌······", Bar(3.5));
  EXPECT_EQ("███▉······", Bar(3.875));
  EXPECT_EQ("██████████", Bar(10.0));
}

TEST(MeterGraphicsTest, ValuesBeyondTheEndsFillNothingOrEverything) {
  EXPECT_EQ("··········", Bar(-99.0));
  EXPECT_EQ("██████████", Bar(10.0));
}

TEST(MeterGraphicsTest, ValuesAboveTheEndOfTheScaleAreMarked) {
  EXPECT_EQ("█████████>", Bar(10.1));
  EXPECT_EQ("███······>", Bar(3.0, 10.1));
  EXPECT_EQ("#########>", Bar(10.1, std::nullopt, Glyphs::kAscii));
}

TEST(MeterGraphicsTest, BothSidesOfTheLimitsAreColoured) {
  TextScreen screen({10, 1});
  louddesk::DrawBar(screen, kRun, {0, 10, 8, 3}, 10.0, std::nullopt, Glyphs::kBlocks);
  EXPECT_EQ(Ink::kLow, screen.Row(0)[2].ink);
  EXPECT_EQ(Ink::kGood, screen.Row(0)[3].ink);
  EXPECT_EQ(Ink::kGood, screen.Row(0)[7].ink);
  EXPECT_EQ(Ink::kAlert, screen.Row(0)[8].ink);
}

TEST(MeterGraphicsTest, NoValueIsAnEmptyBar) {
  EXPECT_EQ("··········", Bar(std::nullopt));
}

TEST(MeterGraphicsTest, MarkStandsOutBeyondTheBarOnly) {
  EXPECT_EQ("███··┃····", Bar(3.0, 5.0));
  EXPECT_EQ("███████···", Bar(7.0, 5.0));
}

TEST(MeterGraphicsTest, AsciiBarsNeedNoBlocks) {
  EXPECT_EQ("####.|....", Bar(3.6, 5.0, Glyphs::kAscii));
}

TEST(MeterGraphicsTest, CellsAboveTheLimitAreAlerts) {
  TextScreen screen({10, 1});
  louddesk::DrawBar(screen, kRun, kRange, 9.0, std::nullopt, Glyphs::kBlocks);
  EXPECT_EQ(Ink::kGood, screen.Row(0)[7].ink);
  EXPECT_EQ(Ink::kAlert, screen.Row(0)[8].ink);
  EXPECT_EQ(Ink::kFaint, screen.Row(0)[9].ink);
}

TEST(MeterGraphicsTest, ScaleNumbersStandAtTheirPlaces) {
  TextScreen screen({22, 1});
  const CellRun run = {0, 1, 20};
  const ValueRange range = {-5, 5, 9};
  louddesk::DrawScale(screen, run, range, 5, true);
  // Two cells per unit: -5 in cell 1, 0 in cell 11, +5 in the last one, cell 20.
  EXPECT_EQ("-5         0       +5", screen.Text(0));
}

TEST(MeterGraphicsTest, ScaleNumbersThatWouldTouchAreLeftOut) {
  TextScreen screen({8, 1});
  louddesk::DrawScale(screen, {0, 0, 8}, {-12, 12, 99}, 3, false);
  const std::string text = screen.Text(0);
  EXPECT_EQ(0u, text.find("-12 ")) << text;
  EXPECT_EQ(std::string::npos, text.find("-9")) << text;
}

std::vector<std::string> History(const std::deque<std::optional<double>>& values) {
  TextScreen screen({4, 4});
  louddesk::DrawHistory(screen, {0, 0, 4, 4}, {0, 4, 99}, 2.5, values, Glyphs::kBlocks);
  return {screen.Text(0), screen.Text(1), screen.Text(2), screen.Text(3)};
}

TEST(MeterGraphicsTest, HistoryEndsAtTheRightWithTheLastValue) {
  // Four rows, one per unit; the line at 2.5 is in the second row from the top.
  EXPECT_EQ((std::vector<std::string>{"", "┈┈┈▄", "  ▅█", "  ██"}), History({1.625, 2.5}));
}

TEST(MeterGraphicsTest, HistoryKeepsWhatFits) {
  EXPECT_EQ((std::vector<std::string>{"", "┈┈┈┈", "", "████"}), History({4.0, 1.0, 1.0, 1.0, 1.0}));
}

TEST(MeterGraphicsTest, HistoryTellsLowFromNothing) {
  EXPECT_EQ((std::vector<std::string>{"", "┈┈┈┈", "", " ▁ █"}),
            History({-50.0, std::nullopt, 1.0}));
}

}  // namespace
