// The report on a verification, read with an XML parser.

#include "CompliancePage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "ComplianceFormat.h"
#include "ComplianceRows.h"
#include "ParsedPage.h"

namespace louddesk {
namespace {

using test_page::ParsedPage;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

ComplianceRow Row(const std::string& id, const Expectation& expectation,
                  const std::optional<double>& measured) {
  return {id, "a signal", expectation, measured, ComplianceVerdictOn(expectation, measured)};
}

Expectation Momentary(double standard, double expected, const char* detail = "") {
  return {Quantity::kMaxMomentary, detail, Pick::kLast, 14, 14, standard, expected, {0.1, 0.1}};
}

Expectation TruePeak(double standard) {
  return {Quantity::kMaxTruePeak, "", Pick::kLast, 10, 10, standard, standard, {0.4, 0.2}};
}

ComplianceRow Recording() {
  return {"3341-7", "a recording", std::nullopt, std::nullopt, ComplianceVerdict::kNotRun};
}

// All cases, each figure with the value that the grid of blocks predicts.
std::vector<ComplianceRow> AllRows() {
  return RowsOfAllCases([](const Expectation& expectation) { return expectation.expected; });
}

std::string PageOf(const std::vector<ComplianceRow>& rows) {
  return CompliancePage({rows, 44100, "a meter"});
}

TEST(CompliancePageTest, EveryPageIsWellFormed) {
  const std::vector<ComplianceRow> reports[] = {
      {},
      {Recording()},
      {Row("3341-1", Momentary(-23.0, -23.0), std::nullopt)},
      {Row("3341-15", TruePeak(-6.0), -6.0)},
      AllRows()};
  for (const auto& rows : reports)
    EXPECT_TRUE(ParsedPage(PageOf(rows)).IsWellFormed()) << rows.size() << " rows";
}

TEST(CompliancePageTest, EveryCaseIsOnThePageWithItsSignalAndItsExplanation) {
  const ParsedPage page(PageOf(AllRows()));
  for (const ComplianceCase& known : ComplianceCases()) {
    const auto heads =
        page.Texts("//h:tbody[@id='case-" + known.id + "']/h:tr[@class='case']/h:th");
    ASSERT_EQ(heads.size(), 1U) << known.id;
    EXPECT_THAT(heads[0], testing::StartsWith(known.id + ": " + known.signal));
    std::string explanation = ExplanationOf(known.id);
    EXPECT_NE(explanation, "") << known.id;
    explanation.erase(std::remove(explanation.begin(), explanation.end(), '`'), explanation.end());
    EXPECT_THAT(heads[0], HasSubstr(explanation));
  }
}

TEST(CompliancePageTest, EveryFigureOfEveryCaseIsARow) {
  const ParsedPage page(PageOf(AllRows()));
  for (const ComplianceCase& known : ComplianceCases()) {
    std::size_t figures = 0;
    for (const ComplianceRun& run : known.runs)
      figures += run.expectations.size();
    EXPECT_EQ(page.Count("//h:tbody[@id='case-" + known.id + "']/h:tr[h:td]"), figures) << known.id;
  }
}

TEST(CompliancePageTest, ARowShowsWhatTheTerminalShows) {
  const ParsedPage page(PageOf({Row("3341-13", Momentary(-23.0, -23.4576, "i = 2"), -23.4512)}));
  EXPECT_THAT(page.Texts("//h:table[@class='cases']//h:tr[h:td]/h:th"),
              ElementsAre("Maximum momentary, i = 2 LKFS"));
  EXPECT_THAT(page.Texts("//h:table[@class='cases']//h:td"),
              ElementsAre("-23.00", "-23.46",
                          "\xC2\xB1"
                          "0.1",
                          "-23.45", "\xE2\x89\x88 grid"));
  EXPECT_THAT(page.Texts("//h:table[@class='cases']//h:td/@data-name"),
              ElementsAre("Standard", "Expected", "Tolerance", "Measured", "Verdict"));
}

TEST(CompliancePageTest, VerdictsStandInWords) {
  const ParsedPage page(PageOf({Row("3341-1", Momentary(-23.0, -23.0), -23.0),
                                Row("3341-2", Momentary(-23.0, -23.4), -23.4),
                                Row("3341-3", Momentary(-23.0, -23.0), -23.4), Recording()}));
  EXPECT_THAT(page.Texts("//h:tr[@class='case']//h:span[contains(@class, 'verdict')]"),
              ElementsAre("\xE2\x9C\x93 pass", "\xE2\x89\x88 grid", "\xE2\x9C\x97 FAIL",
                          "\xE2\x80\x93 not run"));
}

// Case 13 has one figure of each kind and so counts as failed.
TEST(CompliancePageTest, TheSummaryCountsCasesAndFigures) {
  const ParsedPage page(PageOf({Row("3341-1", Momentary(-23.0, -23.0), -23.0),
                                Row("3341-12", Momentary(-23.0, -23.4), -23.4), Recording(),
                                Row("3341-13", Momentary(-23.0, -23.0), -23.0),
                                Row("3341-13", Momentary(-23.0, -23.4), -23.4),
                                Row("3341-13", Momentary(-23.0, -23.0), -24.0)}));
  const std::string rows = "//h:section[@id='summary']//h:tbody/h:tr";
  EXPECT_THAT(page.Texts(rows + "/h:th"), ElementsAre("\xE2\x9C\x97 FAIL", "\xE2\x89\x88 grid",
                                                      "\xE2\x9C\x93 pass", "\xE2\x80\x93 not run"));
  EXPECT_THAT(page.Texts(rows + "/h:td[@data-name='Cases']"), ElementsAre("1", "1", "1", "1"));
  EXPECT_THAT(page.Texts(rows + "/h:td[@data-name='Figures']"), ElementsAre("1", "2", "2", "-"));
}

TEST(CompliancePageTest, WhatIsNotAsTheStandardAsksIsListed) {
  const ParsedPage page(
      PageOf({Row("3341-1", Momentary(-23.0, -23.0), -23.0),
              Row("3341-13", Momentary(-23.0, -23.0), -23.0),
              Row("3341-13", Momentary(-23.0, -23.4), -23.4), Row("3341-15", TruePeak(-6.0), -5.5),
              Row("3341-16", TruePeak(-6.0), std::nullopt),
              Row("3341-17", Momentary(-23.0, -23.4), -23.0)}));
  EXPECT_THAT(page.Texts("//h:section[@id='summary']//h:h3"),
              ElementsAre("Not met", "Listed deviations"));
  EXPECT_THAT(page.Texts("//h:section[@id='summary']//h:li"),
              ElementsAre("3341-15: 1 of 1 figures, 0.50 dB above the standard at most",
                          "3341-16: 1 of 1 figures, without a reading",
                          "3341-17: 1 of 1 figures, as the standard asks, but not as predicted",
                          "3341-13: 1 of 2 figures, 0.40 LU below the standard at most"));
  EXPECT_THAT(page.Texts("//h:section[@id='summary']//@href"),
              ElementsAre("#case-3341-15", "#case-3341-16", "#case-3341-17", "#case-3341-13"));
}

TEST(CompliancePageTest, WhereAllIsMetNothingIsListed) {
  const ParsedPage page(PageOf({Row("3341-1", Momentary(-23.0, -23.0), -23.0)}));
  EXPECT_EQ(page.Count("//h:section[@id='summary']//h:li"), 0U);
}

TEST(CompliancePageTest, LinksLeadToCasesOnThePage) {
  const ParsedPage page(PageOf(AllRows()));
  const auto ids = page.Texts("//@id");
  EXPECT_EQ(std::set<std::string>(ids.begin(), ids.end()).size(), ids.size());
  for (const std::string& target : page.Texts("//@href"))
    EXPECT_THAT(ids, Contains(target.substr(1)));
}

TEST(CompliancePageTest, EachKindOfReadingHasAPlotThatIsNamedAndDescribed) {
  const ParsedPage page(PageOf(AllRows()));
  EXPECT_THAT(page.Texts("//s:svg[@role='img']/s:title"),
              ElementsAre("Deviation: K-weighting", "Deviation: Momentary loudness",
                          "Deviation: Short-term loudness", "Deviation: Integrated loudness",
                          "Deviation: True peak", "Deviation: Loudness range"));
  EXPECT_EQ(page.Count("//s:svg[@role='img'][s:desc!='']"), 6U);
}

// On a screen of 320 pixels a plot is 224 pixels wide. A letter of a label is 7 pixels wide at
// most.
TEST(CompliancePageTest, LabelsOfCasesDoNotTouchOnANarrowScreen) {
  const ParsedPage page(PageOf(AllRows()));
  const std::size_t plots = page.Count("//s:svg[@role='img']");
  for (std::size_t plot = 1; plot <= plots; ++plot) {
    const std::string labels =
        "(//s:svg[@role='img'])[" + std::to_string(plot) + "]/s:text[@class='x']";
    const auto texts = page.Texts(labels);
    const auto places = page.Texts(labels + "/@x");
    const auto rows = page.Texts(labels + "/@dy");
    ASSERT_EQ(rows.size(), texts.size());
    std::map<std::string, double> ends;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const double middle = std::stod(places[i]) / 100.0 * 224.0;
      const double half = 3.5 * static_cast<double>(texts[i].size());
      if (ends.count(rows[i]) > 0) {
        EXPECT_GT(middle - half, ends[rows[i]]) << texts[i] << " in plot " << plot;
      }
      ends[rows[i]] = middle + half;
    }
  }
}

// On a screen of 320 pixels, two columns have no room for a figure of seven letters beside its
// name.
TEST(CompliancePageTest, FiguresStandBelowEachOtherOnTheNarrowestScreens) {
  EXPECT_THAT(PageOf({}), HasSubstr("@media screen and (max-width: 360px) {\n"
                                    "  .cases tbody tr { grid-template-columns: 1fr; }"));
}

TEST(CompliancePageTest, EveryFigureIsADotInAPlot) {
  const auto rows = AllRows();
  EXPECT_EQ(ParsedPage(PageOf(rows)).Count("//s:svg[@role='img']//s:circle"),
            rows.size() - static_cast<std::size_t>(CountOf(rows, ComplianceVerdict::kNotRun)));
}

// The scale is -2 ... 2 tolerances. Half a tolerance above is at 1.5 of 4 from the top. The
// tolerances of 0.2 upwards and 0.4 downwards differ.
TEST(CompliancePageTest, DotsLieAtTheirShareOfTheTolerance) {
  const ParsedPage page(
      PageOf({Row("3341-15", TruePeak(-6.0), -5.9), Row("3341-16", TruePeak(-6.0), -6.2),
              Row("3341-17", TruePeak(-6.0), -6.0)}));
  EXPECT_THAT(page.Texts("//s:svg[@role='img']//s:circle/@cy"),
              ElementsAre("37.50%", "62.50%", "50.00%"));
  EXPECT_THAT(page.Texts("//s:svg[@role='img']//s:circle/@cx"),
              ElementsAre("16.67%", "50.00%", "83.33%"));
}

// The tolerance of the standard is -1 ... 1 on a scale of -2 ... 2.
TEST(CompliancePageTest, TheToleranceIsABand) {
  const ParsedPage page(PageOf({Row("3341-15", TruePeak(-6.0), -6.0)}));
  EXPECT_THAT(page.Texts("//s:rect[@class='target']/@y"), ElementsAre("25.00%"));
  EXPECT_THAT(page.Texts("//s:rect[@class='target']/@height"), ElementsAre("50.00%"));
}

// -23.46 +-0.1 is -5.6 ... -3.6 tolerances away, on a scale of -6 ... 2: at 950 and 700 of 1000
// from the top.
TEST(CompliancePageTest, WhatTheBlocksPredictIsABandOfItsOwn) {
  const ParsedPage page(PageOf({Row("3341-13", Momentary(-23.0, -23.46), -23.46)}));
  EXPECT_THAT(page.Texts("//s:path[@class='predicted']/@d"),
              ElementsAre("M100 950L100 700L900 700L900 950z"));
  EXPECT_THAT(page.Texts("//s:svg[@role='img']//s:circle/@class"), ElementsAre("noted-dot"));
}

TEST(CompliancePageTest, AReadingFarOffLeavesTheScaleReadable) {
  const ParsedPage page(PageOf({Row("3341-1", Momentary(-23.0, -23.0), 60.0)}));
  EXPECT_THAT(page.Texts("//s:text[@class='y']"), ElementsAre("-2", "0", "+2", "+4", "+6", "+8"));
  EXPECT_THAT(page.Texts("//s:svg[@role='img']//s:circle/@cy"), ElementsAre("0.00%"));
}

TEST(CompliancePageTest, AFigureWithoutAReadingHasNoDotAndThatIsReported) {
  const ParsedPage page(PageOf({Row("3341-1", Momentary(-23.0, -23.0), std::nullopt)}));
  EXPECT_EQ(page.Count("//s:svg[@role='img']//s:circle"), 0U);
  EXPECT_THAT(page.Texts("//h:figcaption"),
              ElementsAre("One tolerance is \xC2\xB1"
                          "0.1 LU. A figure without a reading has no dot."));
}

TEST(CompliancePageTest, ThePageSaysWhatHasMeasuredAndAtWhichRate) {
  EXPECT_THAT(ParsedPage(PageOf({})).Texts("//h:header/h:p"),
              ElementsAre("Test signals of ITU-R BS.1770, EBU Tech 3341 and EBU Tech 3342 at 44.1 "
                          "kHz, measured by a meter."));
}

TEST(CompliancePageTest, NothingIsFetchedOrRun) {
  const std::string text = PageOf(AllRows());
  const ParsedPage page(text);
  EXPECT_EQ(page.Count("//h:script | //h:link | //h:img | //h:iframe | //s:image | //s:use"), 0U);
  EXPECT_EQ(page.Count("//@src | //@*[starts-with(name(), 'on')]"), 0U);
  for (const std::string& target : page.Texts("//@href"))
    EXPECT_EQ(target[0], '#') << target;
  EXPECT_THAT(text, Not(HasSubstr("url(")));
  EXPECT_LT(text.size(), 250000U);
}

}  // namespace
}  // namespace louddesk
