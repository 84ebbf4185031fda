// Scales, ticks and the positions of the parts of a plot.

#include "SvgPlot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace louddesk {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

SvgPlot Plot() {
  return SvgPlot("p", "Title", "Description", {0.0, 10.0}, {-40.0, 0.0});
}

std::vector<std::string> Labels(const std::vector<PlotTick>& ticks) {
  std::vector<std::string> labels;
  for (const PlotTick& tick : ticks)
    labels.push_back(tick.label);
  return labels;
}

TEST(SvgPlotTest, PositionsLieOnTheScaleOrAtItsEnds) {
  const PlotScale scale = {-40.0, 0.0};
  EXPECT_DOUBLE_EQ(PositionOn(-40.0, scale), 0.0);
  EXPECT_DOUBLE_EQ(PositionOn(-10.0, scale), 0.75);
  EXPECT_DOUBLE_EQ(PositionOn(5.0, scale), 1.0);
  EXPECT_DOUBLE_EQ(PositionOn(-90.0, scale), 0.0);
}

// The labels for narrow screens.
std::vector<std::string> NarrowLabels(std::vector<PlotTick> ticks) {
  ticks.erase(std::remove_if(ticks.begin(), ticks.end(),
                             [](const PlotTick& tick) { return tick.isForWideScreens; }),
              ticks.end());
  return Labels(ticks);
}

TEST(SvgPlotTest, TimeTicksAreRoundAndEnough) {
  EXPECT_THAT(Labels(TimeTicks(0.6)), ElementsAre("0", "0.1", "0.2", "0.3", "0.4", "0.5", "0.6"));
  EXPECT_THAT(Labels(TimeTicks(5.1)),
              ElementsAre("0", "0.5", "1", "1.5", "2", "2.5", "3", "3.5", "4", "4.5", "5"));
  EXPECT_THAT(Labels(TimeTicks(60.0)),
              ElementsAre("0:00", "0:05", "0:10", "0:15", "0:20", "0:25", "0:30", "0:35", "0:40",
                          "0:45", "0:50", "0:55", "1:00"));
  EXPECT_THAT(Labels(TimeTicks(3600.0)),
              ElementsAre("0:00", "0:05", "0:10", "0:15", "0:20", "0:25", "0:30", "0:35", "0:40",
                          "0:45", "0:50", "0:55", "1:00"));
  EXPECT_THAT(Labels(TimeTicks(86400.0)),
              ElementsAre("0:00", "2:00", "4:00", "6:00", "8:00", "10:00", "12:00", "14:00",
                          "16:00", "18:00", "20:00", "22:00", "24:00"));
}

TEST(SvgPlotTest, NarrowScreensHaveEverySecondTickWhereThereAreMany) {
  EXPECT_THAT(NarrowLabels(TimeTicks(86400.0)),
              ElementsAre("0:00", "4:00", "8:00", "12:00", "16:00", "20:00", "24:00"));
  EXPECT_THAT(NarrowLabels(TimeTicks(0.6)),
              ElementsAre("0", "0.1", "0.2", "0.3", "0.4", "0.5", "0.6"));
}

TEST(SvgPlotTest, FilesOfAnyLengthHaveTicksForEveryScreen) {
  for (double seconds = 0.1; seconds < 1e6; seconds *= 1.1) {
    EXPECT_LE(TimeTicks(seconds).size(), 13U) << seconds;
    EXPECT_GE(NarrowLabels(TimeTicks(seconds)).size(), 2U) << seconds;
    EXPECT_LE(NarrowLabels(TimeTicks(seconds)).size(), 7U) << seconds;
  }
}

TEST(SvgPlotTest, TicksForWideScreensAreMarkedAndTakeNoRow) {
  SvgPlot plot = Plot();
  PlotTick wide = {0.25, "2"};
  wide.isForWideScreens = true;
  plot.AddXTicks({{0.0, "1"}, wide, {4.0, "13"}});
  EXPECT_THAT(plot.Text(), HasSubstr("<g class=\"wide\"><line class=\"grid\" x1=\"2.50%\""));
  EXPECT_THAT(plot.Text(), Not(HasSubstr("dy=\"32\"")));
}

TEST(SvgPlotTest, StepTicksAreTheMultiplesOnTheScale) {
  EXPECT_THAT(Labels(StepTicks({-45.0, 3.0}, 10.0)), ElementsAre("-40", "-30", "-20", "-10", "0"));
  EXPECT_THAT(Labels(StepTicks({0.0, 0.5}, 0.25)), ElementsAre("0", "0.25", "0.5"));
}

TEST(SvgPlotTest, TimeUnitFollowsTheLength) {
  EXPECT_STREQ(TimeUnitOf(59.9), "s");
  EXPECT_STREQ(TimeUnitOf(60.0), "min:s");
  EXPECT_STREQ(TimeUnitOf(3600.0), "h:min");
}

TEST(SvgPlotTest, TitleAndDescriptionNameThePlotToThoseWhoDoNotSeeIt) {
  const std::string text = SvgPlot("p", "A & B", "<C>", {0.0, 1.0}, {0.0, 1.0}).Text();
  EXPECT_THAT(text, HasSubstr("role=\"img\" aria-labelledby=\"p-title p-description\""));
  EXPECT_THAT(text, HasSubstr("<title id=\"p-title\">A &amp; B</title>"));
  EXPECT_THAT(text, HasSubstr("<desc id=\"p-description\">&lt;C&gt;</desc>"));
}

