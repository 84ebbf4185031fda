// Options and watch of connecting sockets. The watch belongs to the socket's owner and thread.

#include "MqLink.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "MqSupport.h"

namespace {

// These events distinguish a link that ZeroMQ renews from one that it has abandoned: it reports the
// next attempt only for the former.
constexpr int kWatchedEvents =
    ZMQ_EVENT_CONNECTED | ZMQ_EVENT_CONNECT_RETRIED | ZMQ_EVENT_DISCONNECTED |
    ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL |
    ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL | ZMQ_EVENT_HANDSHAKE_FAILED_AUTH;

constexpr char kTcpPrefix[] = "tcp:";

// First frame of an event message: 16-bit event, 32-bit value, without padding.
constexpr std::size_t kEventFrameSize = 6;

bool IsReader(zsock_t* socket) {
  return zsock_type(socket) == ZMQ_SUB;
}

// The options that differ between connections over TCP and over IPC.
void PrepareForTransport(zsock_t* socket, bool isOverTcp) {
  if (IsReader(socket))
    zsock_set_maxmsgsize(socket, isOverTcp ? kMqMaxFrameSize : kMqMaxLocalFrameSize);
  else
    zsock_set_maxmsgsize(socket, kMqMaxWordSize);
  zsock_set_heartbeat_ivl(socket, isOverTcp ? kMqHeartbeatPeriodMs : 0);
}

// A name that no other watch has used: the library frees the name of an ended watch only some time
// later.
std::string NewMonitorEndpoint() {
  static unsigned long watches = 0;
  return "inproc://links-" + std::to_string(++watches);
}

// Receives the next frame; false when there is none yet.
bool TakeFrame(void* socket, std::string& bytes) {
  zmq_msg_t frame;
  zmq_msg_init(&frame);
  // If a signal interrupted the second frame of an event, that frame would be taken for the next
  // event.
  const auto receive = [&] { return zmq_msg_recv(&frame, socket, ZMQ_DONTWAIT); };
  const bool isThere = MqUninterrupted(receive) != -1;
  if (isThere)
    bytes.assign(static_cast<const char*>(zmq_msg_data(&frame)), zmq_msg_size(&frame));
  zmq_msg_close(&frame);
  return isThere;
}

}  // namespace

void MqPrepareLink(zsock_t* socket, bool isOverTcp) {
  PrepareForTransport(socket, isOverTcp);
  if (!IsReader(socket))
    zsock_set_rcvhwm(socket, kMqUnreadMessages);
  zsock_set_handshake_ivl(socket, kMqHandshakeTimeoutMs);
  zsock_set_connect_timeout(socket, kMqConnectTimeoutMs);
  zsock_set_heartbeat_timeout(socket, kMqHeartbeatTimeoutMs);
  zsock_set_tcp_keepalive(socket, 1);
  zsock_set_tcp_keepalive_idle(socket, kMqKeepAliveIdleS);
  zsock_set_tcp_keepalive_intvl(socket, kMqKeepAlivePeriodS);
  zsock_set_tcp_keepalive_cnt(socket, kMqKeepAliveProbes);
}

MqLinkWatch& MqLinkWatch::operator=(MqLinkWatch&& other) noexcept {
  std::swap(mpSocket, other.mpSocket);
  std::swap(mpEvents, other.mpEvents);
  mLinks.swap(other.mLinks);
  return *this;
}

bool MqLinkWatch::Start(zsock_t* socket) {
  Stop();
  const std::string endpoint = NewMonitorEndpoint();
  const auto monitor = [&] {
    return zmq_socket_monitor(zsock_resolve(socket), endpoint.c_str(), kWatchedEvents);
  };
  if (MqUninterrupted(monitor) == -1)
    return false;
  mpSocket = socket;
  mpEvents = zmq_socket(zsys_init(), ZMQ_PAIR);
  // The library's thread must never wait for room in the queue.
  constexpr int kNoLimit = 0;
  if (mpEvents != nullptr &&
      zmq_setsockopt(mpEvents, ZMQ_RCVHWM, &kNoLimit, sizeof kNoLimit) == 0 &&
      MqUninterrupted([&] { return zmq_connect(mpEvents, endpoint.c_str()); }) == 0)
    return true;
  Stop();
  return false;
}

