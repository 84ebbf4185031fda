// Writing and reading a record file.

#include "StationRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "SqliteFile.h"
#include "StationFormat.h"
#include "StationReader.h"

using louddesk::RecordedEvent;
using louddesk::RecordedSecond;
using louddesk::RecordedState;
using louddesk::SqliteFile;
using louddesk::SqliteMode;
using louddesk::StationBatch;
using louddesk::StationCluster;
using louddesk::StationError;
using louddesk::StationReader;
using louddesk::StationRecord;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kNine = 1718011980;  // the beginning of a minute: 28633533 times 60 s
constexpr std::int64_t kDay = 86400;

RecordedSecond SecondAt(std::int64_t time, std::int16_t loudness = -230) {
  RecordedSecond second;
  second.time = time;
  second.momentary.fill(loudness);
  second.shortTerm = loudness;
  second.truePeak = -150;
  second.state = RecordedState::kRunning;
  second.isSourceValid = true;
  return second;
}

std::vector<RecordedSecond> Seconds(std::int64_t from, std::int64_t count,
                                    std::int16_t loudness = -230) {
  std::vector<RecordedSecond> seconds;
  for (std::int64_t i = 0; i < count; ++i)
    seconds.push_back(SecondAt(from + i, loudness));
  return seconds;
}

// With readings of which no two are the same in a row.
RecordedSecond LivelySecondAt(std::int64_t time) {
  RecordedSecond second = SecondAt(time);
  auto phase = static_cast<double>(time % 60);
  for (std::int16_t& reading : second.momentary)
    reading = static_cast<std::int16_t>(std::lround(-230 + 80 * std::sin(phase += 0.7)));
  return second;
}

// What this process has handed to the system's calls that write, to whatever file.
std::uint64_t BytesWritten() {
  std::ifstream file("/proc/self/io");
  std::string key;
  std::uint64_t bytes = 0;
  while (file >> key >> bytes)
    if (key == "wchar:")
      return bytes;
  ADD_FAILURE() << "/proc/self/io cannot be read";
  return 0;
}

std::vector<std::int64_t> TimesOf(const std::vector<RecordedSecond>& seconds) {
  std::vector<std::int64_t> times;
  for (const RecordedSecond& second : seconds)
    times.push_back(second.time);
  return times;
}

class StationRecordTest : public testing::Test {
 protected:
  StationRecordTest()
      : mFolder(fs::path(testing::TempDir()) / ("station-" + std::to_string(getpid()))),
        mPath(mFolder / "station.db") {
    fs::create_directories(mFolder);
  }
  ~StationRecordTest() override { fs::remove_all(mFolder); }

  StationError::Fault FaultOfOpening() {
    try {
      StationRecord record(mPath);
    } catch (const StationError& error) {
      return error.Why();
    }
    ADD_FAILURE() << "it is opened";
    return StationError::Fault::kUnavailable;
  }

  // In the transactions of LoudGate, 57 s each, which begin and end anywhere in a minute.
  void AppendADay(StationRecord& record, bool hasEvents) const {
    constexpr std::int64_t kPeriod = 57;
    for (std::int64_t begin = 0; begin < kDay; begin += kPeriod) {
      StationBatch batch;
      for (std::int64_t i = begin; i < std::min(begin + kPeriod, kDay); ++i)
        batch.seconds[mFirst].push_back(LivelySecondAt(kNine + i));
      if (hasEvents)
        batch.events.push_back(
            {(kNine + begin) * 1000, mFirst, "acknowledgement", "Start acknowledged, user 17"});
      record.Append(batch);
    }
    record.ReturnSpace();
  }

