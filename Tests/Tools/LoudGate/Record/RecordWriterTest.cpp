// The writer's thread, with faulty disks and files.

#include "RecordWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>

#include "Emulation.h"
#include "Isolation.h"
#include "RecordDocument.h"
#include "SqliteFile.h"
#include "StationReader.h"

namespace {

namespace fs = std::filesystem;

using louddesk::RecordedSecond;
using louddesk::StationBatch;
using louddesk::StationCluster;
using louddesk::StationReader;
using louddesk::StationRecord;
using loudgate::RecordCounts;
using loudgate::RecordWriter;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::int64_t kDay = 86400;
const StationCluster kCluster{1, 3};

class RecordWriterTest : public testing::Test {
 protected:
  RecordWriterTest()
      : mFolder(fs::path(testing::TempDir()) / ("record-" + std::to_string(getpid()))),
        mFile(mFolder / "station.db"),
        mNow(std::time(nullptr) / 60 * 60) {
    fs::create_directories(mFolder);
  }
  ~RecordWriterTest() override {
    if (mIsMounted)
      umount(mFolder.c_str());
    fs::remove_all(mFolder);
  }

  static StationBatch BatchOf(std::int64_t from, std::int64_t count) {
    StationBatch batch;
    for (std::int64_t i = 0; i < count; ++i) {
      RecordedSecond second;
      second.time = from + i;
      second.momentary.fill(-230);
      second.state = louddesk::RecordedState::kRunning;
      batch.seconds[kCluster].push_back(second);
    }
    return batch;
  }

  void Start(std::int64_t days = 90, std::uint64_t mostBytes = 1 << 30) {
    mWriter = std::make_unique<RecordWriter>(loudgate::RecordSettings{mFile, days, mostBytes});
  }

  // Waits until the condition holds, and takes the writer's messages meanwhile.
  void Await(const std::function<bool(const RecordCounts&)>& condition) {
    Await(*mWriter, condition);
    TakeLines();
  }

  static void Await(const RecordWriter& writer,
                    const std::function<bool(const RecordCounts&)>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20) * kSlowness;
    while (!condition(writer.Counts()) && std::chrono::steady_clock::now() < end)
      usleep(1000);
    EXPECT_TRUE(condition(writer.Counts()));
  }

  void TakeLines() {
    for (const std::string& line : mWriter->TakeLines()) {
      EXPECT_TRUE(IsListed(line, mFile)) << "not in Docs/OPERATIONS.md: " << line;
      mLines.push_back(line);
    }
  }

  void End() {
    mWriter->End();
    TakeLines();
    mLost = mWriter->Counts();
    mWriter.reset();
  }

  std::vector<RecordedSecond> Recorded() const {
    return StationReader(mFile).Seconds(kCluster, {0, INT64_MAX});
  }

  std::vector<std::string> FilesAside() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(mFolder))
      if (entry.path().string().find(".damaged-") != std::string::npos)
        names.push_back(entry.path());
    std::sort(names.begin(), names.end());
    return names;
  }

  std::string Bytes() const {
    std::ifstream file(mFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  void Overwrite(const std::string& path, std::size_t place, std::size_t count) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(place));
    file << std::string(count, 'x');
  }

  const fs::path mFolder;
  const std::string mFile;
  const std::int64_t mNow;
  bool mIsMounted = false;
  std::unique_ptr<RecordWriter> mWriter;
  std::vector<std::string> mLines;
  RecordCounts mLost;  // of the writer that has ended
};

TEST_F(RecordWriterTest, WhatIsPutIsInTheFileAtTheEnd) {
  Start();
  mWriter->Put(BatchOf(mNow, 30));
  mWriter->Put(BatchOf(mNow + 30, 30));
  End();
  EXPECT_EQ(60u, Recorded().size());
  EXPECT_THAT(mLines, IsEmpty());
  EXPECT_FALSE(fs::exists(mFile + "-wal"));
}

TEST_F(RecordWriterTest, ItOpensTheFileAtOnceAndTellsItsSize) {
  Start();
  Await([](const RecordCounts& counts) { return counts.isWorking && counts.bytes > 0; });
  EXPECT_TRUE(fs::exists(mFile));
}