// On a scale of -40 ... 0, -10 is a quarter below the top; 0 is the top and -40 the bottom.
TEST(SvgPlotTest, LinesAndBandsLieAtTheirValues) {
  SvgPlot plot = Plot();
  plot.AddHorizontalLine(-10.0, "limit");
  plot.AddHorizontalBand(-30.0, -20.0, "target");
  plot.AddVerticalBand(2.5, 5.0, "range");
  EXPECT_THAT(plot.Text(), HasSubstr("class=\"limit\" x1=\"0\" x2=\"100%\" y1=\"25.00%\""));
  EXPECT_THAT(plot.Text(), HasSubstr("y=\"50.00%\" height=\"25.00%\""));
  EXPECT_THAT(plot.Text(), HasSubstr("x=\"25.00%\" width=\"25.00%\""));
}

// The narrowest plot is 224 pixels wide. There, labels at 0, 0.25 and 0.5 of 10 are 5.6 pixels
// apart, and a letter is 7 pixels wide.
TEST(SvgPlotTest, LabelsThatWouldTouchStandInFurtherRows) {
  SvgPlot plot = Plot();
  plot.AddXTicks({{0.0, "1"}, {0.25, "2"}, {0.5, "12"}, {4.0, "13"}});
  const std::string text = plot.Text();
  EXPECT_THAT(text, HasSubstr("x=\"0.00%\" y=\"100%\" dy=\"18\">1<"));
  EXPECT_THAT(text, HasSubstr("x=\"2.50%\" y=\"100%\" dy=\"32\">2<"));
  EXPECT_THAT(text, HasSubstr("x=\"5.00%\" y=\"100%\" dy=\"46\">12<"));
  EXPECT_THAT(text, HasSubstr("x=\"40.00%\" y=\"100%\" dy=\"18\">13<"));
  EXPECT_THAT(text, HasSubstr("margin-bottom:56px"));
}

TEST(SvgPlotTest, LabelsWithRoomStandInOneRow) {
  SvgPlot plot = Plot();
  plot.AddXTicks({{0.0, "0"}, {5.0, "5"}, {10.0, "10"}});
  EXPECT_THAT(plot.Text(), Not(HasSubstr("dy=\"32\"")));
  EXPECT_THAT(plot.Text(), HasSubstr("margin-top:8px;margin-bottom:28px"));
}

TEST(SvgPlotTest, CurvesPassThroughTheExtremesOfEachColumn) {
  SvgPlot plot = Plot();
  plot.AddCurve({{{0.0, -40.0F, -20.0F}, {10.0, -10.0F, -10.0F}}}, "curve");
  EXPECT_THAT(plot.Text(), HasSubstr("d=\"M0 1000L0 500L1000 250\""));
}

TEST(SvgPlotTest, ACurveOfOnePointIsADot) {
  SvgPlot plot = Plot();
  plot.AddCurve({{{5.0, -10.0F, -10.0F}}, {{10.0, -20.0F, -20.0F}}}, "curve");
  EXPECT_THAT(plot.Text(), HasSubstr("d=\"M500 250h0M1000 500h0\""));
}

TEST(SvgPlotTest, RibbonsRunAlongTheHighsAndBackAlongTheLows) {
  SvgPlot plot = Plot();
  plot.AddRibbon({{{0.0, -30.0F, -20.0F}, {10.0, -40.0F, -10.0F}}}, "ribbon");
  EXPECT_THAT(plot.Text(), HasSubstr("d=\"M0 500L1000 250L1000 1000L0 750z\""));
}

TEST(SvgPlotTest, AreasStandOnTheFootOfThePlot) {
  SvgPlot plot = Plot();
  plot.AddArea({{{0.0, -30.0F, -20.0F}, {10.0, -40.0F, -10.0F}}}, "area");
  EXPECT_THAT(plot.Text(), HasSubstr("d=\"M0 1000L0 500L1000 250L1000 1000z\""));
}

TEST(SvgPlotTest, BarsHaveTheirWidth) {
  SvgPlot plot = Plot();
  plot.AddBars({{2.0, -40.0, -20.0}}, 1.0, "bar");
  EXPECT_THAT(plot.Text(), HasSubstr("d=\"M200 1000L200 500L300 500L300 1000z\""));
}

TEST(SvgPlotTest, NothingToDrawIsNotAPath) {
  SvgPlot plot = Plot();
  plot.AddCurve({}, "curve");
  plot.AddRibbon({}, "ribbon");
  plot.AddArea({}, "area");
  plot.AddBars({}, 1.0, "bar");
  EXPECT_THAT(plot.Text(), Not(HasSubstr("<path")));
}

TEST(SvgPlotTest, MarksKeepTheirTextOnTheInnerSide) {
  SvgPlot plot = Plot();
  plot.AddVerticalMark(2.0, 34, "left", "gate");
  plot.AddVerticalMark(8.0, 17, "right", "gate");
  EXPECT_THAT(plot.Text(), HasSubstr("x1=\"20.00%\" x2=\"20.00%\" y1=\"-34\""));
  EXPECT_THAT(plot.Text(), HasSubstr("class=\"mark\" x=\"20.00%\" dx=\"5\""));
  EXPECT_THAT(plot.Text(), HasSubstr("class=\"mark end\" x=\"80.00%\" dx=\"-5\""));
}

}  // namespace
}  // namespace louddesk
