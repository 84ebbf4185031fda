// Listeners without a reader.

#include "SilentListener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace {

constexpr char kIpc[] = "ipc://";
constexpr char kTcp[] = "tcp://";
constexpr int kBacklog = 64;

void Check(int rc, const std::string& endpoint) {
  if (rc == -1)
    throw std::system_error(errno, std::generic_category(), endpoint);
}

int ListenAtFile(const std::string& path, const std::string& endpoint) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  unlink(address.sun_path);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  Check(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), endpoint);
  return listener;
}

int ListenAtPort(const std::string& host, unsigned port, const std::string& endpoint) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  inet_pton(AF_INET, host.c_str(), &address.sin_addr);
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int reuse = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
  Check(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), endpoint);
  return listener;
}

}  // namespace

SilentListener::SilentListener(const std::string& endpoint) {
  const std::string place = endpoint.substr(sizeof kTcp - 1);  // both prefixes have this length
  if (endpoint.rfind(kIpc, 0) == 0) {
    mSocket = ListenAtFile(place, endpoint);
  } else {
    const std::size_t colon = place.rfind(':');
    mSocket = ListenAtPort(place.substr(0, colon),
                           static_cast<unsigned>(std::stoul(place.substr(colon + 1))), endpoint);
  }
  Check(listen(mSocket, kBacklog), endpoint);
}

SilentListener::~SilentListener() {
  close(mSocket);
}
