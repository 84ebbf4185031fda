// The notifications that a service manager receives from the shipped service.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstring>

#include "RunningService.h"

namespace {

using testing::Contains;
using testing::ElementsAre;

constexpr char kReady[] = "READY=1";
constexpr char kAlive[] = "WATCHDOG=1";
constexpr char kStopping[] = "STOPPING=1";

// A service manager's end of the notifications.
class NotificationTest : public RunningService {
 protected:
  NotificationTest() : mFd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const std::string name = std::string(1, '\0') + mName;
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    EXPECT_EQ(bind(mFd, reinterpret_cast<const sockaddr*>(&address), length), 0);
  }
  ~NotificationTest() override { close(mFd); }

  ServiceStart Managed(bool wantsLife) const {
    ServiceStart start;
    start.environment["NOTIFY_SOCKET"] = "@" + mName;
    if (wantsLife)
      start.environment["WATCHDOG_USEC"] = "3000000";
    return start;
  }

  // The next notification; "nothing" if none arrives in time.
  std::string NextWord(std::chrono::milliseconds patience = kPatience) const {
    const timeval time = {patience.count() / 1000, patience.count() % 1000 * 1000 + 1};
    setsockopt(mFd, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    char text[256];
    const ssize_t size = recv(mFd, text, sizeof text, 0);
    return size >= 0 ? std::string(text, static_cast<std::size_t>(size)) : "nothing";
  }

  std::vector<std::string> WordsSoFar() const {
    std::vector<std::string> words;
    while (words.empty() || words.back() != "nothing")
      words.push_back(NextWord(std::chrono::milliseconds{0}));
    words.pop_back();
    return words;
  }

 private:
  std::string mName = "LoudCalc-notification-test-" + std::to_string(getpid());
  int mFd;
};

TEST_F(NotificationTest, ManagerHearsThatTheServiceRunsAndThatItEnds) {
  ASSERT_NO_FATAL_FAILURE(Start({}, Managed(false)));
  EXPECT_EQ(NextWord(), kReady);
  ExpectCleanEnd(SIGTERM);
  EXPECT_THAT(WordsSoFar(), ElementsAre(kStopping));
}

TEST_F(NotificationTest, LoopGivesSignsOfLifeSeveralTimesInTheManagersPeriod) {
  ASSERT_NO_FATAL_FAILURE(Start({}, Managed(true)));
  EXPECT_EQ(NextWord(), kReady);
  const auto begin = std::chrono::steady_clock::now();
  for (int sign = 0; sign < 4; ++sign)
    EXPECT_EQ(NextWord(), kAlive);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  RecordProperty("signs_of_life_s", std::to_string(time.count()));
  EXPECT_LT(time.count(), 3.0);
}

TEST_F(NotificationTest, LoopThatHangsGivesNoSignOfLife) {
  ASSERT_NO_FATAL_FAILURE(Start({}, Managed(true)));
  EXPECT_EQ(NextWord(), kReady);
  EXPECT_EQ(NextWord(), kAlive);
  ASSERT_NO_FATAL_FAILURE(Suspend(*mService));
  WordsSoFar();
  EXPECT_EQ(NextWord(std::chrono::milliseconds{1000}), "nothing");
  mService->Signal(SIGCONT);
  EXPECT_EQ(NextWord(), kAlive);
}

TEST_F(NotificationTest, ServiceWithoutAManagerTellsNobody) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  ExpectMeasures(-23);
  EXPECT_THAT(WordsSoFar(), testing::IsEmpty());
}

TEST_F(NotificationTest, ServiceOfAManagerThatIsGoneMeasures) {
  ServiceStart start = Managed(true);
  start.environment["NOTIFY_SOCKET"] = "@nobody-listens-here";
  ASSERT_NO_FATAL_FAILURE(Start({}, start));
  StartMeasuring();
  ExpectMeasures(-23);
}

}  // namespace