TEST_F(RecordWriterTest, AFolderThatIsMissingIsReportedOnceAndTheRecordBeginsWithIt) {
  fs::remove_all(mFolder);
  Start();
  Await([](const RecordCounts& counts) { return counts.failures == 1; });
  mWriter->Put(BatchOf(mNow, 10));
  Await([](const RecordCounts& counts) { return counts.failures == 2; });
  EXPECT_FALSE(mWriter->Counts().isWorking);
  EXPECT_THAT(mLines, ElementsAre(mFile + ": No such file or directory"
                                          "; nothing is recorded until this is resolved"));
  fs::create_directories(mFolder);
  mWriter->Put(BatchOf(mNow + 10, 10));
  Await([](const RecordCounts& counts) { return counts.isWorking; });
  End();
  EXPECT_EQ(mFile + ": the record goes on; 0 seconds of clusters are missing", mLines.back());
  EXPECT_EQ(20u, Recorded().size());
}

TEST_F(RecordWriterTest, AFullDiskCostsWhatDoesNotFitAndTheRecordGoesOnByItself) {
  if (!HasOwnNamespaces())
    GTEST_SKIP() << "needs namespaces to mount a small file system";
  ASSERT_EQ(0, mount("tmpfs", mFolder.c_str(), "tmpfs", 0, "size=1m")) << errno;
  mIsMounted = true;
  const std::string ballast = mFolder / "ballast";
  Start();
  mWriter->Put(BatchOf(mNow, 600));
  Await([](const RecordCounts& counts) { return counts.isWorking && counts.bytes > 8192; });
  {
    std::ofstream file(ballast, std::ios::binary);
    while (file << std::string(4096, 'x') << std::flush) {
    }
  }
  mWriter->Put(BatchOf(mNow + 600, 60 * 60));
  Await([](const RecordCounts& counts) { return counts.failures > 0; });
  EXPECT_THAT(mLines, ElementsAre(HasSubstr("; nothing is recorded until this is resolved")));
  // The batch waits. Together with four more of three hours each it exceeds the limit of pending
  // batches.
  for (std::int64_t i = 0; i < 4; ++i)
    mWriter->Put(BatchOf(mNow + kDay * (i + 1), 3 * 3600));
  Await([](const RecordCounts& counts) { return counts.lostSeconds > 0; });
  EXPECT_EQ(3600u + 3 * 3600u, mWriter->Counts().lostSeconds);
  fs::remove(ballast);
  ASSERT_EQ(0, mount(nullptr, mFolder.c_str(), nullptr, MS_REMOUNT, "size=20m")) << errno;
  mWriter->Put(BatchOf(mNow + kDay * 9, 60));
  Await([](const RecordCounts& counts) { return counts.isWorking; });
  End();
  EXPECT_EQ(mFile + ": the record goes on; 14400 seconds of clusters are missing", mLines.back());
  EXPECT_EQ(600u + 3 * 3 * 3600u + 60u, Recorded().size());
  const auto events = StationReader(mFile).Events(kCluster, {0, INT64_MAX});
  ASSERT_EQ(1u, events.size());
  EXPECT_EQ("gap", events[0].kind);
  EXPECT_EQ("14400 seconds of clusters are missing", events[0].text);
}

TEST_F(RecordWriterTest, ADamagedFileIsSetAsideAndANewOneBegins) {
  {
    StationRecord record(mFile);
    for (std::int64_t i = 0; i < 24; ++i)
      record.Append(BatchOf(mNow - kDay + i * 3600, 3600));
  }
  Overwrite(mFile, 50 * 8192, 3 * 8192);
  const std::string before = Bytes();
  Start();
  mWriter->Put(BatchOf(mNow, 60));
  Await([](const RecordCounts& counts) { return counts.isWorking; });
  End();
  EXPECT_EQ(60u, Recorded().size());
  ASSERT_EQ(1u, FilesAside().size());
  EXPECT_EQ(before.size(), fs::file_size(FilesAside()[0]));
  EXPECT_THAT(mLines, ElementsAre(HasSubstr("the damaged file is kept as " + FilesAside()[0])));
}

TEST_F(RecordWriterTest, AFileThatIsNotADatabaseIsSetAsideToo) {
  std::ofstream(mFile) << std::string(20000, 'x');
  Start();
  mWriter->Put(BatchOf(mNow, 60));
  End();
  EXPECT_EQ(60u, Recorded().size());
  ASSERT_EQ(1u, FilesAside().size());
  EXPECT_EQ(20000u, fs::file_size(FilesAside()[0]));
}

