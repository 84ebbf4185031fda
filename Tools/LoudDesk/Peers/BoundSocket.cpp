// Binds the unit's endpoints. Its errors help the user to find the cause.

#include "BoundSocket.h"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "BoardAddresses.h"
#include "MqNames.h"

namespace louddesk {
namespace {

constexpr mode_t kIpcDirectoryMode = 0777;
constexpr int kCloseTimeoutMs = 2000;

constexpr char kSubscribed = '\1';  // first byte of a subscription, followed by the topic

[[noreturn]] void Refuse(const Endpoint& endpoint, const std::string& reason) {
  throw BindError("cannot bind " + endpoint.Text() + ": " + reason);
}

void MakeIpcDirectory(const Endpoint& endpoint) {
  std::error_code ignored;
  const std::filesystem::path parent = std::filesystem::path(kIpcDirectory).parent_path();
  if (!std::filesystem::is_directory(parent, ignored))
    Refuse(endpoint, parent.string() + " is missing; link it to /dev/shm or mount a tmpfs there");
  if (mkdir(kIpcDirectory, kIpcDirectoryMode) == 0)
    // Independent of the umask: other processes of the unit use the directory.
    chmod(kIpcDirectory, kIpcDirectoryMode);
  else if (errno != EEXIST)
    Refuse(endpoint, std::string("cannot make the directory: ") + std::strerror(errno));
}

// Whether a process listens on the socket file. A full backlog counts as well.
bool IsInUse(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const auto* const generic = reinterpret_cast<const sockaddr*>(&address);
  const bool isInUse = connect(probe, generic, sizeof address) == 0 || errno == EAGAIN;
  close(probe);
  return isInUse;
}

// Without this check ZeroMQ would silently take the file from the process that listens on it.
void RefuseFileInUse(const Endpoint& endpoint) {
  const std::string path = std::string(kIpcDirectory) + "/" + endpoint.file;
  if (IsInUse(path))
    Refuse(endpoint, "is in use; ss -lxp src " + path + " shows by whom");
}

std::string ReasonOfFailure(const Endpoint& endpoint, int error) {
  // Each board has its own application server, at the same port.
  if (error == EADDRINUSE && std::strcmp(MainBoardAddress(), OpticalBoardAddress()) == 0)
    return fmt::format("{} and {} must differ", kMainBoardVariable, kOpticalBoardVariable);
  if (error == EADDRINUSE)
    return fmt::format("the port is in use; ss -lptn 'sport = :{}' shows by whom", endpoint.port);
  if (error == EADDRNOTAVAIL || error == ENODEV)
    return fmt::format(
        "this machine does not have that address; set {} and {} for the service and here, for "
        "example to 127.0.0.1 and 127.0.0.2",
        kMainBoardVariable, kOpticalBoardVariable);
  return zmq_strerror(error);
}

}  // namespace

Endpoint Endpoint::Ipc(std::string file) {
  return Endpoint{"", 0, std::move(file)};
}

Endpoint Endpoint::Tcp(std::string address, unsigned port) {
  return Endpoint{std::move(address), port, ""};
}

std::string Endpoint::Text() const {
  if (IsIpc())
    return std::string("ipc://") + kIpcDirectory + "/" + file;
  return "tcp://" + address + ":" + std::to_string(port);
}

BoundSocket::BoundSocket(int type, Endpoint endpoint)
    : mType(type), mEndpoint(std::move(endpoint)) {}

BoundSocket::~BoundSocket() {
  BoundSocket::Close();
}

void BoundSocket::Open() {
  if (IsOpen())
    return;
  if (mEndpoint.IsIpc()) {
    MakeIpcDirectory(mEndpoint);
    RefuseFileInUse(mEndpoint);
  }
  zsock_t* socket = zsock_new(mType);
  zsock_set_sndhwm(socket, 0);
  zsock_set_rcvhwm(socket, 0);
  if (zsock_bind(socket, "%s", mEndpoint.Text().c_str()) == -1) {
    const int error = zmq_errno();
    zsock_destroy(&socket);
    Refuse(mEndpoint, ReasonOfFailure(mEndpoint, error));
  }
  mSocket = socket;
  mMonitor = StartMonitor(mSocket, ZMQ_EVENT_CLOSED | ZMQ_EVENT_CLOSE_FAILED);
}

void BoundSocket::Close() {
  if (!IsOpen())
    return;
  WaitUntilFree();
  StopMonitor(mSocket, mMonitor);
  zsock_destroy(&mSocket);
}

// ZeroMQ closes listeners in the background. Until then the endpoint is in use.
void BoundSocket::WaitUntilFree() {
  zsock_set_rcvtimeo(mMonitor, kCloseTimeoutMs);
  if (zsock_unbind(mSocket, "%s", mEndpoint.Text().c_str()) == 0) {
    zmsg_t* closed = zmsg_recv(mMonitor);
    zmsg_destroy(&closed);
  }
}

void PublisherPeer::Close() {
  BoundSocket::Close();
  mSubscriptions.clear();
}

void PublisherPeer::ReadPending() {
  for (Frames frames = ReceiveFrames(Socket()); !frames.empty(); frames = ReceiveFrames(Socket())) {
    const std::string& frame = frames.front();
    if (frame.empty())
      continue;
    if (frame.front() == kSubscribed)
      mSubscriptions.insert(frame.substr(1));
    else
      mSubscriptions.erase(frame.substr(1));
  }
}

void CollectorPeer::ReadPending() {
  for (Frames frames = ReceiveFrames(Socket()); !frames.empty(); frames = ReceiveFrames(Socket()))
    mMessages.push_back(std::move(frames));
}

}  // namespace louddesk
