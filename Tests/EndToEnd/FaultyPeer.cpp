// Faulty peers, byte by byte.

#include "FaultyPeer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "Endpoints.h"
#include "MqLink.h"
#include "Zmtp.h"

namespace {

using zmtp::Greeting;
using zmtp::kGreetingSize;
using zmtp::Ready;

struct FaultName {
  PeerFault fault;
  const char* name;
  bool endsTheLink;  // ZeroMQ itself does not reconnect
};

constexpr FaultName kFaultNames[] = {
    {PeerFault::kAnotherProtocol, "AnotherProtocol", false},
    {PeerFault::kZeros, "Zeros", true},
    {PeerFault::kSilence, "Silence", false},
    {PeerFault::kGarbageAfterGreeting, "GarbageAfterGreeting", true},
    {PeerFault::kGarbageAfterHandshake, "GarbageAfterHandshake", true},
    {PeerFault::kWrongSocketType, "WrongSocketType", true},
    {PeerFault::kTooLargeFrame, "TooLargeFrame", true},
    {PeerFault::kGarbageAfterBacklog, "GarbageAfterBacklog", true},
    {PeerFault::kCutInGreeting, "CutInGreeting", false},
    {PeerFault::kCutInHandshake, "CutInHandshake", false},
    {PeerFault::kCutInFrame, "CutInFrame", false},
};

const FaultName& RowOf(PeerFault fault) {
  const FaultName* row = kFaultNames;
  while (row->fault != fault)
    ++row;
  return *row;
}

constexpr char kWebAnswer[] =
    "HTTP/1.1 400 Bad Request\r\nContent-Type: text/html\r\nConnection: close\r\n\r\n"
    "<html><head><title>400 Bad Request</title></head><body>400 Bad Request</body></html>\r\n";
bool HangsUp(PeerFault fault) {
  return fault == PeerFault::kAnotherProtocol || fault == PeerFault::kCutInGreeting ||
         fault == PeerFault::kCutInHandshake || fault == PeerFault::kCutInFrame;
}

constexpr char kOtherType[] = "REP";  // incompatible with SUB and PUSH sockets

std::string Garbage() {
  return std::string(1000, '\xAA');
}

// The beginning of a long frame.
std::string FrameOf(std::uint64_t length, std::size_t sent) {
  return zmtp::kLongFrame + zmtp::Length(length, 8) + std::string(sent, 'x');
}

// A message with a subscribed topic and as many empty frames as possible.
std::string EndlessMessage() {
  constexpr std::size_t kFrames = 3000000;
  const std::string topic = kHwmStatusTopic;
  std::string message = zmtp::ShortFrame(zmtp::kMore, topic);
  for (std::size_t i = 0; i < kFrames; ++i)
    message += std::string({zmtp::kMore, 0});
  return message + std::string(2, '\0');
}

[[noreturn]] void GiveUp(const std::string& endpoint, const char* what) {
  std::fprintf(stderr, "FaultyPeer: %s: %s: %s.\n", endpoint.c_str(), what, std::strerror(errno));
  std::exit(1);
}

int ListenOnFile(const std::string& endpoint, const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  unlink(path.c_str());
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
    GiveUp(endpoint, "bind");
  return listener;
}

int ListenOnPort(const std::string& endpoint, const std::string& addressAndPort) {
  const std::size_t colon = addressAndPort.find(':');
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(addressAndPort.substr(colon + 1))));
  inet_pton(AF_INET, addressAndPort.substr(0, colon).c_str(), &address.sin_addr);
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
    GiveUp(endpoint, "bind");
  return listener;
}

// Reads and ignores what the other side sends. False when the other side has closed.
bool Discard(int connection) {
  std::array<char, 4096> buffer;
  const ssize_t size = recv(connection, buffer.data(), buffer.size(), MSG_DONTWAIT);
  return size > 0 || (size < 0 && (errno == EAGAIN || errno == EINTR));
}

}  // namespace

