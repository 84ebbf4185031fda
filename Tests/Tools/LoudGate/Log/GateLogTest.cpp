// /api/log of the shipped gate, requested by a real client, on a record made by its writer.

#include <algorithm>

#include "GateProcess.h"
#include "RecordedSeconds.h"
#include "StationRecord.h"
#include "TestAudio.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr char kHour[] = "/api/log?cluster=1-3&from=2024-11-19T00:00:00Z&to=2024-11-19T01:00:00Z";

constexpr char kBusy[] = "There are too many such requests";
constexpr char kTooLong[] = "This takes too long";

class GateLogTest : public GateTest {
 protected:
  // Records an hour at -23 LKFS from 2024-11-19T00:00:00Z. The gate must not remove it for its age.
  void Record() {
    louddesk::StationBatch batch;
    louddesk::Append(batch.seconds[{1, 3}], 3600, -230);
    louddesk::Append(batch.seconds[{1, 1}], 3600, -180);
    louddesk::StationRecord(mRecord).Append(batch);
    StartGate({"--record", mRecord, "--days", "36500"});
  }

  // Records the last thirty-one days of the cluster 1-3.
  void RecordAMonth() {
    constexpr std::int64_t kDay = 86400;
    louddesk::StationRecord record(mRecord);
    std::int64_t time = std::time(nullptr) - 31 * kDay;
    for (int day = 0; day < 31; ++day, time += kDay) {
      louddesk::StationBatch batch;
      auto& seconds = batch.seconds[{1, 3}];
      seconds.push_back(louddesk::SecondAt(time, -230));
      louddesk::Append(seconds, kDay - 1, -230);
      record.Append(batch);
    }
  }

  // Waits until `count` clients were refused; returns how many were.
  int AwaitRefusals(const std::vector<std::unique_ptr<ServiceProcess>>& clients, int count) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    const auto refused = [&clients] {
      return std::count_if(clients.begin(), clients.end(), [](const auto& client) {
        return client->StandardOutput().find(kBusy) != std::string::npos;
      });
    };
    while (refused() < count && std::chrono::steady_clock::now() < end)
      Pass(std::chrono::milliseconds(10));
    return static_cast<int>(refused());
  }

  test_audio::AudioDirectory mFolder;
  const std::string mRecord = mFolder.Path("station.db");
};

TEST_F(GateLogTest, JsonIsWhatLoudDeskSays) {
  ASSERT_NO_FATAL_FAILURE(Record());
  const HttpReply reply = Get(kHour);
  EXPECT_EQ(200, reply.status) << reply.body;
  EXPECT_EQ("application/json", reply.Header("Content-Type"));
  ServiceProcess desk(LOUDDESK_BINARY,
                      {"log", mRecord, "--cluster", "1-3", "--from", "2024-11-19T00:00:00Z", "--to",
                       "2024-11-19T01:00:00Z", "--format", "json"});
  ASSERT_TRUE(desk.WaitForExit(kPatience));
  EXPECT_EQ(desk.StandardOutput(), reply.body);
  EXPECT_EQ(-23.0, reply.Json()["Integrated"].get<double>());
  EXPECT_EQ(reply.body, Get("/api/log?cluster=1-3&from=2024-11-19T01:00:00+01:00"
                            "&to=2024-11-19T02:00:00%2B01:00")
                            .body);
}

TEST_F(GateLogTest, TheReportBringsItsStyleAndNothingElse) {
  ASSERT_NO_FATAL_FAILURE(Record());
  const HttpReply reply = Get(std::string(kHour) + "&format=html&profile=atsc-a85");
  EXPECT_EQ(200, reply.status);
  EXPECT_THAT(reply.body, HasSubstr("ATSC A/85"));
  EXPECT_THAT(reply.Header("Content-Security-Policy"),
              StartsWith("default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'"));
  EXPECT_EQ("nosniff", reply.Header("X-Content-Type-Options"));
}

TEST_F(GateLogTest, CsvHasEverySecond) {
  ASSERT_NO_FATAL_FAILURE(Record());
  const HttpReply reply = Get(std::string(kHour) + "&format=csv");
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ("text/csv; charset=utf-8", reply.Header("Content-Type"));
  EXPECT_EQ(3601, std::count(reply.body.begin(), reply.body.end(), '\n'));
  EXPECT_THAT(reply.body, StartsWith("Cluster,Time,Momentary 1 (LKFS),"));
}