TEST_F(RecordWriterTest, DamageThatIsMetWhileWritingSetsTheFileAside) {
  Start();
  mWriter->Put(BatchOf(mNow - 60 * 600, 60 * 600));
  Await([](const RecordCounts& counts) { return counts.isWorking && counts.bytes > 800000; });
  const auto pages = fs::file_size(mFile) / 8192;
  ASSERT_GT(pages, 50u);
  louddesk::SqliteFile(mFile, louddesk::SqliteMode::kReadWrite)
      .Execute("PRAGMA wal_checkpoint(TRUNCATE)");
  Overwrite(mFile, 8192, (pages - 1) * 8192);
  mWriter->Put(BatchOf(mNow, 60));
  Await([this](const RecordCounts&) { return !FilesAside().empty(); });
  End();
  EXPECT_EQ(60u, Recorded().size());
}

TEST_F(RecordWriterTest, ANewerFileIsLeftAloneAndNothingIsRecorded) {
  StationRecord(mFile).Append(BatchOf(mNow, 1));
  louddesk::SqliteFile(mFile, louddesk::SqliteMode::kReadWrite).Execute("PRAGMA user_version = 2");
  const std::string before = Bytes();
  Start();
  mWriter->Put(BatchOf(mNow + 60, 60));
  Await([](const RecordCounts& counts) { return counts.lostSeconds == 60; });
  End();
  EXPECT_EQ(before, Bytes());
  EXPECT_THAT(FilesAside(), IsEmpty());
  EXPECT_THAT(
      mLines,
      ElementsAre(mFile + ": a record of a newer version (format 2, this one knows 1); the file is "
                          "left as it is, and nothing is recorded"));
}

TEST_F(RecordWriterTest, WhatIsTooOldGoes) {
  {
    StationRecord record(mFile);
    for (std::int64_t day = 20; day > 0; --day)
      record.Append(BatchOf(mNow - day * kDay, 3600));
    record.ReturnSpace();
  }
  const auto before = fs::file_size(mFile);
  Start(10);
  mWriter->Put(BatchOf(mNow, 60));
  Await([before](const RecordCounts& counts) {
    return counts.bytes > 0 && counts.bytes < before * 2 / 3;
  });
  End();
  // Ten of the twenty hours; the oldest lacks a minute if the clock has moved on meanwhile.
  EXPECT_THAT(Recorded().size(), testing::AnyOf(10 * 3600 + 60, 10 * 3600));
  EXPECT_LT(fs::file_size(mFile), before * 2 / 3);
}

TEST_F(RecordWriterTest, TheSizeIsKeptWhateverTheAge) {
  constexpr std::uint64_t kMost = 1 << 20;
  {
    StationRecord record(mFile);
    for (std::int64_t hour = 0; hour < 24; ++hour)
      record.Append(BatchOf(mNow - kDay + hour * 3600, 3600));
    record.ReturnSpace();
    ASSERT_GT(record.Size(), 2 * kMost);
  }
  Start(90, kMost);
  mWriter->Put(BatchOf(mNow, 60));
  Await([](const RecordCounts& counts) { return counts.bytes > 0; });
  EXPECT_LE(mWriter->Counts().bytes, kMost);
  End();
  EXPECT_LE(fs::file_size(mFile), kMost);
  const auto seconds = Recorded();
  ASSERT_GT(seconds.size(), 5u * 3600u);
  EXPECT_EQ(mNow + 59, seconds.back().time);
  EXPECT_EQ(static_cast<std::int64_t>(seconds.size()),
            seconds.back().time - seconds.front().time + 1);
}

TEST_F(RecordWriterTest, AFileThatIsTakenAwayIsMadeAnew) {
  Start();
  mWriter->Put(BatchOf(mNow, 60));
  Await([](const RecordCounts& counts) { return counts.isWorking && counts.bytes > 8192; });
  fs::rename(mFile, mFolder / "taken.db");
  mWriter->Put(BatchOf(mNow + 60, 60));
  Await([this](const RecordCounts&) { return fs::exists(mFile); });
  End();
  EXPECT_THAT(mLines, ElementsAre(mFile + ": the file was removed; a new one begins"));
  EXPECT_EQ(60u, Recorded().size());
  EXPECT_EQ(60u, StationReader(mFolder / "taken.db").Seconds(kCluster, {0, INT64_MAX}).size());
}

