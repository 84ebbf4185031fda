// Finds and follows the clusters of a directory, with real sockets in place of services.

#include "ClusterBoard.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "GoldenMessage.h"

namespace {

using louddesk::ServiceState;
using loudgate::Cluster;
using loudgate::ClusterBoard;
using loudgate::EventLoop;
using loudgate::Moment;
using std::chrono::milliseconds;

// The two publishers of a service.
class Publishers {
 public:
  Publishers(const std::string& directory, unsigned meterSet, unsigned cluster)
      : mData(zsock_new(ZMQ_PUB)), mState(zsock_new(ZMQ_PUB)) {
    Bind(mData, directory + "/" + louddesk::DataPublisherFile(meterSet, cluster));
    Bind(mState, directory + "/" + louddesk::StatePublisherFile(meterSet, cluster));
  }
  ~Publishers() {
    zsock_destroy(&mData);
    zsock_destroy(&mState);
  }
  Publishers(const Publishers&) = delete;
  Publishers& operator=(const Publishers&) = delete;

  void SendData(const louddesk::Frames& frames) { louddesk::SendFrames(mData, frames); }
  void SendState(const louddesk::Frames& frames) { louddesk::SendFrames(mState, frames); }

 private:
  static void Bind(zsock_t* socket, const std::string& path) {
    EXPECT_EQ(0, zsock_bind(socket, "ipc://%s", path.c_str())) << path;
  }

  zsock_t* mData;
  zsock_t* mState;
};

// Records what a listener receives, one entry per message.
class Heard : public loudgate::ClusterListener {
 public:
  void OnData(const Cluster& cluster, const louddesk::LoudnessMessage& message, Moment) override {
    EXPECT_EQ(message.data.Momentary, cluster.Last()->data.Momentary);
    words.push_back("data " + cluster.Name());
  }
  void OnAnswer(const Cluster& cluster, const louddesk::ServiceAnswer& answer, Moment) override {
    words.push_back(answer.command + " " + cluster.Name());
  }

  std::vector<std::string> words;
};

class ClusterBoardTest : public testing::Test {
 protected:
  ClusterBoardTest() {
    char name[] = "/tmp/cluster-board-XXXXXX";
    mDirectory = mkdtemp(name);
    zsys_handler_set(nullptr);
    mBoard = std::make_unique<ClusterBoard>(
        mLoop, mDirectory, [this](const std::string& line) { mReports.push_back(line); });
    mBoard->AddListener(mHeard);
  }
  ~ClusterBoardTest() override {
    mBoard.reset();
    std::filesystem::remove_all(mDirectory);
  }

  std::string Names() const {
    std::string names;
    for (const Cluster* cluster : mBoard->Clusters(Moment::Now()))
      names += (names.empty() ? "" : " ") + cluster->Name();
    return names;
  }

  const Cluster* Find(const std::string& name) const { return mBoard->Find(name, Moment::Now()); }

  // Whether the condition becomes true while the loop runs. The time limit allows for a busy
  // machine.
  template <typename Condition>
  bool Becomes(Condition condition, milliseconds patience = milliseconds(20000)) {
    bool isTrue = false;
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!(isTrue = condition()) && std::chrono::steady_clock::now() < end)
      RunFor(milliseconds(20));
    return isTrue;
  }

  void RunFor(milliseconds time) {
    mLoop.After(time, [this] { mLoop.End(); });
    mLoop.Run();
    mBoard->Tend(Moment::Now());
  }

  std::string mDirectory;
  EventLoop mLoop;
  std::vector<std::string> mReports;
  Heard mHeard;
  std::unique_ptr<ClusterBoard> mBoard;
};

TEST_F(ClusterBoardTest, FindsServicesThatStartLater) {
  EXPECT_EQ("", Names());
  const Publishers second(mDirectory, 1, 2);
  EXPECT_TRUE(Becomes([this] { return Names() == "1-2"; }));
  const Publishers first(mDirectory, 1, 1);
  EXPECT_TRUE(Becomes([this] { return Names() == "1-1 1-2"; }));
  EXPECT_EQ(nullptr, Find("1-3"));
}

