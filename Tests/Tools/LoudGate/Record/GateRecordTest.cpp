// The record of the shipped gate beside a running service.

#include <csignal>
#include <ctime>
#include <filesystem>
#include <random>

#include "GateProcess.h"
#include "StationReader.h"

namespace {

namespace fs = std::filesystem;

using louddesk::RecordedEvent;
using louddesk::RecordedSecond;
using louddesk::RecordedState;
using louddesk::StationCluster;
using louddesk::StationReader;
using testing::AllOf;
using testing::Contains;
using testing::Field;

// The published code of five channels at -23 LKFS with the weights of a 5.1 programme: -23 + 10
// lg(1 + 1 + 1 + 1.41 + 1.41) = -15.35, rounded down.
constexpr std::int16_t kPublished = -154;

const StationCluster kCluster{1, 1};

class GateRecordTest : public GateTest {
 protected:
  GateRecordTest()
      : mFolder(fs::path(testing::TempDir()) / ("gate-record-" + std::to_string(getpid()))),
        mFile(mFolder / "station.db") {
    fs::create_directories(mFolder);
  }
  ~GateRecordTest() override { fs::remove_all(mFolder); }

  std::vector<RecordedSecond> Recorded() const {
    return StationReader(mFile).Seconds(kCluster, {0, INT64_MAX});
  }

  std::vector<RecordedEvent> Events() const {
    return StationReader(mFile).Events(kCluster, {0, INT64_MAX});
  }

  // Feeds blocks of this loudness for `time`.
  void FeedFor(std::chrono::milliseconds time, double lkfs) {
    for (auto left = time; left.count() > 0; left -= kPeriod) {
      Feed(1, lkfs);
      Pass(kPeriod);
    }
  }

  const fs::path mFolder;
  const std::string mFile;
};

TEST_F(GateRecordTest, HasEverySecondUpToTheEndAndWhatHappened) {
  ASSERT_NO_FATAL_FAILURE(Start());
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", mFile}));
  StartMeasuring();
  louddesk::LoudnessConfiguration configuration;
  configuration.clusterId = mUnit.Cluster();
  configuration.mode = "Manual";
  SendConfiguration(configuration);
  ExpectAcknowledgement("Start");
  FeedFor(std::chrono::seconds(4), -23);
  SendCommand("Stop");
  ExpectAcknowledgement("Stop");
  FeedFor(std::chrono::milliseconds(500), -23);
  ExpectGateEnds(SIGTERM);
  const std::int64_t end = std::time(nullptr);

  const auto seconds = Recorded();
  ASSERT_GE(seconds.size(), 4u);
  EXPECT_GE(seconds.back().time, end - 2);
  EXPECT_EQ(static_cast<std::int64_t>(seconds.size()) - 1,
            seconds.back().time - seconds.front().time);
  EXPECT_THAT(seconds, Contains(AllOf(Field(&RecordedSecond::momentary, testing::Each(kPublished)),
                                      Field(&RecordedSecond::state, RecordedState::kRunning),
                                      Field(&RecordedSecond::isSourceValid, true))));
  const auto has = [](const char* kind, const std::string& text) {
    return Contains(AllOf(Field(&RecordedEvent::kind, kind),
                          Field(&RecordedEvent::text, testing::HasSubstr(text))));
  };
  const auto events = Events();
  EXPECT_THAT(events, has("gate", "started"));
  EXPECT_THAT(events, has("gate", "stopped"));
  EXPECT_THAT(events, has("state", "running"));
  EXPECT_THAT(events, has("programme", "has meters"));
  EXPECT_THAT(events, has("acknowledgement", "Start acknowledged"));
  EXPECT_THAT(events, has("configuration", "Manual"));
  EXPECT_THAT(events, has("acknowledgement", "Stop acknowledged"));
}

TEST_F(GateRecordTest, AKillLosesNoMoreThanThePeriodAndTheFileIsWhole) {
  constexpr std::int64_t kWriteEvery = 2;
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  std::mt19937 random(20240610);
  for (int run = 0; run < 5; ++run) {
    ASSERT_NO_FATAL_FAILURE(
        StartGate({"--record", mFile, "--write-every", std::to_string(kWriteEvery)}));
    FeedFor(std::chrono::milliseconds(5000 + random() % 3000), -23);
    const std::int64_t killed = std::time(nullptr);
    mGate->Signal(SIGKILL);
    ASSERT_TRUE(mGate->WaitForExit(kPatience));
    ASSERT_FALSE(Recorded().empty());
    // Allows for the write period, two seconds of collecting, the write itself and rounding.
    EXPECT_GE(Recorded().back().time, killed - kWriteEvery - 4);
    EXPECT_EQ("", mGate->StandardError());
  }
  const auto before = Recorded().size();
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", mFile}));
  ExpectGateEnds(SIGTERM);
  EXPECT_GE(Recorded().size(), before);
  EXPECT_EQ(1, std::distance(fs::directory_iterator(mFolder), fs::directory_iterator{}));
}

TEST_F(GateRecordTest, WithoutAFolderThePageGoesOn) {
  fs::remove_all(mFolder);
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", mFile}));
  EXPECT_TRUE(mGate->WaitForLine(
      "LoudGate: " + mFile +
          ": No such file or directory; nothing is recorded until this is resolved",
      kPatience));
  EXPECT_EQ(200, Get("/api/clusters").status);
  EXPECT_NE(std::string::npos, Get("/metrics").body.find("\nloudgate_record_working 0\n"));
  mGate->Signal(SIGTERM);
  const auto report = mGate->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->status);
}