// A cluster that was never recorded before needs a number, and there are only 1024.
TEST_F(RecordWriterTest, AClusterTooManyCostsItsOwnSecondsAlone) {
  StationBatch many;
  for (unsigned number = 1; number <= 1024; ++number)
    many.seconds[{2, number}] = BatchOf(mNow - 60, 1).seconds[kCluster];
  StationRecord(mFile).Append(many);
  Start();
  StationBatch batch = BatchOf(mNow, 60);
  batch.seconds[{2, 7}] = batch.seconds[kCluster];
  batch.events.push_back({mNow * 1000, kCluster, "state", "running"});
  mWriter->Put(batch);
  End();
  EXPECT_EQ(60u, mLost.lostSeconds);
  EXPECT_EQ(1u, mLost.lostEvents);
  EXPECT_THAT(Recorded(), IsEmpty());
  EXPECT_EQ(61u, StationReader(mFile).Seconds({2, 7}, {0, INT64_MAX}).size());
  EXPECT_THAT(mLines, ElementsAre(mFile + ": it has no number left for a new cluster, which is "
                                          "not recorded; use another file"));
}

// A cluster whose service never runs has events, but no seconds.
TEST_F(RecordWriterTest, EventsOfAClusterTooManyAreCountedAndTold) {
  StationBatch many;
  for (unsigned number = 1; number <= 1024; ++number)
    many.events.push_back({mNow * 1000, StationCluster{2, number}, "state", "waiting"});
  StationRecord(mFile).Append(many);
  Start();
  StationBatch batch;
  batch.events = {{mNow * 1000, kCluster, "state", "running"},
                  {mNow * 1000, StationCluster{2, 7}, "state", "running"},
                  {mNow * 1000, kCluster, "state", "paused"}};
  mWriter->Put(batch);
  End();
  EXPECT_EQ(2u, mLost.lostEvents);
  EXPECT_EQ(0u, mLost.lostSeconds);
  EXPECT_EQ(2u, StationReader(mFile).Events({2, 7}, {0, INT64_MAX}).size());
  EXPECT_THAT(mLines, ElementsAre(HasSubstr("it has no number left for a new cluster")));
}

TEST_F(RecordWriterTest, WhatWaitsForTheDiskIsBoundedWhateverItIs) {
  fs::remove_all(mFolder);
  Start();
  StationBatch events;
  events.events.push_back({mNow * 1000, kCluster, "configuration", std::string(1 << 20, 'x')});
  for (int i = 0; i < 100; ++i)
    mWriter->Put(events);
  mWriter->Put(BatchOf(mNow, 60));
  Await([](const RecordCounts& counts) { return counts.failures > 0; });
  fs::create_directories(mFolder);
  mWriter->Put(BatchOf(mNow + 60, 60));
  Await([](const RecordCounts& counts) { return counts.isWorking; });
  End();
  EXPECT_EQ(120u, Recorded().size());
  const auto kept = StationReader(mFile).Events(kCluster, {0, INT64_MAX}).size();
  EXPECT_LT(kept, 5u);
  EXPECT_EQ(100 - kept, mLost.lostEvents);
}

TEST_F(RecordWriterTest, WhatWaitsIsBoundedWhileTheWriterHangs) {
  mWriter = std::make_unique<RecordWriter>(
      loudgate::RecordSettings{mFile, 90, 1 << 30, std::chrono::milliseconds(100)});
  Await([](const RecordCounts& counts) { return counts.isWorking; });
  louddesk::SqliteFile other(mFile, louddesk::SqliteMode::kReadWrite);
  other.Execute("BEGIN IMMEDIATE");
  // Four batches of three hours exceed the limit of pending batches. The writer itself holds a
  // fifth.
  for (std::int64_t i = 0; i < 5; ++i)
    mWriter->Put(BatchOf(mNow + kDay * i, 3 * 3600));
  EXPECT_LE(3u * 3600u, mWriter->Counts().lostSeconds);
  Await([](const RecordCounts& counts) { return !counts.isWorking && counts.failures == 0; });
  other.Execute("COMMIT");
  Await([](const RecordCounts& counts) { return counts.isWorking; });
  End();
}

