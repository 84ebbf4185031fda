// The page, read with an XML parser.

#include "ReportPage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "Bin.h"
#include "ParsedPage.h"
#include "TestProgrammes.h"

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

// A file with one programme.
struct File {
  FileFacts facts;
  MeasuredProgramme programme;
};

void Count(LoudnessHistogram& histogram, float lkfs, int times) {
  for (int i = 0; i < times; ++i)
    histogram.Count(Cbin::GetBinIndx(lkfs));
}

// 60 s at -23 LKFS, within all scales, with a relative gate and a loudness range: 450 momentary
// readings at -23, 90 at -40 and 60 of silence; half of the short-term readings at -26, half at
// -20.
File Programme(const std::string& file = "music/song.wav") {
  MeasuredProgramme programme = Stereo();
  Figures& figures = programme.figures;
  figures.seconds = 60.0;
  figures.integrated = -23.0;
  figures.lra = 6.0;
  figures.maxMomentary = -18.0;
  figures.maxShortTerm = -20.0;
  figures.maxTruePeak = -3.0;
  figures.maxTruePeakAt = 30.0;
  for (int i = 1; i <= 600; ++i)
    programme.points.push_back(
        Point(i / 10.0, i % 2 == 0 ? -23.0F : -24.0F, i == 300 ? -3.F : -9.F));
  Count(programme.readings.momentary, -23.005F, 450);
  Count(programme.readings.momentary, -39.995F, 90);
  Count(programme.readings.momentary, -99.0F, 60);
  Count(programme.readings.shortTerm, -25.995F, 50);
  Count(programme.readings.shortTerm, -19.995F, 50);
  return {FactsOf(file), programme};
}

// Two seconds without any reading.
File SilentFile() {
  MeasuredProgramme programme = Silence();
  programme.figures.seconds = 2.0;
  for (int i = 1; i <= 20; ++i) {
    programme.points.emplace_back();
    programme.points.back().seconds = i / 10.0;
  }
  Count(programme.readings.momentary, -99.0F, 17);
  return {FactsOf("silence.wav"), programme};
}

File TooShort() {
  MeasuredProgramme programme = Silence();
  programme.figures.seconds = 0.05;
  return {FactsOf("click.wav"), programme};
}

ReportPage Report(const std::vector<File>& files,
                  const Criteria& criteria = CriteriaOf("ebu-r128-v3")) {
  ReportPage report(criteria, "2026-11-22 14:05:12 +0100", "1.2.3");
  for (const File& file : files)
    report.Add(SubjectOf(file.facts, file.programme));
  return report;
}

std::string PageOf(const std::vector<File>& files,
                   const Criteria& criteria = CriteriaOf("ebu-r128-v3")) {
  return Report(files, criteria).Text();
}

std::string PageWithFailure(const std::vector<File>& files, const std::string& path,
                            const std::string& reason) {
  ReportPage report = Report(files);
  report.AddFailure(path, reason);
  return report.Text();
}

TEST(ReportPageTest, EveryPageIsWellFormed) {
  const std::vector<File> reports[] = {
      {}, {Programme()}, {SilentFile()}, {TooShort()}, {Programme(), SilentFile(), TooShort()}};
  for (const auto& files : reports)
    EXPECT_TRUE(ParsedPage(PageOf(files)).IsWellFormed()) << files.size() << " files";
}

// Tests the check itself: the parser refuses a page that is not well-formed.
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
  const ParsedPage page(PageOf({Programme("a.wav"), SilentFile()}));
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
  const std::string text = PageWithFailure({Programme()}, "x.wav", "x.wav: no such file");
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
  const ParsedPage page(PageOf({Programme("a.wav"), SilentFile()}));
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

TEST(ReportPageTest, WhatCouldNotBeMeasuredStandsInTheFirstTableWithTheReason) {
  const ParsedPage page(
      PageWithFailure({Programme()}, "dir/<gone>.wav", "dir/<gone>.wav: no such file"));
  EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:tbody/h:tr[2]/h:th"),
              ElementsAre("<gone>.wav"));
  EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:tbody/h:tr[2]/h:td"),
              ElementsAre("\xE2\x9C\x97 Not measured no such file"));
  // The row is as wide as the others.
  EXPECT_THAT(
      page.Texts("//h:tr[@class='failed']/h:td/@colspan"),
      ElementsAre(std::to_string(page.Count("//h:table[@class='programmes']/h:thead//h:th") - 1)));
}

