// Existing files at the paths to which the service binds, and an IPC directory that it cannot use.
// StartUpTest covers a directory in the place of the data publisher; PeerRestartTest and
// PeerFaultTest cover files that a killed service or peer leaves behind.

#include <sys/mount.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "Endpoints.h"
#include "FaultyUnit.h"
#include "Isolation.h"

namespace {

using louddesk::Peer;

constexpr char kDirectory[] = "/run/shm/mq";
constexpr char kParent[] = "/run/shm";

std::string PathOf(const std::string& file) {
  return std::string(kDirectory) + "/" + file;
}

void WriteFile(const std::string& path) {
  std::ofstream(path) << "not a socket";
}

class EndpointFilesTest : public FaultyUnit {
 protected:
  /// Each test begins with an empty directory, as on a machine that was never used.
  void SetUp() override {
    if (!HasOwnNamespaces())
      GTEST_SKIP() << "the directory is shared with other processes of this machine";
    std::filesystem::remove_all(kDirectory);
  }

  void TearDown() override {
    FaultyUnit::TearDown();
    for (const std::string& mounted : mMounted)
      umount(mounted.c_str());
  }

  /// Mounts an empty read-only file system on a directory.
  void MountReadOnly(const std::string& path) {
    ASSERT_EQ(0, mount("tmpfs", path.c_str(), "tmpfs", MS_RDONLY, nullptr));
    mMounted.push_back(path);
  }

  void ExpectLine(const std::string& text) {
    EXPECT_TRUE(mService->WaitForLine(text, kPatience)) << text;
  }

  /// Expects that the service starts without publishers, logs that, and stops by an assertion at
  /// the first message that it would publish.
  void ExpectUnusableDirectory(const std::string& reason) {
    mUnit.OpenAll({Peer::kSignalProcessor, Peer::kLogSink});
    StartProcess();
    ExpectLine(reason);
    ExpectLine("|CRITICAL|ReactorMain|");
    ExpectLine("\"Failed to initialize HWM Pubs.\"");
    ExpectLine("addQVAppserverMq local optkria");
    ASSERT_TRUE(mUnit.WaitFor(
        [this] {
          return mUnit.SubscriptionsAt(Peer::kMainAppServer).count("AppProbeIOMatrixStream-1") &&
                 mUnit.SubscriptionsAt(Peer::kOpticalAppServer).count(kEnableReportingTopic);
        },
        kPatience));
    EnableReporting();
    SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
    ExpectStopByAssertion("__null != mpLuDataPubSocket");
  }

  std::vector<std::string> mMounted;
};

TEST_F(EndpointFilesTest, RegularFilesInThePlacesOfThePublishersAreReplaced) {
  const std::string files[] = {PathOf(louddesk::DataPublisherFile(1, 1)),
                               PathOf(louddesk::StatePublisherFile(1, 1))};
  mUnit.OpenAll();
  for (const std::string& file : files)
    WriteFile(file);
  StartProcess();
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  StartMeasuring();
  ExpectMeasures(-20);
  for (const std::string& file : files)
    EXPECT_TRUE(std::filesystem::is_socket(file)) << file;
}

TEST_F(EndpointFilesTest, RegularFilesInThePlacesOfPeersAreReplacedByThem) {
  std::filesystem::create_directories(kDirectory);
  const std::string files[] = {PathOf("hwmProbeLuRawDataPub-1.ipc"), PathOf("loggerSinkMq.ipc")};
  for (const std::string& file : files)
    WriteFile(file);
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kSignalProcessor, Peer::kLogSink}));
  StartMeasuring();
  ExpectCadence();
  mUnit.OpenAll();
  ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  ExpectMeasures(-20);
  ExpectLogLine("Connected to ipc");
}

TEST_F(EndpointFilesTest, DirectoryInThePlaceOfTheStatesIsReportedAndStopsTheFirstState) {
  mUnit.OpenAll();
  const std::string path = PathOf(louddesk::StatePublisherFile(1, 1));
  std::filesystem::create_directory(path);
  StartProcess();
  ExpectLine("|CRITICAL|ReactorMain|");
  ExpectLine("\"Failed to initialize HWM Pubs.\"");
  // The state is republished after five seconds at the latest.
  ExpectStopByAssertion("__null != mpLuStatePubSocket");
}

TEST_F(EndpointFilesTest, FilesThatAreRemovedAreMadeAnew) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  const std::string files[] = {louddesk::DataPublisherFile(1, 1),
                               louddesk::StatePublisherFile(1, 1)};
  for (const std::string& file : files)
    std::filesystem::remove(PathOf(file));
  for (const std::string& file : files)  // in either order: the service looks once in a while
    ExpectLine("\"Bound anew to ipc://" + PathOf(file) + ", whose file was gone\"");
  louddesk::DataClient newcomer(files[0]);
  EXPECT_TRUE(GetsData(newcomer));
  ExpectMeasures(-20);
  SendCommand("Pause");
  ExpectAcknowledgement("Pause");
}

TEST_F(EndpointFilesTest, SocketOfAnotherInTheirPlaceIsReportedOnceAndLeftAlone) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  const std::string file = louddesk::DataPublisherFile(1, 1);
  const std::string endpoint = "ipc://" + PathOf(file);
  const std::string warning =
      "\"Somebody else has taken " + endpoint + ": new clients do not come here\"";
  auto other = std::make_unique<SilentListener>(endpoint);
  ExpectLogLine(warning);
  Pass(std::chrono::seconds{2});
  EXPECT_EQ(1u, LinesOf(*mService, warning));
  louddesk::DataClient newcomer(file);
  EXPECT_FALSE(GetsData(newcomer, 5 * kPeriod)) << "the other's place was taken back";
  ExpectMeasures(-20);

  other.reset();
  std::filesystem::remove(PathOf(file));
  EXPECT_TRUE(GetsData(newcomer));
}

TEST_F(EndpointFilesTest, FileInThePlaceOfTheDirectoryIsReportedAndEndsWithStatusZero) {
  WriteFile(kDirectory);
  mUnit.OpenAll({Peer::kSignalProcessor, Peer::kLogSink});
  StartProcess();
  ExpectLine("\"Failed to make directory /run/shm/mq: Not a directory\"");
  ExpectLine("\"Failed to initialize HWM Pubs.\"");
  ExpectLine("addQVAppserverMq local optkria");
  ExpectCleanEnd(SIGTERM);
}

TEST_F(EndpointFilesTest, FileInThePlaceOfTheDirectoryStopsTheFirstMessage) {
  WriteFile(kDirectory);
  ExpectUnusableDirectory("\"Failed to make directory /run/shm/mq: Not a directory\"");
}

TEST_F(EndpointFilesTest, DirectoryThatCannotBeMadeIsReported) {
  ASSERT_NO_FATAL_FAILURE(MountReadOnly(kParent));
  ExpectUnusableDirectory("\"Failed to make directory /run/shm/mq: Read-only file system\"");
}

TEST_F(EndpointFilesTest, DirectoryThatCannotBeWrittenToIsReported) {
  std::filesystem::create_directories(kDirectory);
  ASSERT_NO_FATAL_FAILURE(MountReadOnly(kDirectory));
  ExpectUnusableDirectory("\"Failed to bind to ipc:///run/shm/mq/");
}

}  // namespace