// While another program has a read transaction open, the file cannot shrink. That must not remove
// more of the record than the size limit requires.
TEST_F(RecordWriterTest, AReaderThatHoldsTheFileCostsNothingOfTheRecord) {
  {
    StationRecord record(mFile);
    for (std::int64_t hour = 0; hour < 24; ++hour)
      record.Append(BatchOf(mNow - kDay + hour * 3600, 3600));
  }
  const std::uint64_t most = fs::file_size(mFile) * 15 / 16;
  louddesk::SqliteFile other(mFile, louddesk::SqliteMode::kReadOnly);
  other.Execute("BEGIN; SELECT count(*) FROM minutes");
  Start(90, most);
  Await([most](const RecordCounts& counts) { return counts.bytes > most; });
  EXPECT_THAT(mLines, ElementsAre(HasSubstr("larger than --max-size, because another program")));
  EXPECT_TRUE(mWriter->Counts().isWorking);
  EXPECT_GT(Recorded().size(), 18u * 3600u);
  other.Execute("COMMIT");
  mWriter->Put(BatchOf(mNow, 60));
  Await([most](const RecordCounts& counts) { return counts.bytes <= most; });
  End();
  EXPECT_LE(fs::file_size(mFile), most);
  EXPECT_GT(Recorded().size(), 18u * 3600u);
}

// A reader keeps SQLite's log from being emptied, so every write makes it longer.
TEST_F(RecordWriterTest, ALogThatCannotBeEmptiedPausesTheRecordAtItsBound) {
  constexpr std::uint64_t kMost = 1 << 20;
  constexpr std::uint64_t kBound = kMost / 8 * 9;
  constexpr std::int64_t kHour = 3600;
  Start(90, kMost);
  mWriter->Put(BatchOf(mNow, kHour));
  Await([](const RecordCounts& counts) { return counts.isWorking && counts.bytes > 8192; });
  louddesk::SqliteFile other(mFile, louddesk::SqliteMode::kReadOnly);
  other.Execute("BEGIN; SELECT count(*) FROM minutes");
  std::int64_t hour = 1;
  for (; mWriter->Counts().isWorking && hour < 20; ++hour) {
    const std::uint64_t before = mWriter->Counts().bytes;
    mWriter->Put(BatchOf(mNow + hour * kHour, kHour));
    Await([before](const RecordCounts& counts) {
      return counts.bytes > before || !counts.isWorking;
    });
  }
  constexpr std::uint64_t kLargestWrite = 256 * 1024;
  const std::uint64_t full = mWriter->Counts().bytes;
  EXPECT_GT(full, kBound);
  EXPECT_LT(full, kBound + kLargestWrite);
  mWriter->Put(BatchOf(mNow + hour * kHour, kHour));
  Await([](const RecordCounts& counts) { return counts.failures == 2; });
  EXPECT_EQ(full, fs::file_size(mFile) + fs::file_size(mFile + "-wal"));
  EXPECT_THAT(mLines, ElementsAre(HasSubstr("larger than --max-size, because another program"),
                                  mFile + ": an eighth larger than --max-size, because another "
                                          "program has the record open; nothing is "
                                          "recorded until this is resolved"));
  other.Execute("COMMIT");
  mWriter->Put(BatchOf(mNow + (hour + 1) * kHour, kHour));
  Await([](const RecordCounts& counts) { return counts.isWorking && counts.bytes <= kMost; });
  End();
  EXPECT_EQ(mFile + ": the record goes on; 0 seconds of clusters are missing", mLines.back());
  EXPECT_LE(fs::file_size(mFile), kMost);
  const auto seconds = Recorded();
  EXPECT_EQ(mNow + (hour + 2) * kHour - 1, seconds.back().time);
  EXPECT_EQ(static_cast<std::int64_t>(seconds.size()),
            seconds.back().time - seconds.front().time + 1);
}

TEST_F(RecordWriterTest, AClockThatWasSetBackChangesNothingThatIsRecorded) {
  Start();
  mWriter->Put(BatchOf(mNow, 60));
  StationBatch again = BatchOf(mNow + 30, 60);
  for (RecordedSecond& second : again.seconds[kCluster])
    second.momentary.fill(-100);
  mWriter->Put(again);
  End();
  const auto seconds = Recorded();
  ASSERT_EQ(90u, seconds.size());
  EXPECT_EQ(-230, seconds[59].momentary[0]);
  EXPECT_EQ(-100, seconds[60].momentary[0]);
  EXPECT_THAT(mLines,
              ElementsAre(HasSubstr("seconds that are already recorded keep their readings")));
}