TEST(ReportPageTest, APageOfFailuresOnlyIsATable) {
  const ParsedPage page(PageWithFailure({}, "gone.wav", "gone.wav: no such file"));
  EXPECT_TRUE(page.IsWellFormed());
  EXPECT_EQ(page.Count("//h:table"), 1U);
  EXPECT_EQ(page.Count("//h:section"), 0U);
}

TEST(ReportPageTest, TheHeadOfTheTableCountsVerdictsOfFiles) {
  File loud = Programme();
  loud.programme.figures.integrated = -20.0;
  ReportPage report = Report({Programme(), loud, loud});
  EXPECT_THAT(ParsedPage(report.Text()).Texts("//h:table[@class='programmes']/h:caption"),
              ElementsAre("1 pass, 2 fail, 0 not measured"));
  const File silence = SilentFile();
  report.Add(SubjectOf(silence.facts, silence.programme));
  report.AddFailure("a.wav", "a.wav: is empty");
  report.Add({nullptr, 4, false, &loud.programme});
  EXPECT_THAT(ParsedPage(report.Text()).Texts("//h:table[@class='programmes']/h:caption"),
              ElementsAre("1 pass, 2 fail, 1 open, 1 not measured"));
  EXPECT_THAT(ParsedPage(PageOf({loud}, CriteriaOf("spotify")))
                  .Texts("//h:table[@class='programmes']/h:caption"),
              ElementsAre("0 pass, 0 fail, 1 not judged, 0 not measured"));
}

TEST(ReportPageTest, ThePageSaysWhenAndByWhatItWasMeasured) {
  EXPECT_THAT(ParsedPage(PageOf({Programme()})).Texts("//h:p[@class='made']"),
              ElementsAre("Measured on 2026-11-22 14:05:12 +0100 by LoudDesk 1.2.3."));
}

std::vector<std::string> FactsIn(const ParsedPage& page) {
  std::vector<std::string> facts = page.Texts("//h:dl/h:div/h:dt");
  const std::vector<std::string> texts = page.Texts("//h:dl/h:div/h:dd");
  for (std::size_t i = 0; i < facts.size(); ++i)
    facts[i] += ": " + texts.at(i);
  return facts;
}

TEST(ReportPageTest, EachFileIsReportedWithItsFacts) {
  File file = Programme();
  file.facts.sha256 = "0123abcd";
  EXPECT_THAT(
      FactsIn(ParsedPage(PageOf({file}))),
      ElementsAre("Format: WAV, 16 bit", "Sample rate: 48000 Hz", "Size: 1 234 567 bytes",
                  "SHA-256: 0123abcd", "Duration: 0:01:00.0", "Channels: 1 L, 2 R",
                  "Maximum momentary: -18.00 LKFS at 0:00:10.4",
                  "Maximum short-term: -20.00 LKFS at 0:00:12.0",
                  "Maximum true peak: -3.00 dBTP at 0:00:30.0", "Gain to -23.00 LKFS: +0.00 dB",
                  "The same, true peak up to -1.00 dBTP: +0.00 dB"));
}

TEST(ReportPageTest, FilesAsOneHaveNoTimesAndNoCurves) {
  const File file = Programme();
  MeasuredProgramme all = file.programme;
  all.figures.maxMomentaryAt = all.figures.maxShortTermAt = all.figures.maxTruePeakAt = 0.0;
  all.channels.clear();
  all.points.clear();
  ReportPage report = Report({});
  report.Add({nullptr, 3, false, &all});
  const ParsedPage page(report.Text());
  EXPECT_TRUE(page.IsWellFormed());
  EXPECT_THAT(FactsIn(page), ElementsAre("Duration: 0:01:00.0", "Channels: 1 L, 2 R",
                                         "Gain to -23.00 LKFS: +0.00 dB",
                                         "The same, true peak up to -1.00 dBTP: +0.00 dB"));
  EXPECT_THAT(page.Texts("//s:svg[@role='img']/s:title"), ElementsAre("Loudness histogram"));
}

