// Notifications to the service manager. Reactor thread only. Every call returns at once, even if
// the manager does not read.

#include "ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kSocketVariable[] = "NOTIFY_SOCKET";
constexpr char kPeriodVariable[] = "WATCHDOG_USEC";
constexpr char kProcessVariable[] = "WATCHDOG_PID";

constexpr char kReady[] = "READY=1";
constexpr char kStopping[] = "STOPPING=1";
constexpr char kAlive[] = "WATCHDOG=1";

// A path, or an abstract name, in which a leading @ stands for a zero byte. Empty for anything
// else.
std::string SocketNameFrom(const char* value) {
  std::string name = value != nullptr ? value : "";
  if (name.size() < 2 || name.size() >= sizeof sockaddr_un::sun_path ||
      (name[0] != '/' && name[0] != '@'))
    return {};
  if (name[0] == '@')
    name[0] = '\0';
  return name;
}

// The variables may be inherited and meant for another process.
bool IsKeepAliveWanted() {
  const char* period = std::getenv(kPeriodVariable);
  const char* process = std::getenv(kProcessVariable);
  return period != nullptr && std::strtoull(period, nullptr, 10) > 0 &&
         (process == nullptr || std::strtol(process, nullptr, 10) == getpid());
}

}  // namespace

ServiceManager::ServiceManager()
    : mAddress(SocketNameFrom(std::getenv(kSocketVariable))), mWantsKeepAlive(IsKeepAliveWanted()) {
  if (!mAddress.empty())
    mFd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  for (const char* variable : {kSocketVariable, kPeriodVariable, kProcessVariable})
    unsetenv(variable);
}

ServiceManager::~ServiceManager() {
  if (mFd != -1)
    close(mFd);
}

void ServiceManager::NotifyReady() {
  mIsReadySent = mIsReadySent || Send(kReady);
}

void ServiceManager::NotifyStopping() {
  Send(kStopping);
}

void ServiceManager::NotifyAlive() {
  if (mWantsKeepAlive)
    Send(kAlive);
}

bool ServiceManager::Send(const char* state) const {
  if (mFd == -1)
    return false;
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, mAddress.data(), mAddress.size());
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + mAddress.size());
  return sendto(mFd, state, std::strlen(state), MSG_DONTWAIT | MSG_NOSIGNAL,
                reinterpret_cast<const sockaddr*>(&address), length) != -1;
}