TEST_F(GateRecordTest, ASecondGateServesThePageAndTakesTheRecordOver) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", mFile, "--write-every", "1"}));
  FeedFor(std::chrono::seconds(3), -23);
  const auto first = std::move(mGate);
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", mFile, "--write-every", "1"}));
  ASSERT_TRUE(mGate->WaitForLine(
      "LoudGate: " + mFile +
          ": another LoudGate is recording in it; nothing is recorded until this is resolved",
      kPatience));
  Await("/api/clusters/1-1",
        [](const nlohmann::json& cluster) { return cluster.at("State") == "RUNNING"; });
  EXPECT_NE(std::string::npos, Get("/metrics").body.find("\nloudgate_record_working 0\n"));
  FeedFor(std::chrono::seconds(3), -23);
  first->Signal(SIGTERM);
  ASSERT_TRUE(first->WaitForExit(kPatience));
  EXPECT_EQ("", first->StandardError());
  ASSERT_TRUE(
      mGate->WaitForLine("the record goes on; 0 seconds of clusters are missing", kPatience));
  FeedFor(std::chrono::seconds(4), -23);
  mGate->Signal(SIGTERM);
  const auto report = mGate->WaitForExit(kPatience);
  ASSERT_TRUE(report);
  EXPECT_EQ(0, report->status);
  // The lines are the listening address and the two above. A line about repeated seconds would be a
  // fourth.
  EXPECT_EQ(3u, mGate->LineCount()) << mGate->StandardError();
  std::int64_t missing = 0;
  const auto seconds = Recorded();
  for (std::size_t i = 1; i < seconds.size(); ++i) {
    ASSERT_LT(seconds[i - 1].time, seconds[i].time);
    missing += seconds[i].time - seconds[i - 1].time - 1;
  }
  EXPECT_GE(3, missing);
  std::vector<std::string> gate;
  for (const RecordedEvent& event : Events())
    if (event.kind == "gate")
      gate.push_back(event.text);
  EXPECT_THAT(gate, testing::ElementsAre("started", "stopped", "started", "stopped"));
}

TEST_F(GateRecordTest, TheMetricsTellOfTheRecord) {
  ASSERT_NO_FATAL_FAILURE(StartGate({"--record", mFile}));
  const auto end = std::chrono::steady_clock::now() + kPatience;
  bool works = false;
  bool isEmpty = true;
  while ((!works || isEmpty) && std::chrono::steady_clock::now() < end) {
    const std::string text = Get("/metrics").body;
    works = text.find("\nloudgate_record_working 1\n") != std::string::npos;
    isEmpty = text.find("\nloudgate_record_bytes 0\n") != std::string::npos;
  }
  EXPECT_TRUE(works);
  EXPECT_FALSE(isEmpty);
  ExpectGateEnds(SIGTERM);
  ASSERT_NO_FATAL_FAILURE(StartGate());
  EXPECT_EQ(std::string::npos, Get("/metrics").body.find("loudgate_record"));
}

}  // namespace
