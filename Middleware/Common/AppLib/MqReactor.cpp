// The event loop with its subscriber sockets and timers. Owned by the derived class; everything
// runs on the thread that calls StartLoop.

#include "MqReactor.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "Assertion.h"
#include "LogMacros.h"

namespace {

constexpr char kUnitName[] = "MqReactor";

LogSource Log() {
  return {kUnitName, MqReactor::mpLogger, MqReactor::mLogLevel};
}

using TopicRow_t = char[kMqTopicSize];

// The topic of a row, which may fill the row without a terminator.
std::string TopicOf(const TopicRow_t& row) {
  return {row, strnlen(row, sizeof row)};
}

// The result that a reader returns to the loop: -1 ends the loop.
int LoopResult(int handlerResult) {
  return zsys_interrupted != 0 || handlerResult == -1 ? -1 : 0;
}

// Delay of work that is postponed to the end of a round of the loop. The loop does not accept 0.
constexpr std::size_t kTicketDelayMs = 1;

// Maximum number of frames kept of a message. A raw block has four.
constexpr std::size_t kMostFrames = 64;

// Maximum number of excess frames dropped at a time, about as much work as one message.
constexpr std::size_t kMostFramesDropped = 1000;

// The longest topic that is handled, far longer than any subscription. Subscriptions are prefixes,
// so a peer can send longer topics.
constexpr std::size_t kLongestTopic = 4096;

// Receives the next frame; null if there is none yet. Repeats a receive that a signal interrupts.
zframe_t* ReceiveFrame(zsock_t* socket) {
  zframe_t* frame = nullptr;
  do {
    frame = zframe_recv_nowait(socket);
  } while (frame == nullptr && errno == EINTR);
  return frame;
}

// Receives the message that woke the loop, up to `kMostFrames` frames of it. The library delivers a
// message only when all its frames have arrived.
zmsg_t* ReceiveMessage(zsock_t* socket) {
  zmsg_t* pMessage = nullptr;
  zframe_t* frame = ReceiveFrame(socket);
  while (frame != nullptr) {
    if (pMessage == nullptr)
      pMessage = zmsg_new();
    zmsg_append(pMessage, &frame);
    if (zsock_rcvmore(socket) != 0 && zmsg_size(pMessage) < kMostFrames)
      frame = ReceiveFrame(socket);
  }
  LOUDCALC_ASSERT(nullptr != pMessage, "nullptr != pMessage");
  return pMessage;
}

// Drops some excess frames of a message that has too many. False if there were none. Timers run
// between two calls.
bool DropFurtherFrames(zsock_t* socket) {
  if (zsock_rcvmore(socket) == 0)
    return false;
  for (std::size_t i = 0; i < kMostFramesDropped && zsock_rcvmore(socket) != 0; ++i) {
    zframe_t* frame = ReceiveFrame(socket);
    zframe_destroy(&frame);
  }
  return true;
}

}  // namespace

Logger* MqReactor::mpLogger = nullptr;
LogLevel_e MqReactor::mLogLevel = MsgLevel_Warn;

// Runs an operation. An exception in it is logged and makes the result false.
template <typename Operation>
bool MqReactor::Guarded(Operation operation) {
  return MqGuard(operation, [](const char* title, const char* description) {
    LOUDCALC_LOG(Log(), Critical, "\"%s %s\"", title, description);
  });
}

// Topics are copied, compared and logged, which must stay cheap.
bool MqReactor::IsTopicTooLong(zmsg_t* message) {
  zframe_t* topic = zmsg_first(message);
  const std::size_t size = topic != nullptr ? zframe_size(topic) : 0;
  if (size > kLongestTopic)
    LOUDCALC_LOG(Log(), Warn, "\"Message dropped: topic of %zu bytes\"", size);
  return size > kLongestTopic;
}

// Receives one message, passes its topic and the frames after it to `handler` and frees both.
template <typename Handler>
int MqReactor::ReadMessage(zsock_t* socket, Handler handler) {
  if (DropFurtherFrames(socket))
    return LoopResult(0);
  zmsg_t* pMessage = ReceiveMessage(socket);
  if (IsTopicTooLong(pMessage)) {
    zmsg_destroy(&pMessage);
    return LoopResult(0);
  }
  char* cpTopic = zmsg_popstr(pMessage);
  LOUDCALC_ASSERT(nullptr != cpTopic, "nullptr != cpTopic");
  const int rv = handler(cpTopic, pMessage);
  if (rv == -1)
    LOUDCALC_LOG(Log(), Error, "\"Got rv = %d. Exiting from reactor loop ...\"", rv);
  zstr_free(&cpTopic);
  zmsg_destroy(&pMessage);
  return LoopResult(rv);
}

