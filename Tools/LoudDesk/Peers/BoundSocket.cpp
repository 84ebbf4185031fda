// Binding of the unit's endpoints, with explanations fit for the person at the desk.

#include "BoundSocket.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "BoardAddresses.h"
#include "EndpointHolder.h"
#include "MqNames.h"
#include "SocketMonitor.h"

namespace louddesk {

namespace {

constexpr mode_t kIpcDirectoryMode = 0777;
constexpr int kCloseTimeoutMs = 2000;

[[noreturn]] void Refuse(const Endpoint& endpoint, const std::string& reason) {
  throw BindError("cannot bind " + endpoint.Text() + ": " + reason);
}

void MakeIpcDirectory(const Endpoint& endpoint) {
  std::error_code ignored;
  const std::filesystem::path parent = std::filesystem::path(kIpcDirectory).parent_path();
  if (!std::filesystem::is_directory(parent, ignored))
    Refuse(endpoint, parent.string() + " is missing; link it to /dev/shm or mount a tmpfs there");
  if (mkdir(kIpcDirectory, kIpcDirectoryMode) == 0)
    chmod(kIpcDirectory, kIpcDirectoryMode);  // whatever the umask: others of the unit share it
  else if (errno != EEXIST)
    Refuse(endpoint, std::string("cannot make the directory: ") + std::strerror(errno));
}

// ZeroMQ would silently take the file over from its holder.
void RefuseHeldFile(const Endpoint& endpoint) {
  const std::string holder = HolderOfFile(std::string(kIpcDirectory) + "/" + endpoint.file);
  if (!holder.empty())
    Refuse(endpoint, "held by " + holder);
}

std::string ReasonOfFailure(const Endpoint& endpoint, int error) {
  if (error == EADDRINUSE && !endpoint.IsIpc()) {
    const std::string holder = HolderOfTcpPort(endpoint.address, endpoint.port);
    // Both boards have an application server of their own, behind the same port.
    if (holder == ThisHolder() && std::strcmp(MainBoardAddress(), OpticalBoardAddress()) == 0)
      return std::string("it is the other board's, too; ") + kMainBoardVariable + " and " +
             kOpticalBoardVariable + " must differ";
    return holder.empty() ? std::string("the port is in use") : "held by " + holder;
  }
  if (error == EADDRNOTAVAIL || error == ENODEV)
    return std::string("this machine does not have that address; set ") + kMainBoardVariable +
           " and " + kOpticalBoardVariable + " for the service and here, for example to " +
           "127.0.0.1 and 127.0.0.2";
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
  Close();
}

void BoundSocket::Open() {
  if (IsOpen())
    return;
  if (mEndpoint.IsIpc()) {
    MakeIpcDirectory(mEndpoint);
    RefuseHeldFile(mEndpoint);
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

// ZeroMQ closes listeners in the background; a bind in between would find the place taken.
void BoundSocket::WaitUntilFree() {
  zsock_set_rcvtimeo(mMonitor, kCloseTimeoutMs);
  if (zsock_unbind(mSocket, "%s", mEndpoint.Text().c_str()) == 0) {
    zmsg_t* closed = zmsg_recv(mMonitor);
    zmsg_destroy(&closed);
  }
}

}  // namespace louddesk
