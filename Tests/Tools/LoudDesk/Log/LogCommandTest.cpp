// The shipped `LoudDesk log` with records made by LoudGate's writer: output streams and exit
// statuses.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <sys/wait.h>

#include <cstdlib>
#include <sstream>

#include "RecordedSeconds.h"
#include "StationRecord.h"
#include "TestAudio.h"

namespace louddesk {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kLoudDesk[] = LOUDDESK_BINARY;

struct Outcome {
  int status = -1;
  std::string out;
  std::string errors;
};

class LogCommandTest : public testing::Test {
 protected:
  // Runs LoudDesk in the time zone of Berlin in winter.
  Outcome Run(const std::string& arguments) const {
    const std::string out = mDirectory.Path("out.txt");
    const std::string errors = mDirectory.Path("errors.txt");
    const std::string command = "cd '" + mDirectory.Path("") + "' && TZ=CET-1 '" + kLoudDesk +
                                "' log " + arguments + " >'" + out + "' 2>'" + errors + "'";
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), test_audio::BytesOf(out), test_audio::BytesOf(errors)};
  }

  // Two minutes each of clusters 1-3 and 1-1 at -23 LKFS, from 2024-11-19T00:00:00Z on.
  void Record() const {
    StationBatch batch;
    Append(batch.seconds[{1, 3}], 120, -230);
    Append(batch.seconds[{1, 1}], 120, -180);
    StationRecord(mDirectory.Path("record.db")).Append(batch);
  }

  std::string Path(const std::string& name) const { return mDirectory.Path(name); }

  std::string BytesOf(const std::string& name) const { return test_audio::BytesOf(Path(name)); }

 private:
  test_audio::AudioDirectory mDirectory;
};

constexpr char kTwoMinutes[] =
    "record.db --cluster 1-3 --from 2024-11-19T00:00:00Z --to 2024-11-19T00:02:00Z ";

TEST_F(LogCommandTest, APeriodIsATable) {
  Record();
  const Outcome outcome = Run(kTwoMinutes);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors,
            "LoudDesk: cluster 1-3: note: For 0:02:00.0 no figure changed: no blocks, or a "
            "steady tone; the figures include that time\n");
  EXPECT_THAT(outcome.out, HasSubstr("    -23.00      0.00     -23.00      -23.00      -6.00"));
  EXPECT_THAT(outcome.out, HasSubstr("Pass  1-3, 2024-11-19 01:00:00 +0100 to "
                                     "2024-11-19 01:02:00 +0100\n"));
  EXPECT_THAT(outcome.out, HasSubstr("Gaps in the record      none\n"));
  EXPECT_THAT(outcome.out, HasSubstr("No change               1, 0:02:00.0 in total\n"));
  EXPECT_THAT(outcome.out, HasSubstr("No change               2024-11-19 01:00:00 +0100 to "
                                     "2024-11-19 01:02:00 +0100, 0:02:00.0\n"));
}

TEST_F(LogCommandTest, TimesWithoutAZoneAreByTheClockHere) {
  Record();
  EXPECT_EQ(Run("record.db --cluster 1-3 --from '2024-11-19 01:00' --to 2024-11-19T01:02").out,
            Run(kTwoMinutes).out);
}

TEST_F(LogCommandTest, WithoutAnEndThePeriodEndsWithTheRecord) {
  Record();
  EXPECT_EQ(Run("record.db --cluster 1-3 --last 2m").out, Run(kTwoMinutes).out);
  EXPECT_EQ(Run("record.db --cluster 1-3 --from 2024-11-19T00:00:00Z").out, Run(kTwoMinutes).out);
}

TEST_F(LogCommandTest, TheOnlyClusterNeedsNoName) {
  StationBatch batch;
  Append(batch.seconds[{2, 5}], 60, -230);
  StationRecord(Path("one.db")).Append(batch);
  EXPECT_THAT(Run("one.db --last 1m").out, HasSubstr("  2-5, 2024"));
  Record();
  const Outcome several = Run("record.db --last 1m");
  EXPECT_EQ(several.status, 1);
  EXPECT_EQ(several.errors, "LoudDesk: record.db: which cluster? The record has 1-1 1-3\n");
}

TEST_F(LogCommandTest, JsonIsAnObject) {
  Record();
  const Outcome outcome = Run(std::string(kTwoMinutes) + "--format json");
  rapidjson::Document json;
  json.Parse(outcome.out.c_str());
  ASSERT_TRUE(json.IsObject()) << outcome.out;
  EXPECT_DOUBLE_EQ(json["Integrated"].GetDouble(), -23.0);
}

TEST_F(LogCommandTest, CsvIsAHeadingAndARow) {
  Record();
  const Outcome outcome = Run(std::string(kTwoMinutes) + "--format csv");
  EXPECT_THAT(outcome.out, StartsWith("Cluster,From,To,Duration (s),"));
  EXPECT_THAT(outcome.out, HasSubstr("\n1-3,2024-11-19T00:00:00.000Z,2024-11-19T00:02:00.000Z,"
                                     "120.00,-23.00,0.00,"));
}

