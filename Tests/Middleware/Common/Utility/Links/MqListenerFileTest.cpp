// Files of bound sockets that are removed or replaced.

#include "MqListenerFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>

#include "MqTestKit.h"

namespace {

namespace fs = std::filesystem;

using mqtest::Frames;
using mqtest::Subscriber;

constexpr char kName[] = "mqListenerFileTest/listener.ipc";

// A publisher in its own directory, and a client that connected before.
class MqListenerFileTest : public testing::Test {
 protected:
  MqListenerFileTest() {
    fs::create_directories(path_.parent_path());
    socket_ = Bind();
    file_.Watch(socket_);
    client_ = std::make_unique<Subscriber>(socket_, endpoint_);
    EXPECT_TRUE(client_->IsConnected());
  }

  ~MqListenerFileTest() override {
    client_.reset();
    file_.Unwatch();
    zsock_destroy(&socket_);
    fs::remove_all(path_.parent_path());
  }

  zsock_t* Bind() {
    zsock_t* socket = zsock_new(ZMQ_PUB);
    EXPECT_NE(-1, zsock_bind(socket, "%s", endpoint_.c_str()));
    return socket;
  }

  // The result of the second check of a missing file.
  MqFileNews SecondCheck() {
    EXPECT_EQ(MqFileNews::kNone, file_.Tend());
    return file_.Tend();
  }

  bool IsServed(Subscriber& client) {
    mqtest::Send(socket_, {"Topic"});
    return client.Next() == Frames{"Topic"};
  }

  bool IsNewClientServed() {
    Subscriber client(socket_, endpoint_);
    return client.IsConnected();
  }

  const std::string endpoint_ = mqtest::IpcEndpoint(kName);
  const fs::path path_ = endpoint_.substr(sizeof "ipc://" - 1);
  MqListenerFile file_;
  zsock_t* socket_ = nullptr;
  std::unique_ptr<Subscriber> client_;
};

TEST_F(MqListenerFileTest, OwnFileIsNoNews) {
  for (int look = 0; look < 3; ++look)
    EXPECT_EQ(MqFileNews::kNone, file_.Tend());
  EXPECT_TRUE(IsServed(*client_));
}

TEST_F(MqListenerFileTest, NothingIsWatchedBeforeAndAfter) {
  MqListenerFile none;
  EXPECT_EQ(MqFileNews::kNone, none.Tend());
  file_.Unwatch();
  fs::remove(path_);
  EXPECT_EQ(MqFileNews::kNone, SecondCheck());
  EXPECT_FALSE(fs::exists(path_));
}

TEST_F(MqListenerFileTest, FileThatIsGoneIsBoundAnewAndEveryClientServed) {
  fs::remove(path_);
  EXPECT_EQ(MqFileNews::kBoundAnew, SecondCheck());
  EXPECT_TRUE(fs::is_socket(path_));
  EXPECT_TRUE(IsServed(*client_));
  EXPECT_TRUE(IsNewClientServed());
  EXPECT_EQ(MqFileNews::kNone, file_.Tend());

  fs::remove(path_);
  EXPECT_EQ(MqFileNews::kBoundAnew, SecondCheck());
}

TEST_F(MqListenerFileTest, FileThatIsGoneIsLeftToTheProcessThatTakesItsPlace) {
  fs::remove(path_);
  EXPECT_EQ(MqFileNews::kNone, file_.Tend());
  zsock_t* other = Bind();
  EXPECT_EQ(MqFileNews::kTaken, file_.Tend());
  zsock_destroy(&other);
}

TEST_F(MqListenerFileTest, FileOfAnotherIsReportedOnceAndNotFoughtFor) {
  zsock_t* other = Bind();
  EXPECT_EQ(MqFileNews::kTaken, file_.Tend());
  for (int look = 0; look < 3; ++look)
    EXPECT_EQ(MqFileNews::kNone, file_.Tend());
  Subscriber newcomer(other, endpoint_);
  EXPECT_TRUE(newcomer.IsConnected());
  EXPECT_TRUE(IsServed(*client_));

  zsock_destroy(&other);
  EXPECT_EQ(MqFileNews::kNone, file_.Tend()) << "the file that it made before is still its own";
  fs::remove(path_);
  EXPECT_EQ(MqFileNews::kBoundAnew, SecondCheck());
  EXPECT_TRUE(IsNewClientServed());
  EXPECT_EQ(MqFileNews::kNone, file_.Tend());
  fs::remove(path_);
  fs::create_directory(path_);
  EXPECT_EQ(MqFileNews::kTaken, file_.Tend()) << "the next time is reported again";
}

TEST_F(MqListenerFileTest, FileThatCannotBeReplacedIsReportedOnceAndTriedAgain) {
  fs::remove_all(path_.parent_path());
  EXPECT_EQ(MqFileNews::kNotReplaced, SecondCheck());
  EXPECT_EQ(ENOENT, errno);
  for (int look = 0; look < 3; ++look)
    EXPECT_EQ(MqFileNews::kNone, file_.Tend());
  EXPECT_TRUE(IsServed(*client_));
  fs::create_directory(path_.parent_path());
  EXPECT_EQ(MqFileNews::kBoundAnew, file_.Tend());
  EXPECT_TRUE(IsNewClientServed());
}

TEST_F(MqListenerFileTest, ListenersDoNotPileUp) {
  const auto openFiles = [] {
    const fs::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  const auto before = openFiles();
  for (int time = 0; time < 10 * MqListenerFile::kMostListeners; ++time) {
    fs::remove(path_);
    ASSERT_EQ(MqFileNews::kBoundAnew, SecondCheck());
    ASSERT_EQ(MqFileNews::kNone, file_.Tend());
  }
  // The library closes the old listeners in the background, and the client connects to the new
  // file.
  for (int waited = 0; openFiles() > before + MqListenerFile::kMostListeners; waited += 10) {
    ASSERT_LT(waited, mqtest::kDeadlineMs) << openFiles() - before << " files more";
    zclock_sleep(10);
  }
  EXPECT_TRUE(IsNewClientServed());
  for (int waited = 0; !mqtest::HasMessage(client_->Socket()); waited += 10) {
    ASSERT_LT(waited, mqtest::kDeadlineMs) << "the first client was lost";
    mqtest::Send(socket_, {"Topic"});
    zclock_sleep(10);
  }
}

}  // namespace
