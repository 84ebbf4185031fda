// A period read from a record, and its output.

#include "Evidence.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <sstream>

#include "EvidencePage.h"
#include "EvidenceText.h"
#include "GoldenFile.h"
#include "ParsedPage.h"
#include "Profiles.h"
#include "RecordedSeconds.h"
#include "StationRecord.h"
#include "TestAudio.h"
#include "UnitDocuments.h"

namespace louddesk {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Pair;

constexpr StationCluster kCluster{1, 3};

RecordedEvent ConfigurationAt(std::int64_t time, int target, int tolerance) {
  LoudnessConfiguration configuration;
  configuration.referenceLevel = target;
  configuration.alarmTolerance = tolerance;
  return {time * 1000, kCluster, kConfigurationEvent, configuration.Json()};
}

class EvidenceTest : public testing::Test {
 protected:
  EvidenceTest() {
    setenv("TZ", "CET-1", 1);
    tzset();
  }
  ~EvidenceTest() override {
    unsetenv("TZ");
    tzset();
  }

  void Record(const std::vector<RecordedSecond>& seconds,
              const std::vector<RecordedEvent>& events = {}) {
    StationBatch batch;
    batch.seconds[kCluster] = seconds;
    batch.events = events;
    StationRecord(mPath).Append(batch);
  }

  Evidence Read(std::int64_t from, std::int64_t to) const {
    StationReader reader(mPath);
    return EvidenceOf(reader,
                      {kCluster, {kTuesday + from, kTuesday + to}, CriteriaOf(kUsualProfile), {}});
  }

  StationPeriod Meant(const PeriodAsked& asked, std::int64_t now) const {
    StationReader reader(mPath);
    return ResolvePeriod(asked, reader, now);
  }

  // Two minutes with a gap of ten seconds and a peak of -0.4 dBTP, 40 s after the first second.
  void RecordTwoMinutes() {
    std::vector<RecordedSecond> seconds;
    Append(seconds, 120, -230);
    seconds[40].truePeak = -40;
    seconds[41].momentary[3] = -155;
    seconds[42].shortTerm = -200;
    seconds.erase(seconds.begin() + 60, seconds.begin() + 70);
    Record(seconds, {ConfigurationAt(kTuesday - 500, -23, 1)});
  }