const char* NameOf(PeerFault fault) {
  return RowOf(fault).name;
}

void PrintTo(PeerFault fault, std::ostream* stream) {
  *stream << NameOf(fault);
}

bool EndsTheLink(PeerFault fault) {
  return RowOf(fault).endsTheLink;
}

FaultyPeer::FaultyPeer(const std::string& endpoint, std::string type, PeerFault fault)
    : mType(std::move(type)), mFault(fault) {
  const std::string place = endpoint.substr(endpoint.find("://") + 3);
  if (endpoint.compare(0, 3, "ipc") == 0)
    mPath = place;
  mListener = mPath.empty() ? ListenOnPort(endpoint, place) : ListenOnFile(endpoint, mPath);
  if (listen(mListener, SOMAXCONN) != 0)
    GiveUp(endpoint, "listen");
  // Not inherited: a service with the other end open would keep the thread from ending.
  if (pipe2(mStop, O_CLOEXEC) != 0)
    GiveUp(endpoint, "pipe");
  mThread = std::thread(&FaultyPeer::Serve, this);
}

FaultyPeer::~FaultyPeer() {
  close(mStop[1]);
  mThread.join();
  close(mStop[0]);
  close(mListener);
  if (!mPath.empty())
    unlink(mPath.c_str());
}

void FaultyPeer::Serve() {
  const std::string speech = Speech();
  const bool hangsUp = HangsUp(mFault);
  std::vector<pollfd> items = {{mStop[0], POLLIN, 0}, {mListener, POLLIN, 0}};
  while (poll(items.data(), items.size(), -1) < 0 || items[0].revents == 0) {
    for (std::size_t i = items.size() - 1; i > 1; --i)
      if (items[i].revents != 0 && !Discard(items[i].fd)) {
        close(items[i].fd);
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(i));
      }
    if ((items[1].revents & POLLIN) == 0)
      continue;
    const int connection = accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0)
      continue;
    ++mConnections;
    send(connection, speech.data(), speech.size(), MSG_NOSIGNAL);
    if (hangsUp)
      close(connection);
    else
      items.push_back({connection, POLLIN, 0});
  }
  for (std::size_t i = 2; i < items.size(); ++i)
    close(items[i].fd);
}

// The largest frame that the service accepts from this peer.
std::uint64_t FaultyPeer::LargestFrame() const {
  if (mType == "PULL")
    return kMqMaxWordSize;
  return mPath.empty() ? kMqMaxFrameSize : kMqMaxLocalFrameSize;
}

// The bytes that a connection receives, up to and including the fault.
std::string FaultyPeer::Speech() const {
  constexpr std::uint64_t kFrame = 200;
  switch (mFault) {
    case PeerFault::kAnotherProtocol:
      return kWebAnswer;
    case PeerFault::kZeros:
      return std::string(kGreetingSize, '\0');
    case PeerFault::kSilence:
      return "";
    case PeerFault::kGarbageAfterGreeting:
      return Greeting() + Garbage();
    case PeerFault::kGarbageAfterHandshake:
      return Greeting() + Ready(mType) + Garbage();
    case PeerFault::kWrongSocketType:
      return Greeting() + Ready(kOtherType);
    case PeerFault::kTooLargeFrame:
      return Greeting() + Ready(mType) + FrameOf(LargestFrame() + 1, kFrame);
    case PeerFault::kGarbageAfterBacklog:
      return Greeting() + Ready(mType) + EndlessMessage() + Garbage();
    case PeerFault::kCutInGreeting:
      return Greeting().substr(0, kGreetingSize / 2);
    case PeerFault::kCutInHandshake:
      return Greeting() + Ready(mType).substr(0, 10);
    case PeerFault::kCutInFrame:
      break;
  }
  return Greeting() + Ready(mType) + FrameOf(kFrame, kFrame / 2);
}
