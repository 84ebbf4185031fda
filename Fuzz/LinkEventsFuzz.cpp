// Connection events from the library to the watch that renews links. The input also controls the
// clock and whether connections succeed.
//
// Input: one byte, odd for a PUSH socket, else a SUB socket, then records. A record begins with a
// letter:
//
//     e  a number of two bytes, an endpoint, zero: an event that the watch has yet to read
//     E  a length of one byte, that many bytes, an endpoint, zero: the same with any first frame
//     w  a number of two bytes: that many milliseconds pass
//     i  messages begin or stop waiting on the socket
//     f  connections begin or stop being refused
//     t  the watch tends its links
//     b  the watch tends its links between two messages
//
// Any other letter is skipped.

#include <czmq.h>
#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "FuzzTarget.h"
#include "MqLink.h"
#include "MqSupport.h"

namespace {

constexpr unsigned kMaxRecords = 256;
constexpr std::int64_t kStart = 1000000;  // ms of the clock

// A call that makes or ends a connection.
struct Call {
  bool isConnect;
  std::string endpoint;
  int heartbeatPeriod;  // option of the socket at that time, ms
  int largestFrame;     // option of the socket at that time, bytes
};

// The environment of the watch.
std::deque<std::string> gFrames;  // frames of unread events, two for each event
std::int64_t gNow = kStart;
bool gIsIdle = true;
bool gIsRefused = false;
bool gIsTending = false;
std::vector<Call> gCalls;           // calls since the links were last tended
std::vector<std::string> gReports;  // reports since the links were last tended

void RecordCall(bool isConnect, zsock_t* socket, const char* format, va_list arguments) {
  char endpoint[8192];
  std::vsnprintf(endpoint, sizeof endpoint, format, arguments);
  gCalls.push_back({isConnect, endpoint, zsock_heartbeat_ivl(socket), zsock_maxmsgsize(socket)});
}

}  // namespace

// A function defined in the program replaces the library's function of the same name.
extern "C" {

int zmq_msg_recv(zmq_msg_t* message, void* socket, int flags) {
  static const auto library =
      reinterpret_cast<decltype(&zmq_msg_recv)>(dlsym(RTLD_NEXT, "zmq_msg_recv"));
  if (!gIsTending)
    return library(message, socket, flags);
  if (gFrames.empty()) {
    errno = EAGAIN;
    return -1;
  }
  const std::string frame = gFrames.front();
  gFrames.pop_front();
  zmq_msg_close(message);
  zmq_msg_init_size(message, frame.size());
  std::memcpy(zmq_msg_data(message), frame.data(), frame.size());
  return static_cast<int>(frame.size());
}

int64_t zclock_mono(void) {
  return gNow;
}

int zmq_getsockopt(void* socket, int option, void* value, size_t* size) {
  static const auto library =
      reinterpret_cast<decltype(&zmq_getsockopt)>(dlsym(RTLD_NEXT, "zmq_getsockopt"));
  if (option != ZMQ_EVENTS)
    return library(socket, option, value, size);
  *static_cast<int*>(value) = gIsIdle ? 0 : ZMQ_POLLIN;
  return 0;
}

int zsock_connect(zsock_t* socket, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  RecordCall(true, socket, format, arguments);
  va_end(arguments);
  return gIsRefused ? -1 : 0;
}

int zsock_disconnect(zsock_t* socket, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  RecordCall(false, socket, format, arguments);
  va_end(arguments);
  return 0;
}

}  // extern "C"

namespace {

using Endpoints = std::vector<std::string>;

// A link with the behaviour that the header describes.
struct Link {
  std::optional<std::int64_t> lostSince;
  std::optional<std::int64_t> upSince;
  bool isReported = false;
};

class Model {
 public:
  void TakeEvent(std::uint16_t event, const std::string& endpoint) {
    Link& link = mLinks[endpoint];
    if (event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED || event == ZMQ_EVENT_CONNECTED ||
        event == ZMQ_EVENT_CONNECT_RETRIED) {
      link.lostSince.reset();
      if (event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED)
        link.upSince = gNow;
      return;
    }
    if (link.upSince && gNow - *link.upSince >= kMqGoodLinkMs)
      link.isReported = false;
    link.upSince.reset();
    link.lostSince = gNow;
  }

  // The endpoints of all lost links, once one of them has been lost for long enough; none before
  // that.
  Endpoints LostForAtLeast(std::int64_t milliseconds) const {
    Endpoints lost;
    bool isTime = false;
    for (const auto& [endpoint, link] : mLinks)
      if (link.lostSince) {
        lost.push_back(endpoint);
        isTime = isTime || gNow - *link.lostSince >= milliseconds;
      }
    return isTime ? lost : Endpoints{};
  }

  // The renewed links that must be reported.
  Endpoints Renew(const Endpoints& endpoints) {
    Endpoints reports;
    for (const std::string& endpoint : endpoints) {
      Link& link = mLinks[endpoint];
      link.lostSince.reset();
      if (!link.isReported)
        reports.push_back(endpoint);
      link.isReported = true;
    }
    return reports;
  }

 private:
  std::map<std::string, Link> mLinks;
};

// The endpoints as the library sees them, cut at the first zero byte, and sorted.
Endpoints Seen(Endpoints endpoints) {
  for (std::string& endpoint : endpoints)
    endpoint = endpoint.c_str();
  std::sort(endpoints.begin(), endpoints.end());
  return endpoints;
}

Endpoints EndpointsOf(const std::vector<Call>& calls, bool isConnect) {
  Endpoints endpoints;
  for (const Call& call : calls)
    if (call.isConnect == isConnect)
      endpoints.push_back(call.endpoint);
  return Seen(endpoints);
}

bool IsOverTcp(const Call& call) {
  return call.endpoint.rfind("tcp:", 0) == 0;
}

class LinkEvents {
 public:
  LinkEvents(MqLinkWatch& watch, bool isReader) : mWatch(watch), mIsReader(isReader) {}