TEST_F(LogCommandTest, TheSeriesHasEverySecond) {
  Record();
  EXPECT_EQ(Run(std::string(kTwoMinutes) + "--series seconds.csv").status, 0);
  std::istringstream lines(BytesOf("seconds.csv"));
  int count = 0;
  for (std::string line; std::getline(lines, line);)
    ++count;
  EXPECT_EQ(count, 121);
}

TEST_F(LogCommandTest, TheReportJudgesByTheProfile) {
  Record();
  EXPECT_EQ(Run(std::string(kTwoMinutes) + "--report day.html --profile atsc-a85").status, 0);
  EXPECT_THAT(BytesOf("day.html"), HasSubstr("ATSC A/85"));
}

TEST_F(LogCommandTest, TheStatusTellsOfALimitThatIsBroken) {
  Record();
  EXPECT_EQ(Run(std::string(kTwoMinutes) + "--fail").status, 0);
  EXPECT_EQ(Run("record.db --cluster 1-1 --last 2m --fail").status, 3);
}

TEST_F(LogCommandTest, AnOwnTargetDecidesWhatIsOutOfTolerance) {
  Record();
  EXPECT_THAT(Run(std::string(kTwoMinutes) + "--target -24 --tolerance 0.5").out,
              HasSubstr("Above the tolerance     0:02:00.0 (100.00 %)\n"));
}

TEST_F(LogCommandTest, APartThatIsMissingIsNoted) {
  Record();
  const Outcome outcome =
      Run("record.db --cluster 1-3 --from 2024-11-19T00:01:00Z --to 2024-11-19T00:10:00Z");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("Gap                     2024-11-19 01:02:00 +0100 to "
                                     "2024-11-19 01:10:00 +0100, 0:08:00.0\n"));
  EXPECT_THAT(outcome.errors, HasSubstr("the figures cover the rest\n"));
}

TEST_F(LogCommandTest, TheRecordIsListed) {
  Record();
  EXPECT_EQ(Run("record.db --list").out,
            "From      2024-11-19 01:00:00 +0100\nTo        2024-11-19 01:02:00 +0100\n"
            "Clusters  1-1 1-3\n");
}

TEST_F(LogCommandTest, WhatIsNotRecordedIsOneComplaint) {
  Record();
  struct Case {
    const char* arguments;
    const char* complaint;
  };
  for (const Case& wrong : {
           Case{"none.db --cluster 1-3 --last 1h",
                "LoudDesk: none.db: there is no record: No such file or directory\n"},
           Case{"record.db --cluster 1-7 --last 1h",
                "LoudDesk: record.db: nothing is recorded for cluster 1-7; the record has 1-1 "
                "1-3\n"},
           Case{"record.db --cluster 1-3 --from 2024-11-18 --to 2024-11-19",
                "LoudDesk: record.db: nothing is recorded for 1-3, 2024-11-18 00:00:00 +0100 to "
                "2024-11-19 00:00:00 +0100\n"},
           Case{"record.db --cluster 1-3 --from 2024-11-21",
                "LoudDesk: record.db: the record ends before the period begins, at 2024-11-19 "
                "01:02:00 +0100\n"},
           Case{"out.txt --list", "LoudDesk: out.txt: "},
       }) {
    const Outcome outcome = Run(wrong.arguments);
    EXPECT_EQ(outcome.status, 1) << wrong.arguments;
    EXPECT_THAT(outcome.errors, StartsWith(wrong.complaint)) << wrong.arguments;
    EXPECT_THAT(outcome.out, IsEmpty()) << wrong.arguments;
  }
}

TEST_F(LogCommandTest, WhatIsWrongWithTheCommandLineIsOneLine) {
  struct Case {
    const char* arguments;
    const char* complaint;
  };
  for (const Case& wrong : {
           Case{"--cluster 1-3", "LoudDesk: --from or --last is required (see "},
           Case{"--cluster 3 --last 1h", "3 is not a cluster"},
           Case{"--last 1 --cluster 1-3", "1 is not a duration"},
           Case{"--from yesterday", "yesterday is not a time"},
           Case{"--from 2024-11-20 --to 2024-11-19", "LoudDesk: --from is not before --to (see "},
           Case{"--from 2024-11-20 --last 1h", "excludes"},
           Case{"--last 1h --series a.wav", "ends in .csv"},
       }) {
    const Outcome outcome = Run(wrong.arguments);
    EXPECT_EQ(outcome.status, 2) << wrong.arguments;
    EXPECT_THAT(outcome.errors, HasSubstr(wrong.complaint)) << wrong.arguments;
  }
}

}  // namespace
}  // namespace louddesk