  std::string Bytes() const {
    std::ifstream file(mPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  const fs::path mFolder;
  const std::string mPath;
  const StationCluster mFirst{1, 3};
  const StationCluster mSecond{2, 1};
};

}  // namespace

TEST_F(StationRecordTest, WhatIsAppendedIsRead) {
  StationRecord record(mPath);
  const auto leftOut =
      record.Append({{{mFirst, Seconds(kNine + 58, 4)}, {mSecond, Seconds(kNine, 1)}},
                     {{kNine * 1000 + 7, mFirst, "state", "running"},
                      {kNine * 1000 + 5, std::nullopt, "gate", "started"},
                      {kNine * 1000 + 6, mSecond, "state", "paused"}}});
  EXPECT_EQ(0u, leftOut.repeated);
  EXPECT_EQ(0u, leftOut.seconds);
  EXPECT_EQ(0u, leftOut.events);
  StationReader reader(mPath);
  EXPECT_THAT(reader.Clusters(), ElementsAre(mFirst, mSecond));
  EXPECT_THAT(TimesOf(reader.Seconds(mFirst, {0, 2 * kNine})),
              ElementsAre(kNine + 58, kNine + 59, kNine + 60, kNine + 61));
  EXPECT_THAT(TimesOf(reader.Seconds(mSecond, {0, 2 * kNine})), ElementsAre(kNine));
  const RecordedSecond second = reader.Seconds(mFirst, {kNine + 58, kNine + 59}).at(0);
  EXPECT_THAT(second.momentary, testing::Each(-230));
  EXPECT_EQ(-230, second.shortTerm);
  EXPECT_EQ(-150, second.truePeak);
  EXPECT_EQ(RecordedState::kRunning, second.state);
  EXPECT_TRUE(second.isSourceValid);
  const auto events = reader.Events(mFirst, {kNine, kNine + 1});
  ASSERT_EQ(2u, events.size());
  EXPECT_EQ("started", events[0].text);
  EXPECT_FALSE(events[0].cluster);
  EXPECT_EQ("running", events[1].text);
  EXPECT_EQ("state", events[1].kind);
  EXPECT_EQ(kNine * 1000 + 7, events[1].time);
  EXPECT_EQ(mFirst, events[1].cluster);
}

TEST_F(StationRecordTest, APeriodHasItsSecondsAndNoOther) {
  StationRecord record(mPath);
  record.Append({{{mFirst, Seconds(kNine, 200)}, {mSecond, Seconds(kNine, 200)}}, {}});
  StationReader reader(mPath);
  EXPECT_EQ(200u, reader.Seconds(mFirst, {0, kNine + 1000}).size());
  EXPECT_THAT(TimesOf(reader.Seconds(mFirst, {kNine + 119, kNine + 121})),
              ElementsAre(kNine + 119, kNine + 120));
  EXPECT_THAT(reader.Seconds(mFirst, {kNine + 120, kNine + 120}), IsEmpty());
  EXPECT_THAT(reader.Seconds(mFirst, {kNine + 200, INT64_MAX}), IsEmpty());
  EXPECT_EQ(200u, reader.Seconds(mSecond, {INT64_MIN, INT64_MAX}).size());
  EXPECT_THAT(reader.Seconds({9, 9}, {0, INT64_MAX}), IsEmpty());
  EXPECT_EQ(kNine, reader.Extent()->from);
  EXPECT_EQ(kNine + 200, reader.Extent()->to);
}

TEST_F(StationRecordTest, TheRecordBeginsAndEndsWithItsSeconds) {
  StationRecord record(mPath);
  record.Append({{{mFirst, Seconds(kNine + 20, 10)}, {mSecond, Seconds(kNine + 15, 10)}}, {}});
  EXPECT_EQ(kNine + 15, StationReader(mPath).Extent()->from);
  EXPECT_EQ(kNine + 30, StationReader(mPath).Extent()->to);
}

TEST_F(StationRecordTest, AReaderMayStopEarly) {
  StationRecord record(mPath);
  record.Append({{{mFirst, Seconds(kNine, 200)}}, {}});
  std::size_t count = 0;
  StationReader(mPath).ReadSeconds(mFirst, {0, INT64_MAX},
                                   [&count](const RecordedSecond&) { return ++count < 70; });
  EXPECT_EQ(70u, count);
}

TEST_F(StationRecordTest, AMinuteThatWasCutIsCompleted) {
  StationRecord(mPath).Append({{{mFirst, Seconds(kNine, 20)}}, {}});
  StationRecord(mPath).Append({{{mFirst, Seconds(kNine + 30, 30)}}, {}});
  EXPECT_EQ(50u, StationReader(mPath).Seconds(mFirst, {0, INT64_MAX}).size());
}

TEST_F(StationRecordTest, WhatIsRecordedStays) {
  StationRecord record(mPath);
  record.Append({{{mFirst, Seconds(kNine, 10, -230)}}, {}});
  EXPECT_EQ(5u, record.Append({{{mFirst, Seconds(kNine + 5, 10, -100)}}, {}}).repeated);
  const auto seconds = StationReader(mPath).Seconds(mFirst, {0, INT64_MAX});
  ASSERT_EQ(15u, seconds.size());
  EXPECT_EQ(-230, seconds[9].shortTerm);
  EXPECT_EQ(-100, seconds[10].shortTerm);
}

TEST_F(StationRecordTest, AReaderSeesTheStateBeforeOrAfterATransaction) {
  StationRecord record(mPath);
  record.Append({{{mFirst, Seconds(kNine, 10)}}, {}});
  StationReader reader(mPath);
  EXPECT_EQ(10u, reader.Seconds(mFirst, {0, INT64_MAX}).size());
  record.Append({{{mFirst, Seconds(kNine + 10, 10)}}, {}});
  EXPECT_EQ(20u, reader.Seconds(mFirst, {0, INT64_MAX}).size());
}

TEST_F(StationRecordTest, TheLastEventOfAKindIsFound) {
  StationRecord record(mPath);
  record.Append({{},
                 {{kNine * 1000, mFirst, "configuration", "one"},
                  {kNine * 1000 + 1000, mFirst, "configuration", "two"},
                  {kNine * 1000 + 2000, mSecond, "configuration", "other"},
                  {kNine * 1000 + 3000, mFirst, "state", "running"}}});
  StationReader reader(mPath);
  EXPECT_EQ("two", reader.LastEvent(mFirst, "configuration", kNine + 10)->text);
  EXPECT_EQ("one", reader.LastEvent(mFirst, "configuration", kNine + 1)->text);
  EXPECT_FALSE(reader.LastEvent(mFirst, "configuration", kNine));
}

TEST_F(StationRecordTest, ADayOfAClusterTakesAtMostFiveMegabytes) {
  StationRecord record(mPath);
  // One acknowledgement per transaction, more than in practice.
  AppendADay(record, true);
  std::cout << "one day of one cluster: " << record.Size() << " bytes\n";
  EXPECT_LE(record.Size(), 5'000'000u);
  EXPECT_EQ(static_cast<std::size_t>(kDay),
            StationReader(mPath).Seconds(mFirst, {0, INT64_MAX}).size());
}

// More is written than stays: into the log, from there into the file, and whole pages always.
TEST_F(StationRecordTest, ADayOfAClusterWritesAtMostThirtyMegabytes) {
  StationRecord record(mPath);
  const std::uint64_t before = BytesWritten();
  AppendADay(record, false);
  const std::uint64_t written = BytesWritten() - before;
  std::cout << "written in one day of one cluster: " << written << " bytes\n";
  EXPECT_LT(record.Size(), written);
  EXPECT_LE(written, 30'000'000u);
}

TEST_F(StationRecordTest, TheOldestGoesAndTheSpaceIsReturned) {
  StationRecord record(mPath);
  for (std::int64_t hour = 0; hour < 48; ++hour)
    record.Append({{{mFirst, Seconds(kNine + hour * 3600, 3600)}},
                   {{(kNine + hour * 3600) * 1000, mFirst, "state", "running"}}});
  record.ReturnSpace();
  const auto before = record.Size();
  EXPECT_TRUE(record.RemoveOlderThan(1, kNine + 2 * kDay));
  EXPECT_FALSE(record.RemoveOlderThan(1, kNine + 2 * kDay));
  const auto used = record.UsedBytes();
  record.ReturnSpace();
  EXPECT_LT(record.Size(), before * 6 / 10);
  // Allows for SQLite's own page, which lists the others.
  EXPECT_NEAR(static_cast<double>(record.Size()), static_cast<double>(used), 8192.0);
  StationReader reader(mPath);
  EXPECT_EQ(kNine + kDay, reader.Extent()->from);
  EXPECT_EQ(static_cast<std::size_t>(kDay), reader.Seconds(mFirst, {0, INT64_MAX}).size());
  EXPECT_EQ(24u, reader.Events(mFirst, {0, INT64_MAX}).size());
  EXPECT_TRUE(record.Check([] { return false; }));
}

// A clock that shows a far future time, here for an hour, must not make the whole record count as
// old.
TEST_F(StationRecordTest, AWrongClockCostsADayOfTheRecordAtMost) {
  constexpr std::int64_t kDays = 10;
  constexpr std::int64_t kFuture = kNine + 5000 * kDay;
  StationRecord record(mPath);
  for (std::int64_t day = 0; day < kDays; ++day)
    record.Append({{{mFirst, Seconds(kNine + day * kDay, 60)}},
                   {{(kNine + day * kDay) * 1000, mFirst, "state", "running"}}});
  record.Append({{{mFirst, Seconds(kFuture, 3600)}}, {}});
  while (record.RemoveOlderThan(kDays, kFuture + 3600)) {
  }
  StationReader reader(mPath);
  EXPECT_EQ(kNine + kDay, reader.Extent()->from);
  EXPECT_EQ((kDays - 1) * 60u + 3600u, reader.Seconds(mFirst, {0, INT64_MAX}).size());
  EXPECT_EQ(kDays - 1u, reader.Events(mFirst, {0, INT64_MAX}).size());
  // The clock is right again. The seconds of the future stay, but no further seconds are removed.
  EXPECT_FALSE(record.RemoveOlderThan(kDays, kNine + kDays * kDay));
}

TEST_F(StationRecordTest, WhatWasRecordedBeforeTheClockWasSetIsNotOld) {
  constexpr std::int64_t kSinceBoot = 30;  // s since 1970
  StationRecord record(mPath);
  record.Append({{{mFirst, Seconds(kSinceBoot, 90)}}, {{kSinceBoot * 1000, mFirst, "state", "x"}}});
  EXPECT_FALSE(record.RemoveOlderThan(1, kSinceBoot + 90));
  record.Append({{{mFirst, Seconds(kNine, 60)}}, {}});
  record.Append({{{mFirst, Seconds(kNine + kDay, 60)}}, {}});
  EXPECT_TRUE(record.RemoveOlderThan(1, kNine + kDay + 60));
  EXPECT_FALSE(record.RemoveOlderThan(1, kNine + kDay + 60));
  StationReader reader(mPath);
  EXPECT_EQ(kSinceBoot, reader.Seconds(mFirst, {0, INT64_MAX}).front().time);
  EXPECT_EQ(90u + 60u, reader.Seconds(mFirst, {0, INT64_MAX}).size());
  EXPECT_EQ(1u, reader.Events(mFirst, {0, INT64_MAX}).size());
  EXPECT_TRUE(record.RemoveOldest());  // when removing by size, they count as the oldest
  EXPECT_EQ(60u, reader.Seconds(mFirst, {0, INT64_MAX}).size());
}

TEST_F(StationRecordTest, TheOldestHourIsRemovedUntilNothingIsLeft) {
  StationRecord record(mPath);
  record.Append({{{mFirst, Seconds(kNine, 2 * 3600)}},
                 {{(kNine - 7200) * 1000, mFirst, "state", "running"}}});
  EXPECT_TRUE(record.RemoveOldest());  // the event
  EXPECT_EQ(7200u, StationReader(mPath).Seconds(mFirst, {0, INT64_MAX}).size());
  EXPECT_TRUE(record.RemoveOldest());
  EXPECT_EQ(kNine + 3600, StationReader(mPath).Extent()->from);
  EXPECT_TRUE(record.RemoveOldest());
  EXPECT_FALSE(StationReader(mPath).Extent());
  EXPECT_FALSE(record.RemoveOldest());
}

TEST_F(StationRecordTest, ARecordOfANewerFormatIsLeftAlone) {
  StationRecord(mPath).Append({{{mFirst, Seconds(kNine, 1)}}, {}});
  SqliteFile(mPath, SqliteMode::kReadWrite).Execute("PRAGMA user_version = 2");
  const std::string before = Bytes();
  EXPECT_EQ(StationError::Fault::kNewer, FaultOfOpening());
  EXPECT_EQ(before, Bytes());
  EXPECT_THROW(StationReader reader(mPath), StationError);
}

TEST_F(StationRecordTest, ADatabaseOfAnotherKindIsLeftAlone) {
  SqliteFile(mPath, SqliteMode::kReadWrite).Execute("CREATE TABLE mine (a)");
  const std::string before = Bytes();
  EXPECT_EQ(StationError::Fault::kForeign, FaultOfOpening());
  EXPECT_EQ(before, Bytes());
  EXPECT_THROW(StationReader reader(mPath), StationError);
}

TEST_F(StationRecordTest, AFileThatIsNotADatabaseIsDamaged) {
  std::ofstream(mPath) << std::string(10000, 'x');
  EXPECT_EQ(StationError::Fault::kDamaged, FaultOfOpening());
}

TEST_F(StationRecordTest, DamageWithinTheFileIsFound) {
  {
    StationRecord record(mPath);
    for (std::int64_t hour = 0; hour < 24; ++hour)
      record.Append({{{mFirst, Seconds(kNine + hour * 3600, 3600)}}, {}});
  }
  {
    std::fstream file(mPath, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(100 * 8192);
    file << std::string(8192, 'x');
  }
  StationRecord record(mPath);
  try {
    record.Check([] { return false; });
    ADD_FAILURE() << "no damage is found";
  } catch (const StationError& error) {
    EXPECT_EQ(StationError::Fault::kDamaged, error.Why());
  }
}

TEST_F(StationRecordTest, ACheckEndsWithItsTime) {
  StationRecord record(mPath);
  for (std::int64_t hour = 0; hour < 24; ++hour)
    record.Append({{{mFirst, Seconds(kNine + hour * 3600, 3600)}}, {}});
  EXPECT_FALSE(record.Check([] { return true; }));
  EXPECT_TRUE(record.Check([] { return false; }));
}

TEST_F(StationRecordTest, AFolderThatIsMissingIsReported) {
  fs::remove_all(mFolder);
  EXPECT_EQ(StationError::Fault::kUnavailable, FaultOfOpening());
}

TEST_F(StationRecordTest, ARecordIsReadWhereNothingCanBeWritten) {
  StationRecord(mPath).Append({{{mFirst, Seconds(kNine, 10)}}, {}});
  fs::permissions(mPath, fs::perms::owner_read);
  fs::permissions(mFolder, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(10u, StationReader(mPath).Seconds(mFirst, {0, INT64_MAX}).size());
  fs::permissions(mFolder, fs::perms::owner_all);
}

TEST_F(StationRecordTest, RowsOfWrongTypesAreReadAsFarAsTheyGo) {
  StationRecord(mPath).Append({{{mFirst, Seconds(kNine, 10)}}, {}});
  SqliteFile file(mPath, SqliteMode::kReadWrite);
  file.Execute(
      "INSERT INTO minutes (id, seconds) VALUES (-5, 'text'), (3, 7), (29320737792000, x'00');"
      "INSERT INTO events (time, cluster, kind, text) VALUES ('soon', 'x', x'00ff', 1.5);"
      "INSERT INTO minutes (id, seconds) VALUES (9223372036854775807, x'00')");
  StationReader reader(mPath);
  EXPECT_EQ(29320737792000 / 1024 * 60 + 60, reader.Extent()->to);
  EXPECT_EQ(10u, reader.Seconds(mFirst, {INT64_MIN, INT64_MAX}).size());
  EXPECT_THAT(reader.Events(mFirst, {INT64_MIN, INT64_MAX}), IsEmpty());
}