MqReactor::MqReactor() {
  zloop_t* loop = zloop_new();
  if (loop == nullptr)
    return;
  MqSockOwner sock(zsock_new(ZMQ_SUB));
  MqSockOwner sockBin(zsock_new(ZMQ_SUB));
  if (sock == nullptr || sockBin == nullptr) {
    zloop_destroy(&loop);
    return;
  }
  mpSock = sock.release();
  mpSockBin = sockBin.release();
  mpLoop = loop;
  zloop_set_ticket_delay(mpLoop, kTicketDelayMs);
  mLinks.Start(mpSock);
  mBinLinks.Start(mpSockBin);
  mbIsValidReactor = true;
}

MqReactor::~MqReactor() {
  CloseMq();
  zloop_destroy(&mpLoop);
}

bool MqReactor::AddMqSubsOverTcp(const char* cpIp_in, std::uint32_t port, mqTopics_t topics,
                                 std::int32_t noTopics, bool binary) {
  LOUDCALC_ASSERT(IsValidReactor() && cpIp_in != nullptr && topics != nullptr && noTopics > 0,
                  "IsValidReactor() && cpIp_in != nullptr && topics != nullptr && noTopics > 0");
  return Guarded([&] {
    if (!Connect(binary, MqEndpoint::Tcp(cpIp_in, port)))
      return false;
    for (std::int32_t i = 0; i < noTopics; ++i) {
      const std::string topic = TopicOf(topics[i]);
      zsock_set_subscribe(UsableSock(binary), topic.c_str());
      ++mlTopics;
      LOUDCALC_LOG(Log(), Debug, "\"%u: Subscribed %s\"", mlTopics, topic.c_str());
    }
    return true;
  });
}

bool MqReactor::AddMqSubsOverIpc(const char* cpIpc_in, mqTopics_t topics, std::int32_t noTopics,
                                 bool binary) {
  LOUDCALC_ASSERT(IsValidReactor() && cpIpc_in != nullptr && topics != nullptr && noTopics > 0,
                  "IsValidReactor() && cpIpc_in != nullptr && topics != nullptr && noTopics > 0");
  return Guarded([&] {
    if (!Connect(binary, MqEndpoint::Ipc(cpIpc_in)))
      return false;
    for (std::int32_t i = 0; i < noTopics; ++i) {
      const std::string topic = TopicOf(topics[i]);
      if (topic.size() >= kMqTopicSize) {
        LOUDCALC_LOG(Log(), Error, "\"Failed to subscribed %d: %s\"", i, topic.c_str());
        continue;
      }
      zsock_set_subscribe(UsableSock(binary), topic.c_str());
      ++mlTopics;
      LOUDCALC_LOG(Log(), Debug, "\"%u: Subscribed %d: %s\"", mlTopics, i, topic.c_str());
    }
    return true;
  });
}

bool MqReactor::SubscribeTopic(const char* topic, std::int32_t len, bool binary) {
  LOUDCALC_ASSERT(IsValidReactor() && topic != nullptr && len > 0 && len < 128,
                  "IsValidReactor() && topic != nullptr && len > 0 && len < 128");
  return Guarded([&] {
    zsock_t* socket = UsableSock(binary);
    if (socket == nullptr)
      return false;
    zsock_set_subscribe(socket, topic);
    ++mlTopics;
    LOUDCALC_LOG(Log(), Debug, "\"%u: Subscribed %s\"", mlTopics, topic);
    return true;
  });
}

bool MqReactor::UnsubscribeTopics(mqTopics_t topics, std::int32_t noTopics, bool binary) {
  LOUDCALC_ASSERT(IsValidReactor() && topics != nullptr && noTopics > 0,
                  "IsValidReactor() && topics != nullptr && noTopics > 0");
  return Guarded([&] {
    zsock_t* socket = UsableSock(binary);
    if (socket == nullptr)
      return false;
    for (std::int32_t i = 0; i < noTopics; ++i) {
      const std::string topic = TopicOf(topics[i]);
      zsock_set_unsubscribe(socket, topic.c_str());
      LOUDCALC_LOG(Log(), Debug, "\"%u: Unsubscribed %s\"", mlTopics, topic.c_str());
    }
    return true;
  });
}