void MqLinkWatch::Stop() {
  // The order matters: an event without a receiver would block the library's thread.
  if (mpSocket != nullptr)
    zmq_socket_monitor(zsock_resolve(mpSocket), nullptr, 0);
  StopWithoutSocket();
}

void MqLinkWatch::StopWithoutSocket() {
  mpSocket = nullptr;
  if (mpEvents != nullptr)
    zmq_close(mpEvents);
  mpEvents = nullptr;
  mLinks.clear();
}

void MqLinkWatch::TakeNote() {
  if (mpEvents == nullptr)
    return;
  std::string event;
  std::string endpoint;
  while (TakeFrame(mpEvents, event) && TakeFrame(mpEvents, endpoint)) {
    std::uint16_t number = 0;
    if (event.size() != kEventFrameSize)
      continue;
    std::memcpy(&number, event.data(), sizeof number);
    TakeEvent(number, endpoint);
  }
}

void MqLinkWatch::TakeEvent(std::uint16_t event, const std::string& endpoint) {
  Link& link = mLinks[endpoint];
  const std::int64_t now = zclock_mono();
  switch (event) {
    case ZMQ_EVENT_HANDSHAKE_SUCCEEDED:
      link.lostSince = kNever;
      link.upSince = now;
      break;
    case ZMQ_EVENT_CONNECTED:
    case ZMQ_EVENT_CONNECT_RETRIED:
      link.lostSince = kNever;
      break;
    default:
      if (link.upSince != kNever && now - link.upSince >= kMqGoodLinkMs)
        link.isReported = false;
      link.upSince = kNever;
      link.lostSince = now;
      break;
  }
}

bool MqLinkWatch::IsAnyLostFor(std::int64_t milliseconds) const {
  const std::int64_t now = zclock_mono();
  return std::any_of(mLinks.begin(), mLinks.end(), [=](const auto& entry) {
    const std::int64_t lostSince = entry.second.lostSince;
    return lostSince != kNever && now - lostSince >= milliseconds;
  });
}

// Whether the socket has nothing to read, not even the rest of a message.
bool MqLinkWatch::IsIdle() const {
  int events = 0;
  return MqAskEvents(mpSocket, events) && (events & ZMQ_POLLIN) == 0;
}

zmq_pollitem_t MqLinkWatch::PollItem() const {
  return MqSignalItem(mpEvents);
}

// The socket has the options of its last connection, which may have used another transport. Its
// queue lengths must not be set again: libzmq passes a change on to every connection, even to one
// that it is about to free, and crashes.
bool MqLinkWatch::ConnectAgain(const std::string& endpoint) {
  PrepareForTransport(mpSocket, endpoint.compare(0, sizeof kTcpPrefix - 1, kTcpPrefix) == 0);
  return MqConnect(mpSocket, endpoint.c_str()) == 0;
}

// Disconnects all lost links before it connects the first one again, even links that were lost a
// moment ago. For an abandoned link the library keeps the memory address of the freed connection
// until it is told to disconnect, and then ends the connection that is at that address. That could
// be a new connection of another link, and no event would report it.
void MqLinkWatch::RenewLost() {
  std::vector<std::string> lost;
  for (const auto& [endpoint, link] : mLinks)
    if (link.lostSince != kNever)
      lost.push_back(endpoint);
  for (const std::string& endpoint : lost)
    MqUninterrupted([&] { return zsock_disconnect(mpSocket, "%s", endpoint.c_str()); });
  for (const std::string& endpoint : lost) {
    if (!ConnectAgain(endpoint))
      continue;  // still lost; tried again next time
    Link& link = mLinks[endpoint];
    link.lostSince = kNever;
    link.isReportDue = !std::exchange(link.isReported, true);
  }
}