TEST(ReportPageTest, EachChannelHasItsPeaksUnderACaption) {
  const ParsedPage page(PageOf({Programme()}));
  EXPECT_THAT(page.Texts("//h:section//h:table[1]/h:caption"),
              ElementsAre("Highest peaks of each channel"));
  EXPECT_THAT(page.Texts("//h:section//h:table[1]/h:tbody/h:tr/h:th"),
              ElementsAre("1 Left", "2 Right"));
  EXPECT_THAT(page.Texts("//h:section//h:table[1]/h:tbody/h:tr/h:td"),
              ElementsAre("-1.00 dBTP", "-1.25 dBFS", "-6.02 dBTP", "- dBFS"));
}

// The true peak of block 300 is -3, all others -9.
TEST(ReportPageTest, PassagesAboveALimitAreListedWithTheirTimes) {
  Criteria criteria = CriteriaOf("ebu-r128-v3");
  EXPECT_EQ(ParsedPage(PageOf({Programme()}, criteria)).Count("//h:section//h:table"), 1U);
  criteria.limits.maxTruePeak = -4.0;
  criteria.limits.maxMomentary = -23.5;
  const ParsedPage page(PageOf({Programme()}, criteria));
  const std::string rows = "//h:section//h:table[2]/h:tbody/h:tr";
  EXPECT_THAT(page.Texts(rows + "/h:th"), ElementsAre("True peak", "Momentary loudness"));
  EXPECT_THAT(page.Texts(rows + "[1]/h:td"),
              ElementsAre("0:00:29.9 h:mm:ss", "0:00:30.0 h:mm:ss", "-3.00 dBTP"));
  EXPECT_THAT(page.Texts(rows + "[2]/h:td"),
              ElementsAre("0:00:00.0 h:mm:ss", "0:01:00.0 h:mm:ss", "-23.00 LKFS"));
}

TEST(ReportPageTest, ManyPassagesAreCountedAndTheFirstListed) {
  File file = Programme();
  file.programme.points.clear();
  for (int i = 1; i <= 6000; ++i)
    file.programme.points.push_back(Point(i / 10.0, -23.0F, i % 40 == 0 ? 0.0F : -9.0F));
  const ParsedPage page(PageOf({file}));
  EXPECT_EQ(page.Count("//h:section//h:table[2]/h:tbody/h:tr"), 101U);
  EXPECT_THAT(page.Texts("//h:section//h:table[2]/h:tbody/h:tr[101]/h:td"),
              ElementsAre("and 50 more"));
}

TEST(ReportPageTest, EveryTableHasACaption) {
  Criteria criteria = CriteriaOf("ebu-r128-v3");
  criteria.limits.maxTruePeak = -4.0;
  const ParsedPage page(PageOf({Programme(), SilentFile()}, criteria));
  EXPECT_EQ(page.Count("//h:table"), 4U);
  EXPECT_EQ(page.Count("//h:table[h:caption!='']"), 4U);
}

TEST(ReportPageTest, TheRangeOfLessThanAMinuteIsMarkedAndNoted) {
  File file = Programme();
  file.programme.figures.seconds = 59.0;
  const ParsedPage page(PageOf({file}));
  EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:tbody//h:td[2]"),
              ElementsAre("~ 6.00 LU"));
  EXPECT_THAT(page.Texts("//h:ul[@class='notes']/h:li"),
              ElementsAre("shorter than 60 s; the loudness range is not yet stable"));
}

TEST(ReportPageTest, WithoutATargetThereIsNoneInThePlots) {
  const ParsedPage page(PageOf({Programme()}, CriteriaOf("none")));
  EXPECT_TRUE(page.IsWellFormed());
  EXPECT_EQ(page.Count("//s:line[@class='aim'] | //s:rect[@class='target']"), 0U);
  EXPECT_EQ(page.Count("//s:line[@class='limit'] | //s:rect[@class='forbidden']"), 0U);
  EXPECT_EQ(page.Count("//s:text[@class='other']"), 0U);
}