  void Add(const std::string& event, const std::string& endpoint) {
    gFrames.push_back(event);
    gFrames.push_back(endpoint);
    mEvents.emplace_back(event, endpoint);
  }

  void Tend() {
    for (const auto& [event, endpoint] : mEvents) {
      std::uint16_t number = 0;
      std::memcpy(&number, event.data(), std::min(event.size(), sizeof number));
      if (event.size() == sizeof number + sizeof(std::uint32_t))
        mModel.TakeEvent(number, endpoint);
    }
    mEvents.clear();
    Expect(gIsIdle ? mModel.LostForAtLeast(kMqLostLinkPatienceMs) : Endpoints{},
           [this](auto report) { mWatch.Tend(report); });
    FUZZ_PROPERTY(gFrames.empty(), "every event is taken");
  }

  void TendBetweenMessages() {
    Expect(mModel.LostForAtLeast(kMqBusyLinkPatienceMs),
           [this](auto report) { mWatch.TendBetweenMessages(report); });
  }

 private:
  template <typename Tending>
  void Expect(const Endpoints& lost, Tending tend) {
    gCalls.clear();
    gReports.clear();
    gIsTending = true;
    tend([](const char* endpoint) { gReports.emplace_back(endpoint); });
    gIsTending = false;
    FUZZ_PROPERTY(
        EndpointsOf(gCalls, false) == Seen(lost) && EndpointsOf(gCalls, true) == Seen(lost),
        "all lost links are renewed once one has been lost long enough, and no others");
    FUZZ_PROPERTY(std::is_partitioned(gCalls.begin(), gCalls.end(),
                                      [](const Call& call) { return !call.isConnect; }),
                  "all are taken down before the first is made anew");
    FUZZ_PROPERTY(Seen(gReports) == Seen(gIsRefused ? Endpoints{} : mModel.Renew(lost)),
                  "a renewed link is reported once until it has been a good one");
    CheckOptions();
  }

  void CheckOptions() const {
    for (const Call& call : gCalls) {
      const int frame = IsOverTcp(call) ? kMqMaxFrameSize : kMqMaxLocalFrameSize;
      FUZZ_PROPERTY(!call.isConnect ||
                        (call.heartbeatPeriod == (IsOverTcp(call) ? kMqHeartbeatPeriodMs : 0) &&
                         call.largestFrame == (mIsReader ? frame : kMqMaxWordSize)),
                    "a connection is made with the options of its transport");
    }
  }

  MqLinkWatch& mWatch;
  bool mIsReader;  // a SUB socket
  Model mModel;
  std::vector<std::pair<std::string, std::string>> mEvents;  // unread events
};

// One watched socket serves all inputs: a watch forgets its links when it is started again.
class WatchedSocket {
 public:
  explicit WatchedSocket(int type) : mSocket(zsock_new(type)) {
    MqPrepareLink(mSocket.get(), true);
  }

  MqLinkWatch& Watch() {
    FUZZ_PROPERTY(mWatch.Start(mSocket.get()), "the socket is watched");
    return mWatch;
  }

 private:
  MqSockOwner mSocket;
  MqLinkWatch mWatch;  // ends before its socket
};

WatchedSocket& Socket(bool isReader) {
  static const int isSet = setenv("ZSYS_SIGHANDLER", "false", 0);  // signals belong to libFuzzer
  FUZZ_PROPERTY(isSet == 0, "the environment is set");
  static WatchedSocket reader(ZMQ_SUB);
  static WatchedSocket writer(ZMQ_PUSH);
  return isReader ? reader : writer;
}

std::string Plain(const fuzz::Text& text) {
  return {text.c_str(), text.size()};
}

void AddEvent(fuzz::Input& input, LinkEvents& events) {
  const auto number = static_cast<std::uint16_t>(input.TakeNumber(2));
  std::string event(sizeof number + sizeof(std::uint32_t), '\0');
  std::memcpy(event.data(), &number, sizeof number);
  events.Add(event, Plain(input.TakeTerminatedText()));
}

void DoRecord(fuzz::Input& input, LinkEvents& events) {
  switch (input.TakeByte()) {
    case 'e':
      return AddEvent(input, events);
    case 'E': {
      const std::string event = Plain(input.TakeText(input.TakeByte()));
      return events.Add(event, Plain(input.TakeTerminatedText()));
    }
    case 'w':
      gNow += static_cast<std::int64_t>(input.TakeNumber(2));
      return;
    case 'i':
      gIsIdle = !gIsIdle;
      return;
    case 'f':
      gIsRefused = !gIsRefused;
      return;
    case 't':
      return events.Tend();
    case 'b':
      return events.TendBetweenMessages();
    default:
      return;
  }
}

}  // namespace

void fuzz::TestOneInput(Input input) {
  gFrames.clear();
  gNow = kStart;
  gIsIdle = true;
  gIsRefused = false;
  const bool isReader = (input.TakeByte() & 1) == 0;
  LinkEvents events(Socket(isReader).Watch(), isReader);
  for (unsigned i = 0; i < kMaxRecords && !input.IsEmpty(); ++i)
    DoRecord(input, events);
}