bool MqReactor::SetMqSubsReader(MqDataType_e type) {
  if (!IsValidReactor() || (type & MQ_DATA_TYPE_STRING_AND_BINARY) == 0)
    return false;
  if ((type & MQ_DATA_TYPE_STRING) != 0)
    RegisterReader(false, ReaderCallback);
  if ((type & MQ_DATA_TYPE_BINARY) != 0)
    RegisterReader(true, ReaderCallbackForBinaryData);
  return true;
}

std::int32_t MqReactor::AddTimer(pReactorTimerCallback handler, void* argument, std::size_t delay,
                                 std::size_t times) {
  if (!IsValidReactor())
    return -1;
  const int rc = zloop_timer(mpLoop, delay, times, TimerCallback, this);
  LOUDCALC_ASSERT(rc != -1, "rc != -1");
  const auto entry = mTimers.emplace(rc, MqTimer(handler, argument, delay, times)).first;
  entry->second.Begin();
  ++mlTimers;
  return rc;
}

// Once a loop has been restarted, CZMQ frees a timer as soon as it is ended, even one whose handler
// is running. While the loop runs, ended timers are therefore removed only after the round.
void MqReactor::EndTimer(std::int32_t timerId) {
  if (mTimers.erase(timerId) == 0)
    return;
  if (!mIsLooping) {
    zloop_timer_end(mpLoop, timerId);
    return;
  }
  if (mEndedTimers.empty())
    zloop_ticket(mpLoop, RemoveEndedTimers, this);
  mEndedTimers.push_back(timerId);
}

bool MqReactor::StartLoop(MqDataType_e type) {
  if (!IsValidReactor())
    return false;
  const bool ret = SetMqSubsReader(type);
  if (mlTimers > 0)
    zloop_set_max_timers(mpLoop, mlMaxTimers);
  LOUDCALC_ASSERT(ret == true, "ret == true");
  PollLinkEvents(mLinks);
  PollLinkEvents(mBinLinks);
  // Every handled signal makes the loop return 0, but only an interrupt is meant to end it. Timers
  // keep their schedule when the loop is started again.
  int rc = 0;
  mIsLooping = true;
  do {
    errno = 0;
    rc = zloop_start(mpLoop);
  } while (rc == 0 && errno == EINTR && zsys_interrupted == 0);
  mIsLooping = false;
  return true;
}

void MqReactor::ReportRenewal(const char* endpoint) {
  LOUDCALC_LOG(Log(), Warn, "\"Connection to %s broke the protocol, connecting again\"", endpoint);
}

// Empties the queue of the links' events even if TendLinks is never called.
void MqReactor::PollLinkEvents(MqLinkWatch& links) {
  zmq_pollitem_t item = links.PollItem();
  if (item.fd == kMqNoDescriptor)
    return;
  const auto takeNote = [](zloop_t*, zmq_pollitem_t*, void* watch) {
    static_cast<MqLinkWatch*>(watch)->TakeNote();
    return 0;
  };
  zloop_poller_end(mpLoop, &item);
  zloop_poller(mpLoop, &item, takeNote, &links);
  zloop_poller_set_tolerant(mpLoop, &item);
  links.TakeNote();
}

void MqReactor::TendLinks() {
  if (UsableSock(false) != nullptr)
    mLinks.Tend(ReportRenewal);
  if (UsableSock(true) != nullptr)
    mBinLinks.Tend(ReportRenewal);
}

// The handler may have closed the sockets.
void MqReactor::TendAfterReading(bool binary) {
  zsock_t* socket = UsableSock(binary);
  if (socket != nullptr && zsock_rcvmore(socket) == 0)
    (binary ? mBinLinks : mLinks).TendBetweenMessages(ReportRenewal);
}

// A PUB socket has nothing to read. Asking for its events makes the library handle the clients.
void MqReactor::WatchClients(zsock_t* publisher) {
  LOUDCALC_ASSERT(IsValidReactor() && publisher != nullptr,
                  "IsValidReactor() && publisher != nullptr");
  const auto handleClients = [](zloop_t*, zmq_pollitem_t*, void* socket) {
    int events = 0;
    MqAskEvents(static_cast<zsock_t*>(socket), events);
    return 0;
  };
  zmq_pollitem_t item = MqSignalItem(zsock_resolve(publisher));
  const int rc = zloop_poller(mpLoop, &item, handleClients, publisher);
  LOUDCALC_ASSERT(rc != -1, "rc != -1");
  zloop_poller_set_tolerant(mpLoop, &item);
  handleClients(mpLoop, &item, publisher);
}