// The first writer records all seconds until it ends. The second writer does not write again what
// it collected before that.
TEST_F(RecordWriterTest, AnotherWriterIsKeptOutUntilTheFirstOneEnds) {
  RecordWriter first(loudgate::RecordSettings{mFile});
  Await(first, [](const RecordCounts& counts) { return counts.isWorking; });
  Start();
  StationBatch both = BatchOf(mNow - 60, 60);
  both.events.push_back({(mNow - 30) * 1000, kCluster, "acknowledgement", "Start acknowledged"});
  mWriter->Put(both);
  Await([this](const RecordCounts&) { return TakeLines(), !mLines.empty(); });
  EXPECT_THAT(mLines,
              ElementsAre(mFile + ": another LoudGate is recording in it; nothing is recorded "
                                  "until this is resolved"));
  EXPECT_FALSE(mWriter->Counts().isWorking);
  first.Put(both);
  first.End();
  EXPECT_THAT(first.TakeLines(), IsEmpty());
  EXPECT_EQ(60u, Recorded().size());

  Await([](const RecordCounts& counts) { return counts.isWorking; });
  const std::int64_t taken = std::time(nullptr);
  StationBatch next = BatchOf(mNow - 60, taken + 60 - (mNow - 60));
  next.events = both.events;
  mWriter->Put(next);
  End();
  const auto seconds = Recorded();
  EXPECT_THAT(seconds.size(), testing::AllOf(testing::Ge(60u + 59u), testing::Le(60u + 60u + 20u)));
  EXPECT_EQ(taken + 59, seconds.back().time);
  const auto events = StationReader(mFile).Events(kCluster, {0, INT64_MAX});
  ASSERT_EQ(2u, events.size());
  EXPECT_EQ("Start acknowledged", events[0].text);
  EXPECT_EQ("started", events[1].text);
  EXPECT_EQ(mFile + ": the record goes on; 0 seconds of clusters are missing", mLines.back());
  EXPECT_EQ(1, std::distance(fs::directory_iterator(mFolder), fs::directory_iterator{}));
}

// Truncates the log and the file of an interrupted writer at many places, as a torn write would. A
// file that opens has all older rows; one that does not is set aside whole.
TEST_F(RecordWriterTest, ATornWriteLosesNoOlderRows) {
  const std::string source = mFolder / "source.db";
  StationRecord record(source);
  record.Append(BatchOf(mNow - 7200, 3600));
  record.ReturnSpace();  // these rows are in the file, later ones in the log alone
  const auto older = fs::file_size(source);
  record.Append(BatchOf(mNow - 3600, 600));
  record.Append(BatchOf(mNow - 3000, 600));
  const auto log = fs::file_size(source + "-wal");
  ASSERT_GT(log, 50000u);
  for (std::uint64_t place = 0; place <= log; place += log / 23) {
    fs::copy_file(source, mFile);
    fs::copy_file(source + "-wal", mFile + "-wal");
    fs::resize_file(mFile + "-wal", place);
    Start();
    mWriter->Put(BatchOf(mNow, 60));
    Await([](const RecordCounts& counts) { return counts.isWorking; });
    End();
    const auto count = Recorded().size();
    EXPECT_TRUE(count == 3660 || count == 4260 || count == 4860) << place << ": " << count;
    EXPECT_THAT(FilesAside(), IsEmpty()) << place;
    EXPECT_THAT(mLines, IsEmpty()) << place;
    fs::remove(mFile);
  }
  for (std::uint64_t place = 1000; place < older; place += older / 11) {
    fs::copy_file(source, mFile);
    fs::resize_file(mFile, place);
    Start();
    mWriter->Put(BatchOf(mNow, 60));
    Await([](const RecordCounts& counts) { return counts.isWorking; });
    End();
    EXPECT_GE(Recorded().size(), 60u) << place;
    ASSERT_EQ(1u, FilesAside().size()) << place;
    EXPECT_EQ(place, fs::file_size(FilesAside()[0]));
    fs::remove(FilesAside()[0]);
    fs::remove(mFile);
  }
}

}  // namespace