 private:
  test_audio::AudioDirectory mDirectory;
  std::string mPath = mDirectory.Path("record.db");
};

std::string FactNamed(const Evidence& evidence, const std::string& name) {
  for (const auto& [known, text] : FactsOn(evidence))
    if (known == name)
      return text;
  return "";
}

TEST_F(EvidenceTest, ThePeriodIsReadToTheSecond) {
  std::vector<RecordedSecond> seconds;
  Append(seconds, 60, -100);
  Append(seconds, 90, -230);
  Append(seconds, 60, -100);
  Record(seconds);
  const Evidence evidence = Read(60, 150);
  EXPECT_DOUBLE_EQ(evidence.figures.programme.figures.maxMomentary.value(), -23.0);
  EXPECT_DOUBLE_EQ(evidence.figures.programme.figures.seconds, 90.0);
  EXPECT_EQ(evidence.figures.gaps.count, 0U);
  EXPECT_EQ(evidence.assessment.judgement, Judgement::kPass);
}

TEST_F(EvidenceTest, WithoutAnEndThePeriodEndsWhereTheRecordDoes) {
  std::vector<RecordedSecond> seconds;
  Append(seconds, 90, -230);
  Record(seconds);
  const StationPeriod minute = Meant({{}, {}, 60}, kTuesday + 100);
  EXPECT_EQ(minute.from, kTuesday + 30);
  EXPECT_EQ(minute.to, kTuesday + 90);
  EXPECT_EQ(Meant({{}, {}, 60}, kTuesday + 80).to, kTuesday + 80);
  EXPECT_EQ(Meant({{}, {}, std::int64_t{999999999} * 604800}, kTuesday + 100).from, 0);
}

TEST_F(EvidenceTest, TheAimIsThatOfTheRecordedConfigurations) {
  std::vector<RecordedSecond> seconds;
  Append(seconds, 120, -230);
  // Before 50 s the upper limit of the tolerance is -24.0, afterwards -22.0.
  Record(seconds,
         {ConfigurationAt(kTuesday - 3600, -25, 1), ConfigurationAt(kTuesday + 50, -23, 1)});
  const Evidence evidence = Read(0, 120);
  EXPECT_EQ(evidence.figures.aimedSeconds, 120);
  EXPECT_EQ(evidence.figures.aboveSeconds, 50);
  EXPECT_EQ(FactNamed(evidence, "Above the tolerance"), "0:00:50.0 (41.67 %)");
}

TEST_F(EvidenceTest, WithoutAConfigurationThereIsNoTimeOutOfTolerance) {
  std::vector<RecordedSecond> seconds;
  Append(seconds, 60, -230);
  Record(seconds);
  EXPECT_EQ(FactNamed(Read(0, 60), "Out of tolerance"), "- (no target is known for this time)");
}

TEST_F(EvidenceTest, WhatIsNotAConfigurationChangesNothing) {
  std::vector<RecordedSecond> seconds;
  Append(seconds, 60, -230);
  Record(seconds, {{kTuesday * 1000, kCluster, kConfigurationEvent, "{\"a\":"},
                   {kTuesday * 1000, kCluster, kGateEvent, "started"}});
  const Evidence evidence = Read(0, 60);
  EXPECT_EQ(evidence.figures.aimedSeconds, 0);
  EXPECT_EQ(evidence.eventCount, 2U);
}

TEST_F(EvidenceTest, OfManyEventsTheFirstAreListedAndAllCounted) {
  std::vector<RecordedEvent> events;
  for (int i = 0; i < 700; ++i)
    events.push_back({(kTuesday + i) * 1000, kCluster, kAcknowledgementEvent, "Reset"});
  Record({SecondAt(kTuesday, -230)}, events);
  const Evidence evidence = Read(0, 3600);
  EXPECT_EQ(evidence.events.size(), kMostEvents);
  EXPECT_EQ(evidence.eventCount, 700U);
}

TEST_F(EvidenceTest, FactsHaveTheTimesOfTheUsersClock) {
  RecordTwoMinutes();
  const auto facts = FactsOn(Read(0, 120));
  EXPECT_THAT(facts, Contains(Pair("From", "2024-11-19 01:00:00 +0100")));
  EXPECT_THAT(facts,
              Contains(Pair("Maximum true peak", "-0.40 dBTP at 2024-11-19 01:00:41 +0100")));
  EXPECT_THAT(facts, Contains(Pair("Gaps in the record", "1, 0:00:10.0 in total")));
  EXPECT_THAT(facts, Contains(Pair("Above the tolerance", "0:00:01.0 (0.91 %)")));
}

TEST_F(EvidenceTest, TheTableNamesTheGaps) {
  RecordTwoMinutes();
  EXPECT_THAT(EvidenceTable(Read(0, 120)),
              HasSubstr("Gap                     2024-11-19 01:01:00 +0100 to "
                        "2024-11-19 01:01:10 +0100, 0:00:10.0\n"));
}

TEST_F(EvidenceTest, JsonHasUtcAndNumbers) {
  RecordTwoMinutes();
  rapidjson::Document json;
  json.Parse(EvidenceJson(Read(0, 120)).c_str());
  ASSERT_TRUE(json.IsObject());
  EXPECT_STREQ(json["Cluster"].GetString(), "1-3");
  EXPECT_STREQ(json["From"].GetString(), "2024-11-19T00:00:00.000Z");
  EXPECT_STREQ(json["To"].GetString(), "2024-11-19T00:02:00.000Z");
  EXPECT_DOUBLE_EQ(json["Seconds"].GetDouble(), 110.0);
  EXPECT_STREQ(json["MaxMomentaryTime"].GetString(), "2024-11-19T00:00:41.400Z");
  EXPECT_DOUBLE_EQ(json["MaxMomentaryAt"].GetDouble(), 41.4);
  EXPECT_STREQ(json["MaxTruePeakTime"].GetString(), "2024-11-19T00:00:41.000Z");
  EXPECT_EQ(json["Gaps"]["Count"].GetInt(), 1);
  EXPECT_EQ(json["Gaps"]["Seconds"].GetInt(), 10);
  EXPECT_STREQ(json["Gaps"]["List"][0]["From"].GetString(), "2024-11-19T00:01:00.000Z");
  EXPECT_EQ(json["Tolerance"]["Above"].GetInt(), 1);
  EXPECT_STREQ(json["Verdict"].GetString(), "fail");  // because of the true peak
}

// One reading of -15.5 LKFS among 1099 of -23.0 gives a mean of -22.98 LKFS.
TEST_F(EvidenceTest, JsonIsThatOfTheProtocol) {
  RecordTwoMinutes();
  EXPECT_EQ(ReadGolden("gate-log.json") + "\n", EvidenceJson(Read(0, 120)));
}

TEST_F(EvidenceTest, JsonOfSilenceHasNulls) {
  std::vector<RecordedSecond> seconds;
  Append(seconds, 60, kNoLoudnessCode);
  Record(seconds);
  rapidjson::Document json;
  json.Parse(EvidenceJson(Read(0, 60)).c_str());
  ASSERT_TRUE(json.IsObject());
  EXPECT_TRUE(json["Integrated"].IsNull());
  EXPECT_TRUE(json["MaxMomentaryTime"].IsNull());
}

std::vector<std::string> FieldsOf(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream text(line);
  for (std::string field; std::getline(text, field, ',');)
    fields.push_back(field);
  return fields;
}

TEST_F(EvidenceTest, CsvHasAHeadingAndARow) {
  RecordTwoMinutes();
  std::istringstream lines(EvidenceCsv(Read(0, 120)));
  std::string heading;
  std::string row;
  std::getline(lines, heading);
  std::getline(lines, row);
  const auto names = FieldsOf(heading);
  const auto values = FieldsOf(row);
  ASSERT_EQ(names.size(), values.size());
  const auto value = [&](const std::string& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? "no " + name
                                : values[static_cast<std::size_t>(found - names.begin())];
  };
  EXPECT_EQ(value("Cluster"), "1-3");
  EXPECT_EQ(value("Maximum short-term (LKFS)"), "-20.00");
  EXPECT_EQ(value("Maximum short-term at"), "2024-11-19T00:00:43.000Z");
  EXPECT_EQ(value("Gaps (s)"), "10");
  EXPECT_EQ(value("Verdict"), "fail");
}

TEST(SecondsRowTest, ASecondHasItsTenReadings) {
  RecordedSecond second = SecondAt(kTuesday, -231);
  second.momentary[1] = kMissedReading;
  second.momentary[2] = kNoLoudnessCode;
  EXPECT_EQ(SecondsRow("1-3", second),
            "1-3,2024-11-19T00:00:00.000Z,-23.10,,,-23.10,-23.10,-23.10,-23.10,-23.10,-23.10,"
            "-23.10,-23.10,-6.00,RUNNING,yes\n");
  EXPECT_EQ(FieldsOf(SecondsHeader()).size(), 16U);
}

TEST(SecondsRowTest, ATimeWithoutAReadingIsEmpty) {
  RecordedSecond second = SecondAt(kTuesday, kMissedReading);
  second.shortTerm = kNoLoudnessCode;
  second.truePeak = kNoTruePeakCode;
  second.state = RecordedState::kPaused;
  EXPECT_THAT(SecondsRow("1-3", second), HasSubstr("Z,,,,,,,,,,,,,PAUSED,"));
}

TEST(ClusterNamedTest, OnlyANameIsACluster) {
  EXPECT_EQ(ClusterNamed("1-3"), (StationCluster{1, 3}));
  for (const char* text : {"", "1", "1-", "-3", "1-3-4", "01-3", "1-3 ", "a-b", "1-99999999999"})
    EXPECT_FALSE(ClusterNamed(text)) << text;
}

TEST_F(EvidenceTest, ThePageIsWellFormedAndSaysEverything) {
  RecordTwoMinutes();
  const test_page::ParsedPage page(EvidencePage(Read(0, 120), "today", "1.0"));
  ASSERT_TRUE(page.IsWellFormed());
  const std::string body = page.Texts("//h:body").at(0);
  EXPECT_THAT(body, HasSubstr("1-3, 2024-11-19 01:00:00 +0100 to 2024-11-19 01:02:00 +0100"));
  EXPECT_THAT(body, HasSubstr("Gaps in the record"));
  EXPECT_THAT(body, HasSubstr("Passages above a limit"));
  EXPECT_THAT(body, HasSubstr("-0.40 dBTP"));
  EXPECT_EQ(page.Count("//h:figure"), 3U);
  EXPECT_EQ(page.Count("//h:script"), 0U);
}

TEST_F(EvidenceTest, APageWithoutDataHasNoPlots) {
  std::vector<RecordedSecond> seconds;
  Append(seconds, 60, kMissedReading);
  Record(seconds, {{kTuesday * 1000, kCluster, kAcknowledgementEvent, "<Stop>"}});
  const test_page::ParsedPage page(EvidencePage(Read(0, 60), "today", "1.0"));
  ASSERT_TRUE(page.IsWellFormed());
  EXPECT_EQ(page.Count("//h:figure"), 0U);
  EXPECT_THAT(page.Texts("//h:body").at(0), HasSubstr("<Stop>"));
}

// The plots have no more points than a screen can show.
TEST_F(EvidenceTest, ThePageOfADayStaysSmall) {
  std::vector<RecordedSecond> seconds;
  for (int i = 0; i < 86400; ++i)
    seconds.push_back(SecondAt(kTuesday + i, static_cast<std::int16_t>(-230 + i * 7 % 90)));
  Record(seconds);
  EXPECT_LT(EvidencePage(Read(0, 86400), "today", "1.0").size(), 300'000U);
}

}  // namespace
}  // namespace louddesk