TEST(ReportPageTest, FiguresHaveTheNamesAndUnitsOfTheTerminal) {
  const ParsedPage page(PageOf({Programme()}));
  EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:tbody//h:td/@data-name"),
              ElementsAre("Integrated loudness", "Loudness range", "Maximum momentary",
                          "Maximum short-term", "Maximum true peak", "Duration", "Gain to target",
                          "Gain up to peak limit", "Verdict"));
  EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:thead//h:span[@class='unit']"),
              ElementsAre("LKFS", "LU", "LKFS", "LKFS", "dBTP", "h:mm:ss", "dB", "dB"));
  EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:tbody//h:td[position()<9]/h:span"),
              ElementsAre("-23.00 LKFS", "6.00 LU", "-18.00 LKFS", "-20.00 LKFS", "-3.00 dBTP",
                          "0:01:00.0 h:mm:ss", "+0.00 dB", "+0.00 dB"));
}

TEST(ReportPageTest, NoReadingIsADashAndNeverANumber) {
  for (const auto& file : {SilentFile(), TooShort()}) {
    const std::string text = PageOf({file});
    const ParsedPage page(text);
    EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:tbody//h:td[position()<6]/h:span"),
                ElementsAre("- LKFS", "- LU", "- LKFS", "- LKFS", "- dBTP"));
    EXPECT_THAT(text, Not(HasSubstr("-99")));
    EXPECT_THAT(text, Not(HasSubstr("nan")));
    EXPECT_THAT(text, Not(HasSubstr("inf%")));
  }
}

TEST(ReportPageTest, NoCoordinateIsAnythingButANumber) {
  const ParsedPage page(PageOf({Programme(), SilentFile()}));
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
  File loud = Programme();
  loud.programme.figures.integrated = -20.0;
  loud.programme.figures.maxTruePeak = 0.5;
  const ParsedPage page(PageOf({Programme(), loud, SilentFile()}));
  EXPECT_THAT(page.Texts("//h:section//h:p[@class='finding']"),
              ElementsAre("\xE2\x9C\x93 Pass -23.00 LKFS, on the target.",
                          "\xE2\x9C\x93 Pass -3.00 dBTP, 2.00 dB below the limit.",
                          "\xE2\x9C\x97 Fail -20.00 LKFS, 3.00 LU above the target.",
                          "\xE2\x9C\x97 Fail 0.50 dBTP, 1.50 dB above the limit.",
                          "\xE2\x80\x93 No reading There is no reading, so nothing is judged.",
                          "\xE2\x80\x93 No reading There is no reading, so nothing is judged."));
  EXPECT_THAT(page.Texts("//h:table[@class='programmes']/h:tbody//h:td[9]"),
              ElementsAre("\xE2\x9C\x93 Pass", "\xE2\x9C\x97 Fail", "\xE2\x80\x93 No reading"));
}

TEST(ReportPageTest, ThePageNamesTheLimits) {
  EXPECT_THAT(ParsedPage(PageOf({Programme()})).Texts("//h:header/h:p"),
              ElementsAre("EBU R 128, version 3: integrated loudness -23.00 LKFS \xC2\xB1"
                          "0.50 LU, maximum true peak at most -1.00 dBTP. Source: EBU R 128 "
                          "version 3, June 2014; published."));
}

// The EBU +9 scale around -23 is -41 ... -14. The band from -22.5 to -23.5 begins 8.5/27 below the
// top and is 1/27 high; the target is 9/27 below the top. The scale of the true peak is -40 ... 3:
// -1 is 4/43 below the top, and the forbidden area ends there.
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

// A target of -16 has a scale of -34 ... -7 and a band of 2/27; -2 is 5/43 below the top.
TEST(ReportPageTest, ChosenLimitsAreDrawnInstead) {
  Criteria criteria;
  criteria.target = -16.0;
  criteria.peakCeiling = -2.0;
  criteria.limits.tolerance = 1.0;
  const ParsedPage page(PageOf({Programme()}, criteria));
  EXPECT_THAT(page.Texts("//s:svg[s:title='Loudness over time']/s:rect[@class='target']/@height"),
              ElementsAre("7.41%"));
  EXPECT_THAT(page.Texts("//s:line[@class='limit']/@y1"), ElementsAre("11.63%"));
  EXPECT_THAT(page.Texts("//h:figure[1]//h:li[4]"), ElementsAre("Target -16.00 LKFS \xC2\xB1"
                                                                "1.00 LU"));
}

