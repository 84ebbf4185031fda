// Isolation of test processes. Runs before any thread and any socket exists.

#include "Isolation.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <arpa/inet.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr char kMainBoardVariable[] = "LOUDCALC_MAIN_BOARD_ADDRESS";
constexpr char kOpticalBoardVariable[] = "LOUDCALC_OPTICAL_BOARD_ADDRESS";

constexpr char kLockFile[] = "/tmp/loudcalc-tests.lock";
constexpr char kLockHeldVariable[] = "LOUDCALC_TEST_LOCK_HELD";

constexpr char kSharedMemoryParent[] = "/run";
constexpr char kSharedMemory[] = "/run/shm";
constexpr char kTmpfsOptions[] = "mode=1777";

bool gHasOwnNamespaces = false;

bool WriteFile(const char* path, const std::string& text) {
  const int file = open(path, O_WRONLY | O_CLOEXEC);
  if (file < 0)
    return false;
  const bool written = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(file);
  return written;
}

// For a process without privileges: a user namespace grants those that the other namespaces need.
bool EnterUserNamespace() {
  const std::string uid = "0 " + std::to_string(geteuid()) + " 1";
  const std::string gid = "0 " + std::to_string(getegid()) + " 1";
  return unshare(CLONE_NEWUSER) == 0 && WriteFile("/proc/self/setgroups", "deny") &&
         WriteFile("/proc/self/uid_map", uid) && WriteFile("/proc/self/gid_map", gid);
}

bool MountTmpfs(const char* path) {
  return mount("tmpfs", path, "tmpfs", MS_NOSUID | MS_NODEV, kTmpfsOptions) == 0;
}

// The directory may be a symbolic link, which mount follows, or may not exist.
bool MountSharedMemory() {
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    return false;
  if (MountTmpfs(kSharedMemory))
    return true;
  if (errno != ENOENT || !MountTmpfs(kSharedMemoryParent))
    return false;
  return mkdir(kSharedMemory, 01777) == 0;
}

sockaddr Ipv4(const char* text) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  inet_pton(AF_INET, text, &address.sin_addr);
  sockaddr result{};
  static_assert(sizeof(result) == sizeof(address));
  std::memcpy(&result, &address, sizeof(result));
  return result;
}

ifreq RequestFor(const char* label) {
  ifreq request{};
  std::snprintf(request.ifr_name, sizeof(request.ifr_name), "%s", label);
  return request;
}

bool RaiseLoopback(int socket) {
  ifreq request = RequestFor("lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  return ioctl(socket, SIOCSIFFLAGS, &request) == 0;
}

bool AddLoopbackAddress(int socket, const char* label, const char* address) {
  ifreq request = RequestFor(label);
  request.ifr_addr = Ipv4(address);
  ifreq netmask = RequestFor(label);
  netmask.ifr_netmask = Ipv4("255.255.255.255");
  return ioctl(socket, SIOCSIFADDR, &request) == 0 && ioctl(socket, SIOCSIFNETMASK, &netmask) == 0;
}

bool ConfigureLoopback() {
  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socket < 0)
    return false;
  const bool configured = RaiseLoopback(socket) &&
                          AddLoopbackAddress(socket, "lo:1", LOUDCALC_MAIN_BOARD_ADDRESS) &&
                          AddLoopbackAddress(socket, "lo:2", LOUDCALC_OPTICAL_BOARD_ADDRESS);
  close(socket);
  return configured;
}

// The step that failed, or nullptr.
const char* EnterNamespaces() {
  if (geteuid() != 0 && !EnterUserNamespace())
    return "user namespace";
  if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0)
    return "network and mount namespaces";
  if (!MountSharedMemory())
    return "mount of the shared-memory directory";
  if (!ConfigureLoopback())
    return "addresses of the loopback device";
  return nullptr;
}

// Tries in a child process: a failure halfway must not leave this process without a network.
bool NamespacesAreAllowed() {
  const pid_t child = fork();
  if (child < 0)
    return false;
  if (child == 0) {
    const char* failedStep = EnterNamespaces();
    if (failedStep != nullptr)
      std::fprintf(stderr, "Isolation: no %s: %s.\n", failedStep, std::strerror(errno));
    _exit(failedStep == nullptr ? 0 : 1);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int OpenLockFile() {
  const int existing = open(kLockFile, O_RDONLY | O_CLOEXEC);
  if (existing >= 0)
    return existing;
  const int created = open(kLockFile, O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
  return created >= 0 ? created : open(kLockFile, O_RDONLY | O_CLOEXEC);
}

// The lock is not released explicitly; it ends with the process.
void WaitForOtherTests() {
  const int lock = OpenLockFile();
  int result = -1;
  do {
    result = flock(lock, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  if (result == 0)
    return;
  std::fprintf(stderr, "Isolation: cannot lock %s: %s.\n", kLockFile, std::strerror(errno));
  std::exit(1);
}

void RunWithoutNamespaces() {
  // In the child process of a death test, the waiting parent holds the lock and the ports.
  const bool childOfHolder = std::getenv(kLockHeldVariable) != nullptr;
  if (!childOfHolder)
    WaitForOtherTests();
  setenv(kLockHeldVariable, "1", 1);
  const char* mainBoard = childOfHolder ? "127.0.1.1" : "127.0.0.1";
  const char* opticalBoard = childOfHolder ? "127.0.1.2" : "127.0.0.2";
  setenv(kMainBoardVariable, mainBoard, 1);
  setenv(kOpticalBoardVariable, opticalBoard, 1);
  std::fprintf(stderr, "Isolation: no namespaces; tests run one at a time, boards at %s and %s.\n",
               mainBoard, opticalBoard);
}

bool NamespacesAreForbidden() {
  const char* value = std::getenv(kNoNamespacesVariable);
  return value != nullptr && std::strcmp(value, "1") == 0;
}

}  // namespace

void IsolateTestProcess() {
  if (GTEST_FLAG_GET(list_tests))
    return;
  if (NamespacesAreForbidden() || !NamespacesAreAllowed()) {
    RunWithoutNamespaces();
    return;
  }
  if (const char* failedStep = EnterNamespaces()) {
    std::fprintf(stderr, "Isolation: no %s: %s.\n", failedStep, std::strerror(errno));
    std::exit(1);
  }
  unsetenv(kMainBoardVariable);
  unsetenv(kOpticalBoardVariable);
  gHasOwnNamespaces = true;
}

bool HasOwnNamespaces() {
  return gHasOwnNamespaces;
}
