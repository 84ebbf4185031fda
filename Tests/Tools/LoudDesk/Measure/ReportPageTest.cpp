// The page, read as an XML parser reads it.

#include "ReportPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "Bin.h"
#include "ParsedPage.h"

namespace louddesk {
namespace {

using test_page::ParsedPage;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

SeriesPoint Point(double seconds, float loudness, float truePeak) {
  SeriesPoint point;
  point.seconds = seconds;
  point.momentary = loudness;
  point.shortTerm = loudness;
  point.integrated = loudness;
  point.lra = 3.0F;
  point.truePeak = truePeak;
  return point;
}

// 60 s at -23 LKFS, within all scales, with a relative gate and a loudness range.
MeasuredSeries Programme(const std::string& file = "music/song.wav") {
  MeasuredSeries series;
  series.file = file;
  series.figures.seconds = 60.0;
  series.figures.integrated = -23.0;
  series.figures.lra = 6.0;
  series.figures.maxMomentary = -18.0;
  series.figures.maxShortTerm = -20.0;
  series.figures.maxTruePeak = -3.0;
  for (int i = 1; i <= 600; ++i)
    series.points.push_back(Point(i / 10.0, i % 2 == 0 ? -23.0F : -24.0F, i == 300 ? -3.F : -9.F));
  series.distribution.readings.assign(kNumLoudnessCodes, 0);
  series.distribution.readings[Cbin::GetBinIndx(-23.005F)] = 450;
  series.distribution.readings[Cbin::GetBinIndx(-39.995F)] = 90;
  series.distribution.readings[0] = 60;
  series.distribution.relativeGate = -33.4;
  series.distribution.lraLow = -26.0;
  series.distribution.lraHigh = -20.0;
  return series;
}

// Two seconds without any reading.
MeasuredSeries Silence() {
  MeasuredSeries series;
  series.file = "silence.wav";
  series.figures.seconds = 2.0;
  for (int i = 1; i <= 20; ++i) {
    series.points.emplace_back();
    series.points.back().seconds = i / 10.0;
  }
  series.distribution.readings.assign(kNumLoudnessCodes, 0);
  series.distribution.readings[0] = 17;
  return series;
}

MeasuredSeries TooShort() {
  MeasuredSeries series;
  series.file = "click.wav";
  series.figures.seconds = 0.05;
  series.distribution.readings.assign(kNumLoudnessCodes, 0);
  return series;
}

std::string PageOf(const std::vector<MeasuredSeries>& files, const LoudnessLimits& limits = {}) {
  return ReportPage({files, {}, limits});
}

TEST(ReportPageTest, EveryPageIsWellFormed) {
  const std::vector<MeasuredSeries> reports[] = {
      {}, {Programme()}, {Silence()}, {TooShort()}, {Programme(), Silence(), TooShort()}};
  for (const auto& files : reports)
    EXPECT_TRUE(ParsedPage(PageOf(files)).IsWellFormed()) << files.size() << " files";
}

// The check of the check: the parser refuses what is not well-formed.
TEST(ReportPageTest, AnUnclosedElementIsNotWellFormed) {
  std::string page = PageOf({Programme()});
  page.erase(page.find("</svg>"), 6);
  EXPECT_FALSE(ParsedPage(page).IsWellFormed());
}

TEST(ReportPageTest, EachFileHasThreePlots) {
  const ParsedPage page(PageOf({Programme("a.wav"), Programme("b.wav")}));
  EXPECT_EQ(page.Count("//h:section"), 2U);
  EXPECT_THAT(page.Texts("//h:section[1]//s:svg[@role='img']/s:title"),
              ElementsAre("Loudness over time", "True peak over time", "Loudness histogram"));
  EXPECT_EQ(page.Count("//s:svg[@role='img']"), 6U);
}

TEST(ReportPageTest, EveryPlotIsNamedAndDescribed) {
  const ParsedPage page(PageOf({Programme("a.wav"), Silence()}));
  const auto ids = page.Texts("//@id");
  EXPECT_EQ(std::set<std::string>(ids.begin(), ids.end()).size(), ids.size());
  for (const std::string& label : page.Texts("//s:svg[@role='img']/@aria-labelledby")) {
    const std::size_t space = label.find(' ');
    EXPECT_THAT(ids, Contains(label.substr(0, space)));
    EXPECT_THAT(ids, Contains(label.substr(space + 1)));
  }
  EXPECT_EQ(page.Count("//s:svg[@role='img'][s:title!=''][s:desc!='']"),
            page.Count("//s:svg[@role='img']"));
  EXPECT_EQ(page.Count("//s:svg[not(@role) and not(@aria-hidden) and not(ancestor::s:svg)]"), 0U);
}

TEST(ReportPageTest, NothingIsFetchedOrRun) {
  const std::string text = ReportPage({{Programme()}, {"x.wav: no such file"}, {}});
  const ParsedPage page(text);
  EXPECT_EQ(page.Count("//h:script | //h:link | //h:img | //h:iframe | //s:image | //s:use"), 0U);
  EXPECT_EQ(page.Count("//@src | //@*[starts-with(name(), 'on')]"), 0U);
  for (const std::string& target : page.Texts("//@href"))
    EXPECT_EQ(target[0], '#') << target;
  EXPECT_THAT(text, Not(HasSubstr("url(")));
  EXPECT_THAT(text, Not(HasSubstr("@import")));
  EXPECT_THAT(page.Texts("//h:meta[@http-equiv='Content-Security-Policy']/@content"),
              ElementsAre("default-src 'none'; style-src 'unsafe-inline'"));
}

TEST(ReportPageTest, LinksOfTheTableLeadToTheirFiles) {
  const ParsedPage page(PageOf({Programme("a.wav"), Silence()}));
  EXPECT_THAT(page.Texts("//h:table//@href"), ElementsAre("#file-1", "#file-2"));
  EXPECT_THAT(page.Texts("//h:section/@id"), ElementsAre("file-1", "file-2"));
}

TEST(ReportPageTest, FileNamesAreTextAndNothingElse) {
  const std::string name = "</style><b onclick=\"x\">&amp;'.wav";
  const ParsedPage page(PageOf({Programme("dir/x" + name)}));
  ASSERT_TRUE(page.IsWellFormed());
  EXPECT_EQ(page.Count("//h:b"), 0U);
  EXPECT_THAT(page.Texts("//h:p[@class='path']"), ElementsAre("dir/x" + name));
  EXPECT_THAT(page.Texts("//h:title"),
              ElementsAre("Loudness of style><b onclick=\"x\">&amp;'.wav"));
}

TEST(ReportPageTest, NamesOfAnyBytesLeaveThePageWellFormed) {
  for (const char* name :
       {"\xFF\xFE.wav", "a\x01\x1F.wav", "\xEF\xBF\xBE.wav", "a\nb.wav", "]]>"}) {
    const ParsedPage page(PageOf({Programme(name)}));
    EXPECT_TRUE(page.IsWellFormed()) << name;
  }
}

TEST(ReportPageTest, FailuresAreListedWithTheirReason) {
  const ParsedPage page(ReportPage({{Programme()}, {"<gone>.wav: no such file"}, {}}));
  EXPECT_THAT(page.Texts("//h:section[h:h2='Not measured']//h:li"),
              ElementsAre("<gone>.wav: no such file"));
  EXPECT_EQ(ParsedPage(PageOf({Programme()})).Count("//h:section[h:h2='Not measured']"), 0U);
}

TEST(ReportPageTest, APageOfFailuresOnlyHasNoTable) {
  const ParsedPage page(ReportPage({{}, {"gone.wav: no such file"}, {}}));
  EXPECT_EQ(page.Count("//h:table"), 0U);
  EXPECT_EQ(page.Count("//h:section"), 1U);
}

TEST(ReportPageTest, FiguresHaveTheNamesAndUnitsOfTheTerminal) {
  const ParsedPage page(PageOf({Programme()}));
  EXPECT_THAT(page.Texts("//h:tbody//h:td/@data-name"),
              ElementsAre("Integrated loudness", "Loudness range", "Maximum momentary",
                          "Maximum short-term", "Maximum true peak", "Duration", "Verdict"));
  EXPECT_THAT(page.Texts("//h:thead//h:span[@class='unit']"),
              ElementsAre("LKFS", "LU", "LKFS", "LKFS", "dBTP", "s"));
  EXPECT_THAT(
      page.Texts("//h:tbody//h:td[position()<7]/h:span"),
      ElementsAre("-23.00 LKFS", "6.00 LU", "-18.00 LKFS", "-20.00 LKFS", "-3.00 dBTP", "60.00 s"));
}

TEST(ReportPageTest, NoReadingIsADashAndNeverANumber) {
  for (const auto& series : {Silence(), TooShort()}) {
    const std::string text = PageOf({series});
    const ParsedPage page(text);
    EXPECT_THAT(page.Texts("//h:tbody//h:td[position()<6]/h:span"),
                ElementsAre("- LKFS", "- LU", "- LKFS", "- LKFS", "- dBTP"));
    EXPECT_THAT(text, Not(HasSubstr("-99")));
    EXPECT_THAT(text, Not(HasSubstr("nan")));
    EXPECT_THAT(text, Not(HasSubstr("inf%")));
  }
}

TEST(ReportPageTest, NoCoordinateIsAnythingButANumber) {
  const ParsedPage page(PageOf({Programme(), Silence()}));
  const auto coordinates = page.Texts(
      "//s:svg//@x | //s:svg//@y | //s:svg//@x1 | //s:svg//@x2 | //s:svg//@y1 | "
      "//s:svg//@y2 | //s:svg//@width | //s:svg//@height | //s:svg//@cx | //s:svg//@cy");
  EXPECT_GT(coordinates.size(), 50U);
  for (const std::string& coordinate : coordinates)
    EXPECT_THAT(coordinate, testing::MatchesRegex("-?[0-9.]+%?"));
  for (const std::string& data : page.Texts("//s:path/@d"))
    EXPECT_EQ(data.find_first_not_of("MLHhz0123456789. "), std::string::npos) << data;
}

TEST(ReportPageTest, VerdictsStandInWords) {
  MeasuredSeries loud = Programme();
  loud.figures.integrated = -20.0;
  loud.figures.maxTruePeak = 0.5;
  const ParsedPage page(PageOf({Programme(), loud, Silence()}));
  EXPECT_THAT(page.Texts("//h:section//h:p[@class='finding']"),
              ElementsAre("\xE2\x9C\x93 Pass -23.00 LKFS, on the target.",
                          "\xE2\x9C\x93 Pass -3.00 dBTP, 2.00 dB below the limit.",
                          "\xE2\x9C\x97 Fail -20.00 LKFS, 3.00 LU above the target.",
                          "\xE2\x9C\x97 Fail 0.50 dBTP, 1.50 dB above the limit.",
                          "\xE2\x80\x93 No reading There is no reading, so nothing is judged.",
                          "\xE2\x80\x93 No reading There is no reading, so nothing is judged."));
  EXPECT_THAT(page.Texts("//h:tbody//h:td[7]"),
              ElementsAre("\xE2\x9C\x93 Pass", "\xE2\x9C\x97 Fail", "\xE2\x80\x93 No reading"));
}

TEST(ReportPageTest, ThePageNamesTheLimits) {
  EXPECT_THAT(ParsedPage(PageOf({Programme()})).Texts("//h:header/h:p"),
              ElementsAre("EBU R 128: integrated loudness -23.00 LKFS \xC2\xB1"
                          "0.50 LU, true peak at most -1.00 dBTP."));
}

// On the EBU +9 scale around -23, which is -41 ... -14: the band from -22.5 to -23.5 begins
// 8.5/27 below the top and is 1/27 high; the target lies 9/27 below the top. The true peak reaches
// from -40 to 3: -1 lies 4/43 below the top, and so does the foot of what is forbidden.
TEST(ReportPageTest, LimitsAreDrawnAtTheirValues) {
  const ParsedPage page(PageOf({Programme()}));
  EXPECT_THAT(page.Texts("//s:svg[s:title='Loudness over time']/s:rect[@class='target']/@y"),
              ElementsAre("31.48%"));
  EXPECT_THAT(page.Texts("//s:svg[s:title='Loudness over time']/s:rect[@class='target']/@height"),
              ElementsAre("3.70%"));
  EXPECT_THAT(page.Texts("//s:line[@class='aim']/@y1"), ElementsAre("33.33%"));
  EXPECT_THAT(page.Texts("//s:line[@class='limit']/@y1"), ElementsAre("9.30%"));
  EXPECT_THAT(page.Texts("//s:rect[@class='forbidden']/@height"), ElementsAre("9.30%"));
}

// A target of -16 has a scale of -34 ... -7 and a band of 2/27; -2 lies 5/43 below the top.
TEST(ReportPageTest, ChosenLimitsAreDrawnInstead) {
  const ParsedPage page(PageOf({Programme()}, {-16.0, 1.0, -2.0}));
  EXPECT_THAT(page.Texts("//s:svg[s:title='Loudness over time']/s:rect[@class='target']/@height"),
              ElementsAre("7.41%"));
  EXPECT_THAT(page.Texts("//s:line[@class='limit']/@y1"), ElementsAre("11.63%"));
  EXPECT_THAT(page.Texts("//h:figure[1]//h:li[4]"), ElementsAre("Target -16.00 LKFS \xC2\xB1"
                                                                "1.00 LU"));
}

// EBU Tech 3341: +9 reaches from -18 to +9 LU, +18 from -36 to +18 LU; beyond that in steps of 6.
TEST(ReportPageTest, LoudnessIsDrawnOnTheEbuScaleThatHoldsIt) {
  struct {
    double maxMomentary;
    double lraLow;
    const char* top;
    const char* foot;
  } const cases[] = {
      {-14.0, -41.0, "+6 LU", "-18 LU"},
      {-13.9, -30.0, "+18 LU", "-36 LU"},
      {-20.0, -41.1, "+18 LU", "-36 LU"},
      {-4.0, -30.0, "+24 LU", "-36 LU"},
  };
  for (const auto& c : cases) {
    MeasuredSeries series = Programme();
    series.figures.maxMomentary = c.maxMomentary;
    series.distribution.lraLow = c.lraLow;
    const auto labels = ParsedPage(PageOf({series})).Texts("//s:text[@class='other']");
    EXPECT_EQ(labels.front(), c.foot) << c.maxMomentary << " " << c.lraLow;
    EXPECT_EQ(labels.back(), c.top) << c.maxMomentary << " " << c.lraLow;
  }
}

TEST(ReportPageTest, AllThreeLoudnessesAndTheTruePeakAreDrawn) {
  const ParsedPage page(PageOf({Programme()}));
  for (const char* curve : {"momentary", "short", "integrated", "peak", "peaks"})
    EXPECT_EQ(page.Count(std::string("//s:svg/s:svg/s:path[@class='") + curve + "']"), 1U) << curve;
}

// 30 s of 60 s, and -3 on -40 ... 3.
TEST(ReportPageTest, TheHighestPeakIsMarkedAndNamed) {
  const ParsedPage page(PageOf({Programme()}));
  EXPECT_THAT(page.Texts("//s:circle/@cx"), ElementsAre("50.00%"));
  EXPECT_THAT(page.Texts("//s:circle/@cy"), ElementsAre("13.95%"));
  EXPECT_THAT(page.Texts("//h:figure[2]//h:li[1]"),
              ElementsAre("True peak of each 100 ms, highest: -3.00 dBTP at 30.0 s"));
}

// From -72 to -20: the gate of -70 lies at 2/52, that of -33.4 at 38.6/52.
TEST(ReportPageTest, HistogramMarksGatesPercentilesAndLoudness) {
  const ParsedPage page(PageOf({Programme()}));
  auto texts = page.Texts("//s:text[contains(@class, 'mark')]");
  EXPECT_THAT(texts, testing::UnorderedElementsAre("Absolute gate -70", "Relative gate -33.40",
                                                   "10 % point -26.00", "Integrated -23.00",
                                                   "95 % point -20.00"));
  EXPECT_THAT(page.Texts("//s:line[@class='gate']/@x1"),
              testing::UnorderedElementsAre("3.85%", "74.23%"));
}

// A mark's line begins above the texts of all marks further in, so that none crosses a text.
TEST(ReportPageTest, TextsOfTheHistogramStandInRowsOfTheirOwn) {
  const ParsedPage page(PageOf({Programme()}));
  const auto rows = page.Texts("//s:text[contains(@class, 'mark')]/@y");
  EXPECT_EQ(std::set<std::string>(rows.begin(), rows.end()).size(), 5U);
}

// 450 of 600 readings count, 90 lie below the relative gate, 60 below the absolute one. The scale
// ends at 80 %: bars of 75 and 15 % are 937.5 and 187.5 of 1000 high.
TEST(ReportPageTest, HistogramPartsWhatCountsFromWhatIsGated) {
  const ParsedPage page(PageOf({Programme()}));
  const auto counted = page.Texts("//s:path[@class='counted']/@d");
  const auto gated = page.Texts("//s:path[@class='gated']/@d");
  ASSERT_EQ(counted.size(), 1U);
  ASSERT_EQ(gated.size(), 1U);
  EXPECT_THAT(counted[0], HasSubstr(" 62.5L"));
  EXPECT_EQ(std::count(counted[0].begin(), counted[0].end(), 'z'), 1);
  EXPECT_THAT(gated[0], HasSubstr(" 812.5L"));
  EXPECT_EQ(std::count(gated[0].begin(), gated[0].end(), 'z'), 1);
  EXPECT_THAT(page.Texts("//h:figure[3]/h:figcaption")[0],
              HasSubstr("10.00 % of the readings lie below the absolute gate."));
}

TEST(ReportPageTest, SilenceHasNoHistogramAndNoCurve) {
  const ParsedPage page(PageOf({Silence()}));
  EXPECT_EQ(page.Count("//s:svg[@role='img']"), 2U);
  EXPECT_EQ(page.Count("//s:svg/s:svg/s:path"), 0U);
  EXPECT_EQ(page.Count("//s:circle"), 0U);
  EXPECT_THAT(page.Texts("//h:section/h:p"),
              Contains(HasSubstr("No reading lies above the absolute gate")));
}

TEST(ReportPageTest, AFileShorterThanABlockHasItsTruePeakOnly) {
  MeasuredSeries series = TooShort();
  series.figures.maxTruePeak = -3.0;
  series.points.emplace_back();
  series.points.back().seconds = 0.05;
  series.points.back().truePeak = -3.0F;
  const ParsedPage page(PageOf({series}));
  EXPECT_TRUE(page.IsWellFormed());
  EXPECT_EQ(page.Count("//s:circle[@class='peak-dot']"), 1U);
  EXPECT_THAT(page.Texts("//h:ul[@class='legend']/h:li"),
              Contains(HasSubstr("highest: -3.00 dBTP at 0.1 s")));
  EXPECT_THAT(page.Texts("//h:section/h:p"),
              Contains(HasSubstr("No reading lies above the absolute gate")));
}

TEST(ReportPageTest, AFileWithoutAudioHasNothingToDraw) {
  const ParsedPage page(PageOf({TooShort()}));
  EXPECT_EQ(page.Count("//s:svg"), 0U);
  EXPECT_THAT(page.Texts("//h:section/h:p"), Contains(HasSubstr("nothing to draw")));
}

TEST(ReportPageTest, FiguresAtTheEndOfTheirScalesAreMarkedInTableAndPlots) {
  MeasuredSeries series = Programme();
  series.figures.isPeakAtLeast = true;
  series.figures.isMomentaryAtLeast = true;
  series.figures.isLoudnessAtLeast = true;
  const ParsedPage page(PageOf({series}));
  const std::string sign = "\xE2\x89\xA5 ";
  const auto cells = page.Texts("//h:tbody/h:tr/h:td/h:span");
  for (const char* figure : {"-23.00 LKFS", "-18.00 LKFS", "-20.00 LKFS", "-3.00 dBTP"})
    EXPECT_THAT(cells, Contains(sign + figure));
  EXPECT_THAT(cells, Contains("60.00 s"));
  EXPECT_THAT(page.Texts("//h:ul[@class='legend']/h:li"),
              Contains(HasSubstr("highest: at least -3.00 dBTP at 30.0 s")));
  const auto descriptions = page.Texts("//s:desc");
  EXPECT_THAT(descriptions, Contains(HasSubstr("Integrated loudness at least -23.00 LKFS. Maximum "
                                               "momentary loudness at least -18.00 LKFS. Maximum "
                                               "short-term loudness at least -20.00 LKFS. ")));
  EXPECT_THAT(descriptions, Contains(HasSubstr("Integrated at least -23.00 LKFS")));
}

TEST(ReportPageTest, NotesOnTheFiguresAreShown) {
  MeasuredSeries series = Programme();
  series.figures.isPeakAtLeast = true;
  EXPECT_THAT(ParsedPage(PageOf({series})).Texts("//h:ul[@class='notes']/h:li"),
              ElementsAre("beyond the scale and thus at least what is shown: Maximum true peak"));
}

// Two hours are 72000 blocks; the highest peak must survive.
TEST(ReportPageTest, APageOfTwoHoursStaysSmall) {
  MeasuredSeries series = Programme();
  series.points.clear();
  for (int i = 1; i <= 72000; ++i) {
    const auto wave = static_cast<float>(std::sin(i * 0.7) + std::sin(i * 0.013));
    series.points.push_back(Point(i / 10.0, -23.0F + 3.0F * wave, -12.0F + 4.0F * wave));
  }
  const std::string page = PageOf({series});
  EXPECT_LT(page.size(), 250000U);
  EXPECT_TRUE(ParsedPage(page).IsWellFormed());
}

// 900 columns at most, of which an outline needs two points each and the corners of its ends.
TEST(ReportPageTest, TheNumberOfPointsIsBoundedHoweverLongTheFile) {
  MeasuredSeries series = Programme();
  series.points.clear();
  for (int i = 1; i <= 72000; ++i)
    series.points.push_back(Point(i / 10.0, -23.0F - static_cast<float>(i % 7), -12.0F));
  const auto curves = ParsedPage(PageOf({series})).Texts("//s:svg/s:svg/s:path/@d");
  EXPECT_GE(curves.size(), 5U);
  for (const std::string& data : curves)
    EXPECT_LE(std::count_if(data.begin(), data.end(), [](char c) { return c == 'M' || c == 'L'; }),
              2 * 900 + 2);
}

TEST(ReportPageTest, LightAndDarkNarrowAndPaperAreProvidedFor) {
  const std::string page = PageOf({Programme()});
  EXPECT_THAT(page, HasSubstr("@media screen and (prefers-color-scheme: dark)"));
  EXPECT_THAT(page, HasSubstr("@media screen and (max-width: 760px)"));
  EXPECT_THAT(page, HasSubstr("@media print"));
  EXPECT_THAT(page, HasSubstr("name=\"viewport\" content=\"width=device-width"));
}

}  // namespace
}  // namespace louddesk
