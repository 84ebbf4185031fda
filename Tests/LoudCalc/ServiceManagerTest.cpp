// The messages to a service manager, on real datagram sockets.

#include "ServiceManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The socket of the manager. In its name, @ stands for the zero byte.
class ManagerEnd {
 public:
  explicit ManagerEnd(std::string name) {
    setenv("NOTIFY_SOCKET", name.c_str(), 1);
    if (name[0] == '@')
      name[0] = '\0';
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    EXPECT_EQ(bind(mFd, reinterpret_cast<const sockaddr*>(&address), length), 0);
  }
  ~ManagerEnd() { close(mFd); }

  // The messages that have arrived since the last call.
  std::vector<std::string> Heard() const {
    std::vector<std::string> heard;
    char text[256];
    for (ssize_t size = 0; (size = recv(mFd, text, sizeof text, MSG_DONTWAIT)) >= 0;)
      heard.emplace_back(text, static_cast<std::size_t>(size));
    return heard;
  }

 private:
  int mFd = socket(AF_UNIX, SOCK_DGRAM, 0);
};

std::string OwnName() {
  return "@LoudCalc-test-" + std::to_string(getpid());
}

class ServiceManagerTest : public testing::Test {
 protected:
  void TearDown() override {
    for (const char* variable : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
      unsetenv(variable);
  }
};

TEST_F(ServiceManagerTest, NothingHappensWithoutOne) {
  for (const char* name : {"", "@", "relative", "x"}) {
    setenv("NOTIFY_SOCKET", name, 1);
    ServiceManager manager;
    EXPECT_FALSE(manager.IsPresent()) << name;
    manager.NotifyReady();
    manager.NotifyAlive();
    manager.NotifyStopping();
  }
  unsetenv("NOTIFY_SOCKET");
  EXPECT_FALSE(ServiceManager().IsPresent());
}

TEST_F(ServiceManagerTest, NameTooLongForASocketIsNone) {
  setenv("NOTIFY_SOCKET", ("/" + std::string(200, 'x')).c_str(), 1);
  EXPECT_FALSE(ServiceManager().IsPresent());
}

TEST_F(ServiceManagerTest, ReadyIsReportedOnceAndStoppingWhenAsked) {
  const ManagerEnd end(OwnName());
  ServiceManager manager;
  ASSERT_TRUE(manager.IsPresent());
  manager.NotifyReady();
  manager.NotifyReady();
  EXPECT_THAT(end.Heard(), ElementsAre("READY=1"));
  manager.NotifyStopping();
  EXPECT_THAT(end.Heard(), ElementsAre("STOPPING=1"));
}

TEST_F(ServiceManagerTest, ReadyIsReportedAgainToAManagerThatHadNoRoomForIt) {
  const ManagerEnd end(OwnName());
  setenv("WATCHDOG_USEC", "3000000", 1);
  ServiceManager manager;
  // More than the queue of a datagram socket holds.
  for (int i = 0; i < 100000; ++i)
    manager.NotifyAlive();
  manager.NotifyReady();
  EXPECT_THAT(end.Heard(), testing::Each("WATCHDOG=1"));
  manager.NotifyReady();
  manager.NotifyReady();
  EXPECT_THAT(end.Heard(), ElementsAre("READY=1"));
}

TEST_F(ServiceManagerTest, PathIsAnAddressToo) {
  const std::string path = "/tmp/LoudCalc-test-" + std::to_string(getpid());
  const ManagerEnd end(path);
  ServiceManager().NotifyReady();
  EXPECT_THAT(end.Heard(), ElementsAre("READY=1"));
  unlink(path.c_str());
}

TEST_F(ServiceManagerTest, SignsOfLifeComeOnlyWhereTheyAreWanted) {
  const ManagerEnd end(OwnName());
  const std::string own = std::to_string(getpid());
  struct Case {
    const char* period;   // null: not set
    std::string process;  // empty: not set
    std::size_t signs;
  };
  for (const Case& item : {Case{nullptr, "", 0}, Case{"3000000", "", 2}, Case{"3000000", own, 2},
                           Case{"3000000", "1", 0}, Case{"0", own, 0}, Case{"soon", own, 0}}) {
    setenv("NOTIFY_SOCKET", OwnName().c_str(), 1);
    if (item.period != nullptr)
      setenv("WATCHDOG_USEC", item.period, 1);
    if (!item.process.empty())
      setenv("WATCHDOG_PID", item.process.c_str(), 1);
    ServiceManager manager;
    manager.NotifyAlive();
    manager.NotifyAlive();
    EXPECT_THAT(end.Heard(), testing::SizeIs(item.signs))
        << (item.period != nullptr ? item.period : "no period") << " " << item.process;
  }
}

TEST_F(ServiceManagerTest, SignOfLifeIsTheManagersWord) {
  const ManagerEnd end(OwnName());
  setenv("WATCHDOG_USEC", "1000000", 1);
  ServiceManager().NotifyAlive();
  EXPECT_THAT(end.Heard(), ElementsAre("WATCHDOG=1"));
}

TEST_F(ServiceManagerTest, VariablesAreNotPassedOn) {
  const ManagerEnd end(OwnName());
  setenv("WATCHDOG_USEC", "1000000", 1);
  const ServiceManager manager;
  for (const char* variable : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"})
    EXPECT_EQ(std::getenv(variable), nullptr) << variable;
}

TEST_F(ServiceManagerTest, ManagerThatDoesNotListenHoldsUpNothing) {
  const ManagerEnd end(OwnName());
  setenv("WATCHDOG_USEC", "1000000", 1);
  ServiceManager manager;
  for (int sign = 0; sign < 100000; ++sign)
    manager.NotifyAlive();
  EXPECT_GE(end.Heard().size(), 1u);
}

TEST_F(ServiceManagerTest, ManagerThatIsGoneIsNoMatter) {
  { const ManagerEnd end(OwnName()); }
  ServiceManager manager;
  EXPECT_TRUE(manager.IsPresent());
  manager.NotifyReady();
}

}  // namespace