void MqReactor::UnwatchClients(zsock_t* publisher) {
  if (mpLoop == nullptr || publisher == nullptr)
    return;
  zmq_pollitem_t item = MqSignalItem(zsock_resolve(publisher));
  zloop_poller_end(mpLoop, &item);
}

void MqReactor::CloseMq() {
  Destroy(false);
  mpSock = nullptr;
  Destroy(true);
  mpSockBin = nullptr;
  mbIsValidReactor = false;
}

int MqReactor::ReaderCallback(zloop_t*, zsock_t* socket, void* reactor) {
  auto* self = static_cast<MqReactor*>(reactor);
  if (self == nullptr || self->mpReactorReaderCallback == nullptr)
    return LoopResult(0);
  const int result = ReadMessage(socket, [self](const char* topic, zmsg_t* message) {
    char* cpData = zmsg_popstr(message);
    const int rv = self->mpReactorReaderCallback(topic, cpData);
    zstr_free(&cpData);
    return rv;
  });
  self->TendAfterReading(false);
  return result;
}

int MqReactor::ReaderCallbackForBinaryData(zloop_t*, zsock_t* socket, void* reactor) {
  auto* self = static_cast<MqReactor*>(reactor);
  if (self == nullptr || self->mpReactorReaderCallbackForBinaryData == nullptr)
    return LoopResult(0);
  const int result = ReadMessage(socket, self->mpReactorReaderCallbackForBinaryData);
  self->TendAfterReading(true);
  return result;
}

int MqReactor::TimerCallback(zloop_t* loop, int timerId, void* reactor) {
  auto& timers = static_cast<MqReactor*>(reactor)->mTimers;
  const auto entry = timers.find(timerId);
  if (entry == timers.end())
    return 0;
  const bool isMade = entry->second.Tick();
  const MqTimer timer = entry->second;  // the handler may end it
  if (timer.IsOver())
    timers.erase(entry);
  return isMade ? timer.Call(loop, timerId) : 0;
}

int MqReactor::RemoveEndedTimers(zloop_t* loop, int, void* reactor) {
  auto& ended = static_cast<MqReactor*>(reactor)->mEndedTimers;
  for (const std::int32_t timerId : ended)
    zloop_timer_end(loop, timerId);
  ended.clear();
  return 0;
}

// The chosen socket; null if there is none or a failed connect destroyed it.
zsock_t* MqReactor::UsableSock(bool binary) const {
  if (binary)
    return mbSockBinIsGone ? nullptr : mpSockBin;
  return mbSockIsGone ? nullptr : mpSock;
}

// Destroys the chosen socket, if there is one. Removes it from the loop first, which would
// otherwise continue to poll it.
void MqReactor::Destroy(bool binary) {
  zsock_t* socket = UsableSock(binary);
  MqLinkWatch& links = binary ? mBinLinks : mLinks;
  zmq_pollitem_t events = links.PollItem();
  if (events.fd != kMqNoDescriptor && mpLoop != nullptr)
    zloop_poller_end(mpLoop, &events);
  if (socket != nullptr)
    links.Stop();
  else
    links.StopWithoutSocket();
  if (socket != nullptr && mpLoop != nullptr)
    zloop_reader_end(mpLoop, socket);
  zsock_destroy(&socket);
}

bool MqReactor::Connect(bool binary, const MqEndpoint& endpoint) {
  zsock_t* socket = UsableSock(binary);
  if (socket == nullptr)
    return false;
  LOUDCALC_LOG(Log(), Debug, "\"Tryig to connect %s\"", endpoint.Text());
  MqPrepareLink(socket, endpoint.IsTcp());
  if (MqConnect(socket, endpoint.Text()) == -1) {
    Destroy(binary);
    (binary ? mbSockBinIsGone : mbSockIsGone) = true;
    LOUDCALC_LOG(Log(), Error, "\"Failed to connect to %s\"", endpoint.Text());
    return false;
  }
  LOUDCALC_LOG(Log(), Info, "\"Connected to %s\"", endpoint.Text());
  return true;
}

void MqReactor::RegisterReader(bool binary, zloop_reader_fn* reader) {
  zsock_t* socket = UsableSock(binary);
  int rc = -1;
  if (socket != nullptr) {
    // Two readers of one socket would both be called for the same message.
    zloop_reader_end(mpLoop, socket);
    rc = zloop_reader(mpLoop, socket, reader, this);
  }
  LOUDCALC_ASSERT(rc != -1, "rc != -1");
  LOUDCALC_LOG(Log(), Debug, "\"Reacter reader registered\"");
  zloop_reader_set_tolerant(mpLoop, socket);
}