// EBU Tech 3341: the +9 scale is -18 ... +9 LU, the +18 scale -36 ... +18 LU. Beyond that the scale
// grows in steps of 6.
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
    File file = Programme();
    file.programme.figures.maxMomentary = c.maxMomentary;
    file.programme.readings.shortTerm = LoudnessHistogram(kLraGateLu);
    Count(file.programme.readings.shortTerm, static_cast<float>(c.lraLow) + 0.005F, 50);
    Count(file.programme.readings.shortTerm, static_cast<float>(c.lraLow) + 6.005F, 50);
    const auto labels = ParsedPage(PageOf({file})).Texts("//s:text[@class='other']");
    EXPECT_EQ(labels.front(), c.foot) << c.maxMomentary << " " << c.lraLow;
    EXPECT_EQ(labels.back(), c.top) << c.maxMomentary << " " << c.lraLow;
  }
}

TEST(ReportPageTest, AllThreeLoudnessesAndTheTruePeakAreDrawn) {
  const ParsedPage page(PageOf({Programme()}));
  for (const char* curve : {"momentary", "short", "integrated", "peak", "peaks"})
    EXPECT_EQ(page.Count(std::string("//s:svg/s:svg/s:path[@class='") + curve + "']"), 1U) << curve;
}

// The peak is at 30 s of 60 s, and at -3 on a scale of -40 ... 3.
TEST(ReportPageTest, TheHighestPeakIsMarkedAndNamed) {
  const ParsedPage page(PageOf({Programme()}));
  EXPECT_THAT(page.Texts("//s:circle/@cx"), ElementsAre("50.00%"));
  EXPECT_THAT(page.Texts("//s:circle/@cy"), ElementsAre("13.95%"));
  EXPECT_THAT(page.Texts("//h:figure[2]//h:li[1]"),
              ElementsAre("True peak of each 100 ms, highest: -3.00 dBTP at 0:00:30.0"));
}

// A code stands for the loudness 0.0085 LU above its lower edge: the 450 readings for -23.0115, the
// 90 for -39.9915. Their mean is 10 log10((450 x 10^-2.30115 + 90 x 10^-3.99915) / 540) = -23.786;
// the relative gate is 10 LU below. The scale is -72 ... -20: the gate of -70 is at 2/52, that of
// -33.786 at 38.214/52.
TEST(ReportPageTest, HistogramMarksGatesPercentilesAndLoudness) {
  const ParsedPage page(PageOf({Programme()}));
  auto texts = page.Texts("//s:text[contains(@class, 'mark')]");
  EXPECT_THAT(texts, testing::UnorderedElementsAre("Absolute gate -70", "Relative gate -33.79",
                                                   "10 % point -26.00", "Integrated -23.00",
                                                   "95 % point -20.00"));
  EXPECT_THAT(page.Texts("//s:line[@class='gate']/@x1"),
              testing::UnorderedElementsAre("3.85%", "73.49%"));
}

// A mark's line begins above the texts of all marks nearer to the middle, so that no line crosses a
// text.
TEST(ReportPageTest, TextsOfTheHistogramStandInRowsOfTheirOwn) {
  const ParsedPage page(PageOf({Programme()}));
  const auto rows = page.Texts("//s:text[contains(@class, 'mark')]/@y");
  EXPECT_EQ(std::set<std::string>(rows.begin(), rows.end()).size(), 5U);
}

// 450 of 600 readings count, 90 are below the relative gate, 60 below the absolute gate. The scale
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
  const ParsedPage page(PageOf({SilentFile()}));
  EXPECT_EQ(page.Count("//s:svg[@role='img']"), 2U);
  EXPECT_EQ(page.Count("//s:svg/s:svg/s:path"), 0U);
  EXPECT_EQ(page.Count("//s:circle"), 0U);
  EXPECT_THAT(page.Texts("//h:section/h:p"),
              Contains(HasSubstr("No reading lies above the absolute gate")));
}