TEST_F(GateLogTest, WhatCannotBeAnsweredSaysWhy) {
  ASSERT_NO_FATAL_FAILURE(Record());
  struct Case {
    const char* query;
    int status;
    const char* text;
  };
  for (const Case& wrong : {
           Case{"", 400, "Either from or last is required."},
           Case{"?cluster=1-3&from=2024-11-19&last=1h", 400, "Either from or last is required."},
           Case{"?cluster=x&last=1h", 400, "The parameter cluster cannot be understood."},
           Case{"?cluster=1-3&last=1", 400, "The parameter last cannot be understood."},
           Case{"?cluster=1-3&last=1h&format=xml", 400, "The parameter format cannot"},
           Case{"?cluster=1-3&last=1h&profile=x", 400, "The parameter profile cannot"},
           Case{"?cluster=1-3&last=1h&x=1", 400, "The parameters are cluster, from, to, last"},
           Case{"?cluster=1-3&from=2024-11-20&to=2024-11-19", 400, "ends before it begins"},
           Case{"?cluster=1-3&from=2024-01-01", 400, "At most 31 days can be asked for."},
           Case{"?cluster=1-3&last=2d&format=csv", 400, "the seconds of a day"},
           Case{"?cluster=1-7&last=1h", 404, "nothing is recorded for cluster 1-7"},
           Case{"?last=1h", 404, "which cluster? The record has 1-1 1-3"},
           Case{"?cluster=1-3&from=2024-11-18T00:00:00Z&to=2024-11-18T01:00:00Z", 404,
                "nothing is recorded for 1-3"},
       }) {
    const HttpReply reply = Get(std::string("/api/log") + wrong.query);
    EXPECT_EQ(wrong.status, reply.status) << wrong.query;
    EXPECT_THAT(reply.body, HasSubstr(wrong.text)) << wrong.query;
  }
}

TEST_F(GateLogTest, WithoutARecordItIsUnavailable) {
  ASSERT_NO_FATAL_FAILURE(StartGate());
  const HttpReply reply = Get(kHour);
  EXPECT_EQ(503, reply.status);
  EXPECT_EQ("This gate keeps no record.\n", reply.body);
}

TEST_F(GateLogTest, ManyAtOnceAreAnsweredOrRefused) {
  ASSERT_NO_FATAL_FAILURE(Record());
  std::vector<std::unique_ptr<ServiceProcess>> clients;
  for (int i = 0; i < 20; ++i)
    clients.push_back(
        Follow(std::string(kHour) + (i % 2 == 0 ? "&format=csv" : ""),
               {"--max-time", "20", "--output", "/dev/null", "--write-out", "%{http_code}\\n"}));
  for (const auto& client : clients) {
    ASSERT_TRUE(client->WaitForExit(kPatience));
    EXPECT_THAT(client->StandardOutput(), testing::AnyOf("200\n", "503\n"));
  }
  EXPECT_EQ(200, Get(kHour).status);
}

// Reading a month takes seconds, so requests for months pile up on the thread that reads. They are
// answered or refused, and nothing else waits for them.
TEST_F(GateLogTest, LongPeriodsDisturbNeitherTheStreamNorTheRecordNorTheService) {
  constexpr int kRequests = 20;
  constexpr int kMostAccepted = 5;  // one in progress, four waiting
  RecordAMonth();
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", mRecord, "--write-every", "1"}));
  StartMeasuring();
  Await("/api/clusters/1-1",
        [](const nlohmann::json& cluster) { return cluster.at("State") == "RUNNING"; });
  const auto reader = Follow("/api/stream");
  ASSERT_TRUE(reader->WaitForLine("data: ", kPatience));
  const std::int64_t from = std::time(nullptr) + 1;
  MarkCadence();
  std::vector<std::unique_ptr<ServiceProcess>> clients;
  for (int i = 0; i < kRequests; ++i)
    clients.push_back(Follow("/api/log?cluster=1-3&last=30d",
                             {"--max-time", "60", "--write-out", "%{http_code}\\n"}));
  EXPECT_EQ(kRequests - kMostAccepted, AwaitRefusals(clients, kRequests - kMostAccepted));
  EXPECT_TRUE(std::any_of(clients.begin(), clients.end(),
                          [](const auto& client) { return client->IsRunning(); }));
  EXPECT_EQ(200, Get("/api/clusters").status);
  const std::size_t before = reader->LineCount();
  ASSERT_TRUE(reader->WaitForLine("data: ", kPatience, before));
  for (const auto& client : clients) {
    ASSERT_TRUE(client->WaitForExit(3 * kPatience));
    EXPECT_THAT(client->StandardOutput(), testing::AnyOf(HasSubstr("\"WithoutData\":0"),
                                                         HasSubstr(kBusy), HasSubstr(kTooLong)));
  }
  ExpectCadenceKept();
  ExpectRecorded(from, std::time(nullptr) - 1);
}

}  // namespace