TEST_F(ClusterBoardTest, TellsItsListenersOfEveryMessage) {
  Publishers service(mDirectory, 1, 1);
  ASSERT_TRUE(Becomes([this] { return Names() == "1-1"; }));
  EXPECT_TRUE(Becomes([&] {
    service.SendData(golden::ReadMessage("loudness-data.frames"));
    return !mHeard.words.empty();
  }));
  EXPECT_EQ("data 1-1", mHeard.words.front());
  mHeard.words.clear();
  service.SendState(golden::ReadMessage("acknowledgement-start.frames"));
  EXPECT_TRUE(Becomes([&] { return !mHeard.words.empty() && mHeard.words.back() == "Start 1-1"; }));
  EXPECT_EQ(ServiceState::kRunning, Find("1-1")->Model().State(Moment::Now().steady));
}

TEST_F(ClusterBoardTest, KeepsAClusterWhoseServiceIsGoneAndCountsItsRestart) {
  auto service = std::make_unique<Publishers>(mDirectory, 1, 1);
  ASSERT_TRUE(Becomes([&] {
    service->SendData(golden::ReadMessage("loudness-data.frames"));
    return Find("1-1") != nullptr && Find("1-1")->Counts().messages > 0;
  }));
  service.reset();
  EXPECT_TRUE(Becomes(
      [this] { return Find("1-1")->Model().State(Moment::Now().steady) == ServiceState::kDead; }));
  EXPECT_EQ(0u, Find("1-1")->Counts().restarts);
  service = std::make_unique<Publishers>(mDirectory, 1, 1);
  EXPECT_TRUE(Becomes([this] { return Find("1-1")->Counts().restarts == 1; }));
  const auto before = Find("1-1")->Counts().messages;
  EXPECT_TRUE(Becomes([&] {
    service->SendData(golden::ReadMessage("loudness-data.frames"));
    return Find("1-1")->Counts().messages > before;
  }));
}

// The library gives up such a connection for good.
TEST_F(ClusterBoardTest, ConnectsAgainToAServiceThatHasSentTooLargeAMessage) {
  Publishers service(mDirectory, 1, 1);
  ASSERT_TRUE(Becomes([&] {
    service.SendData(golden::ReadMessage("loudness-data.frames"));
    return Find("1-1") != nullptr && Find("1-1")->Counts().messages > 0;
  }));
  service.SendData({"LoudnessData", std::string(20000, 'x')});
  EXPECT_TRUE(Becomes(
      [this] { return Find("1-1")->Model().State(Moment::Now().steady) == ServiceState::kDead; }));
  const auto before = Find("1-1")->Counts().messages;
  EXPECT_TRUE(Becomes([&] {
    service.SendData(golden::ReadMessage("loudness-data.frames"));
    return Find("1-1")->Counts().messages > before;
  }));
}

TEST_F(ClusterBoardTest, WatchesABoundedNumberOfClusters) {
  for (unsigned meterSet = 1; meterSet <= loudgate::kMostClusters + 5; ++meterSet)
    std::ofstream(mDirectory + "/" + louddesk::DataPublisherFile(meterSet, 1));
  RunFor(milliseconds(20));
  RunFor(milliseconds(20));
  ASSERT_EQ(1u, mReports.size());
  EXPECT_NE(std::string::npos, mReports.front().find("more than 64 publishers"));
  EXPECT_EQ("", Names());

  // Clusters whose files are gone make room for a service.
  for (unsigned meterSet = 1; meterSet <= loudgate::kMostClusters + 5; ++meterSet)
    std::filesystem::remove(mDirectory + "/" + louddesk::DataPublisherFile(meterSet, 1));
  const Publishers service(mDirectory, 9999, 8);
  EXPECT_TRUE(Becomes([this] { return Names() == "9999-8"; }));
}

}  // namespace