TEST(ReportPageTest, AFileShorterThanABlockHasItsTruePeakOnly) {
  File file = TooShort();
  file.programme.figures.maxTruePeak = -3.0;
  file.programme.points.emplace_back();
  file.programme.points.back().seconds = 0.05;
  file.programme.points.back().truePeak = -3.0F;
  const ParsedPage page(PageOf({file}));
  EXPECT_TRUE(page.IsWellFormed());
  EXPECT_EQ(page.Count("//s:circle[@class='peak-dot']"), 1U);
  EXPECT_THAT(page.Texts("//h:ul[@class='legend']/h:li"),
              Contains(HasSubstr("highest: -3.00 dBTP at 0:00:00.1")));
  EXPECT_THAT(page.Texts("//h:section/h:p"),
              Contains(HasSubstr("No reading lies above the absolute gate")));
}

TEST(ReportPageTest, AFileWithoutAudioHasNothingToDraw) {
  const ParsedPage page(PageOf({TooShort()}));
  EXPECT_EQ(page.Count("//s:svg"), 0U);
  EXPECT_THAT(page.Texts("//h:section/h:p"), Contains(HasSubstr("nothing to draw")));
}

TEST(ReportPageTest, FiguresAtTheEndOfTheirScalesAreMarkedInTableAndPlots) {
  File file = Programme();
  file.programme.figures.isPeakAtLeast = true;
  file.programme.figures.isMomentaryAtLeast = true;
  file.programme.figures.isLoudnessAtLeast = true;
  const ParsedPage page(PageOf({file}));
  const std::string sign = "\xE2\x89\xA5 ";
  const auto cells = page.Texts("//h:tbody/h:tr/h:td/h:span");
  for (const char* figure : {"-23.00 LKFS", "-18.00 LKFS", "-20.00 LKFS", "-3.00 dBTP"})
    EXPECT_THAT(cells, Contains(sign + figure));
  EXPECT_THAT(cells, Contains("0:01:00.0 h:mm:ss"));
  EXPECT_THAT(page.Texts("//h:ul[@class='legend']/h:li"),
              Contains(HasSubstr("highest: at least -3.00 dBTP at 0:00:30.0")));
  const auto descriptions = page.Texts("//s:desc");
  EXPECT_THAT(descriptions, Contains(HasSubstr("Integrated loudness at least -23.00 LKFS. Maximum "
                                               "momentary loudness at least -18.00 LKFS. Maximum "
                                               "short-term loudness at least -20.00 LKFS. ")));
  EXPECT_THAT(descriptions, Contains(HasSubstr("Integrated at least -23.00 LKFS")));
}

TEST(ReportPageTest, NotesOnTheFiguresAreShown) {
  File file = Programme();
  file.programme.figures.isPeakAtLeast = true;
  EXPECT_THAT(ParsedPage(PageOf({file})).Texts("//h:ul[@class='notes']/h:li"),
              ElementsAre("beyond the scale, so at least the value shown: Maximum true peak"));
}

// Two hours are 72000 blocks; the highest peak must survive.
TEST(ReportPageTest, APageOfTwoHoursStaysSmall) {
  File file = Programme();
  file.programme.points.clear();
  for (int i = 1; i <= 72000; ++i) {
    const auto wave = static_cast<float>(std::sin(i * 0.7) + std::sin(i * 0.013));
    file.programme.points.push_back(Point(i / 10.0, -23.0F + 3.0F * wave, -12.0F + 4.0F * wave));
  }
  const std::string page = PageOf({file});
  EXPECT_LT(page.size(), 250000U);
  EXPECT_TRUE(ParsedPage(page).IsWellFormed());
}

// There are 900 columns at most. An outline has two points per column and the corners of its ends.
TEST(ReportPageTest, TheNumberOfPointsIsBoundedHoweverLongTheFile) {
  File file = Programme();
  file.programme.points.clear();
  for (int i = 1; i <= 72000; ++i)
    file.programme.points.push_back(Point(i / 10.0, -23.0F - static_cast<float>(i % 7), -12.0F));
  const auto curves = ParsedPage(PageOf({file})).Texts("//s:svg/s:svg/s:path/@d");
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
