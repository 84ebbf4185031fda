// Hostile clients of the publishers. They must not affect the cadence, other clients, or the memory
// and life of the process. The short runs are daily tests; the runs of several minutes have the
// label `soak`.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "FaultyUnit.h"
#include "MqListener.h"
#include "MqListenerFile.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kAWhile{4};
constexpr std::chrono::seconds kAMinute{60};

/// Limit of the service's memory. Includes freed memory that a sanitizer retains.
#ifdef __SANITIZE_ADDRESS__
constexpr long kBoundKib = 640 * 1024;
#else
constexpr long kBoundKib = 64 * 1024;
#endif

std::string FileOf(const std::string& name) {
  return "/run/shm/mq/" + name;
}

const std::string kDataFile = FileOf(louddesk::DataPublisherFile(1, 1));
const std::string kStateFile = FileOf(louddesk::StatePublisherFile(1, 1));

class HostileClientTest : public FaultyUnit,
                          public testing::WithParamInterface<std::chrono::seconds> {
 protected:
  void SetUp() override { Begin({}); }

  void Begin(const ServiceStart& start) {
    ASSERT_NO_FATAL_FAILURE(StartInOrder(start));
    ASSERT_NO_FATAL_FAILURE(BeginWatch());
  }

  void TearDown() override {
    for (const auto& hostile : mHostile) {
      const std::vector<OutputLine> lines = hostile->Lines();
      std::cout << "  " << (lines.empty() ? "nothing done" : lines.back().text) << std::endl;
    }
    mHostile.clear();
    FaultyUnit::TearDown();
  }

  /// Starts a hostile client and waits until it has begun.
  void StartHostile(const std::vector<std::string>& arguments) {
    mHostile.push_back(std::make_unique<ServiceProcess>(HOSTILE_CLIENT_BINARY, arguments));
    ASSERT_TRUE(mHostile.back()->WaitForLine(" ", kPatience)) << "nothing done";
  }

  /// Waits for the duration of the test while the hostile clients run, and keeps calling `act`.
  void RunHostileClients(const std::function<void()>& act = [] {}) {
    for (const auto end = Clock::now() + GetParam(); Clock::now() < end;) {
      act();
      Pass(kPeriod);
      mMostKib = std::max(mMostKib, mService->ResidentKib());
      mMostFiles = std::max(mMostFiles, mService->OpenFiles());
      mUnit.DropStates();
      mUnit.DropLoudnessData();
      mUnit.DropHeartbeats();
    }
    for (const auto& hostile : mHostile)
      EXPECT_TRUE(hostile->IsRunning()) << "ended early";
  }

  void ExpectUndisturbed(Milliseconds longestGap = Milliseconds{1000}) {
    RecordFigure("most_memory_kib", static_cast<double>(mMostKib));
    EXPECT_LE(mMostKib, kBoundKib);
    ExpectCadenceAndMemory(longestGap);
  }

  std::vector<std::unique_ptr<ServiceProcess>> mHostile;
  long mMostFiles = 0;  // largest number of open files of the service

 private:
  long mMostKib = 0;  // largest memory of the service
};

TEST_P(HostileClientTest, WhoConnectsAndNeverSubscribesFillsNoMemory) {
  for (const std::string& file : {kStateFile, kStateFile, kDataFile})
    ASSERT_NO_FATAL_FAILURE(StartHostile({"ConnectAndLeave", file}));
  RunHostileClients();
  ExpectUndisturbed();
}

TEST_P(HostileClientTest, WhoTalksGarbageCostsNoCadence) {
  for (const std::string& file : {kStateFile, kDataFile})
    ASSERT_NO_FATAL_FAILURE(StartHostile({"Garbage", file}));
  RunHostileClients();
  ExpectUndisturbed();
}

TEST_P(HostileClientTest, WhoHasSubscribedToLongTopicsLeavesAtNoCost) {
  ASSERT_NO_FATAL_FAILURE(StartHostile({"Topics", kStateFile, "200", "10", "250"}));
  mHostile.clear();
  RunHostileClients();
  ExpectUndisturbed();
}

TEST_P(HostileClientTest, WhoRemovesTheFilesAgainAndAgainKeepsNobodyOut) {
  const long before = mService->OpenFiles();
  RunHostileClients([] {
    for (const std::string& file : {kDataFile, kStateFile})
      std::filesystem::remove(file);
  });
  EXPECT_LE(mService->OpenFiles(), before + 4 * MqListenerFile::kMostListeners);
  louddesk::DataClient newcomer(louddesk::DataPublisherFile(1, 1));
  EXPECT_TRUE(GetsData(newcomer));
  ExpectMeasures(-20);
  // Earlier clients must reconnect from time to time.
  ExpectUndisturbed(Milliseconds{3000});
}

/// A service that may open few files.
class FileShortageTest : public HostileClientTest {
 protected:
  static constexpr long kFiles = 256;

  void SetUp() override {
    ServiceStart start;
    start.runner = {"/usr/bin/prlimit", "--nofile=" + std::to_string(kFiles)};
    Begin(start);
  }
};

TEST_P(FileShortageTest, WhoConnectsAndSaysNothingDoesNotEndTheService) {
  ASSERT_NO_FATAL_FAILURE(StartHostile({"Silent", kDataFile, std::to_string(2 * kFiles)}));
  RunHostileClients();
  // The maximum, because clients that are silent for too long are all dropped at once.
  EXPECT_GE(mMostFiles, kFiles - 2 * kMqSpareFiles) << "there was no shortage";
  ExpectMeasures(-20);
  ExpectUndisturbed();
  mHostile.clear();
  louddesk::DataClient newcomer(louddesk::DataPublisherFile(1, 1));
  EXPECT_TRUE(GetsData(newcomer));
}

/// The cost that remains is the library's own work on topics that clients may subscribe to.
class SubscriberCostTest : public HostileClientTest {};

TEST_P(SubscriberCostTest, TwoHundredWhoHaveSubscribedToTheLongestTopicsLeaveWithinASecond) {
  const std::string longest = std::to_string(kMqMaxClientFrameSize - 1);
  ASSERT_NO_FATAL_FAILURE(StartHostile({"Topics", kStateFile, "200", "10", longest}));
  mHostile.clear();
  RunHostileClients();
  ExpectUndisturbed(Milliseconds{3000});
}

const auto kNameOfLength = [](const testing::TestParamInfo<std::chrono::seconds>& info) {
  return std::to_string(info.param.count()) + "Seconds";
};

INSTANTIATE_TEST_SUITE_P(Seconds, HostileClientTest, testing::Values(kAWhile), kNameOfLength);
INSTANTIATE_TEST_SUITE_P(Seconds, FileShortageTest, testing::Values(kAWhile), kNameOfLength);
INSTANTIATE_TEST_SUITE_P(Soak, FileShortageTest, testing::Values(kAMinute), kNameOfLength);
INSTANTIATE_TEST_SUITE_P(Soak, SubscriberCostTest, testing::Values(kAMinute), kNameOfLength);
INSTANTIATE_TEST_SUITE_P(Soak, HostileClientTest, testing::Values(kAMinute), kNameOfLength);

}  // namespace
