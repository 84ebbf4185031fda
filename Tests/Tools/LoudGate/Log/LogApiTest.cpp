// The limits on requests for periods: time, waiting requests, files being sent. The record is
// locked by another connection, or takes long to read.

#include "LogApi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "Emulation.h"
#include "HttpServer.h"
#include "RecordedSeconds.h"
#include "SqliteFile.h"
#include "StationRecord.h"

namespace {

namespace fs = std::filesystem;

using louddesk::SqliteFile;
using loudgate::HttpAnswer;
using loudgate::HttpRequest;
using loudgate::LogApi;
using loudgate::LogLimits;
using std::chrono::milliseconds;
using testing::StartsWith;

constexpr char kBusy[] = "There are too many such requests; try again later.\n";
constexpr char kTooLong[] = "This takes too long; ask for a shorter period, or use LoudDesk log.\n";

// Only failures take this long.
constexpr std::chrono::seconds kPatience{60 * kSlowness};

class LogApiTest : public testing::Test {
 protected:
  LogApiTest()
      : mFolder(fs::path(testing::TempDir()) / ("log-api-" + std::to_string(getpid()))),
        mFile(mFolder / "station.db") {
    fs::create_directories(mFolder);
  }
  ~LogApiTest() override { fs::remove_all(mFolder); }

  // Records `days` days from 2024-11-19.
  void Record(int days) {
    louddesk::StationRecord record(mFile);
    for (int day = 0; day < days; ++day) {
      louddesk::StationBatch batch;
      auto& seconds = batch.seconds[{1, 3}];
      seconds.push_back(louddesk::SecondAt(louddesk::kTuesday + day * 86400, -230));
      louddesk::Append(seconds, 86399, -230);
      record.Append(batch);
    }
  }

  void Start(const LogLimits& limits) { mApi = std::make_unique<LogApi>(mRoutes, mFile, limits); }

  HttpAnswer Ask(const std::string& to, const std::string& format = "json") const {
    HttpRequest request;
    request.method = loudgate::kGet;
    request.path = "/api/log";
    request.query = {{"from", "2024-11-19T00:00:00Z"}, {"to", to}, {"format", format}};
    return mRoutes.Answer(request);
  }

  HttpAnswer AskForAMinute(const std::string& format = "json") const {
    return Ask("2024-11-19T00:01:00Z", format);
  }

  // Waits for the final answer of a request.
  HttpAnswer Await(const HttpAnswer& answer) {
    if (!answer.late)
      return answer;
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!answer.late->answer && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(milliseconds(1));
      mApi->Tend();
    }
    EXPECT_TRUE(answer.late->answer);
    return answer.late->answer.value_or(HttpAnswer());
  }

  // Locks everyone out of the record until the result is destroyed.
  std::unique_ptr<SqliteFile> Lock() const {
    auto other = std::make_unique<SqliteFile>(mFile, louddesk::SqliteMode::kReadWrite);
    other->Execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN IMMEDIATE; COMMIT");
    return other;
  }

  const fs::path mFolder;
  const std::string mFile;
  loudgate::Routes mRoutes;
  std::unique_ptr<LogApi> mApi;
};

TEST_F(LogApiTest, WorkThatTakesTooLongIsGivenUp) {
  Record(5);
  LogLimits limits;
  limits.work = milliseconds(50);
  Start(limits);
  const HttpAnswer given = Await(Ask("2024-11-24T00:00:00Z"));
  EXPECT_EQ(loudgate::kUnavailable, given.status);
  EXPECT_EQ(kTooLong, given.body);
}

TEST_F(LogApiTest, ATableThatTakesTooLongIsGivenUp) {
  Record(1);
  LogLimits limits;
  limits.work = milliseconds(50);
  Start(limits);
  const HttpAnswer given = Await(Ask("2024-11-20T00:00:00Z", "csv"));
  EXPECT_EQ(loudgate::kUnavailable, given.status);
  EXPECT_EQ(kTooLong, given.body);
  EXPECT_FALSE(given.file);
}

TEST_F(LogApiTest, ARequestThatWaitedTooLongIsGivenUp) {
  Record(1);
  auto lock = Lock();
  LogLimits limits;
  limits.work = milliseconds(1000);
  Start(limits);
  const HttpAnswer first = AskForAMinute();
  const HttpAnswer second = AskForAMinute();
  // The first request gives up when the reader's patience with the locked file ends.
  EXPECT_EQ("The record cannot be read.\n", Await(first).body);
  lock.reset();
  EXPECT_EQ(kTooLong, Await(second).body);
}

TEST_F(LogApiTest, TheUsualLimitEndsBeforeTheServersPatience) {
  EXPECT_LT(LogLimits().work + louddesk::kReaderPatience, loudgate::HttpLimits().patience);
}

// While the file is locked, the first request stays in progress.
TEST_F(LogApiTest, MoreThanMayWaitAreRefusedAtOnce) {
  Record(1);
  auto lock = Lock();
  LogLimits limits;
  limits.waiting = 3;
  Start(limits);
  std::vector<HttpAnswer> taken;
  HttpAnswer answer = AskForAMinute();
  for (; answer.late && taken.size() < 20; answer = AskForAMinute())
    taken.push_back(answer);
  EXPECT_FALSE(answer.late);
  EXPECT_EQ(loudgate::kUnavailable, answer.status);
  EXPECT_EQ(kBusy, answer.body);
  // Three waiting requests, and one more if the first was taken up meanwhile.
  EXPECT_THAT(taken.size(), testing::AnyOf(3u, 4u));
  lock.reset();
  for (const HttpAnswer& one : taken)
    EXPECT_EQ(loudgate::kOk, Await(one).status);
  EXPECT_EQ(loudgate::kOk, Await(AskForAMinute()).status);
}

TEST_F(LogApiTest, TablesOnTheirWayAreBounded) {
  Record(1);
  LogLimits limits;
  limits.files = 2;
  Start(limits);
  // All four may be accepted, because no file exists yet. Only two files are made.
  std::vector<HttpAnswer> asked;
  for (int i = 0; i < 4; ++i)
    asked.push_back(AskForAMinute("csv"));
  std::vector<HttpAnswer> made;
  for (const HttpAnswer& one : asked)
    if (HttpAnswer answer = Await(one); answer.file)
      made.push_back(std::move(answer));
    else
      EXPECT_EQ(kBusy, answer.body);
  asked.clear();
  EXPECT_EQ(2u, made.size());
  EXPECT_FALSE(AskForAMinute("csv").late);
  EXPECT_EQ(loudgate::kOk, Await(AskForAMinute()).status);  // figures need no file
  made.pop_back();
  EXPECT_TRUE(Await(AskForAMinute("csv")).file);
}

}  // namespace
