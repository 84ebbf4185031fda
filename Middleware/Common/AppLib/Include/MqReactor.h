// The event loop of a process: two SUB sockets, one for text messages and one for messages with
// binary frames, and the periodic timers. Handlers and timers run one at a time on the thread that
// calls StartLoop; nothing here is locked.

#pragma once

#include <czmq.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "Logger.h"
#include "MqLink.h"
#include "MqSupport.h"
#include "MqTimer.h"

/// Size of a row of a topic list, with room for the terminator.
constexpr std::size_t kMqTopicSize = 128;

/// A topic list: rows of 128 characters, each a zero-terminated topic prefix. A row without a
/// terminator counts as a topic of 128 characters.
using mqTopics_t = const char (*)[kMqTopicSize];

/// Sockets of the reactor, as bits.
enum MqDataType_e : std::int32_t {
  MQ_DATA_TYPE_STRING = 1,             // the text socket
  MQ_DATA_TYPE_BINARY = 2,             // the binary socket
  MQ_DATA_TYPE_STRING_AND_BINARY = 3,  // both
  MQ_DATA_TYPE_STATES = 4,             // neither; no reader belongs to it
};

/// Handler of a text message: topic, and the second frame, or null when the message has only one.
/// Both texts belong to the reactor and are valid only during the call. A result of -1 ends the
/// loop.
using pReactorReaderCallback = int (*)(const char* topic, const char* data);

/// Handler of a binary message: topic, and the message with the frames after it. The handler may
/// read or take frames but does not destroy the message. A result of -1 ends the loop.
using pReactorReaderCallbackForBinaryData = int (*)(const char* topic, zmsg_t* message);

/// Handler of a timer: loop, timer id, argument given to AddTimer. A result of -1 ends the loop.
using pReactorTimerCallback = MqTimer::Handler_t;

/// In every operation the flag `binary` chooses the binary socket when true and the text socket
/// when false. An operation on a missing socket returns false. Exceptions inside an operation are
/// logged at Critical and make it return false.
class MqReactor {
 public:
  /// Makes the loop and both sockets. If one of them cannot be made, the others are destroyed and
  /// the reactor stays invalid; see IsValidReactor.
  MqReactor();

  /// Destroys the text socket, the binary socket and the loop, in that order.
  virtual ~MqReactor();

  MqReactor(const MqReactor&) = delete;
  MqReactor& operator=(const MqReactor&) = delete;

  /// Whether the reactor has its loop and its sockets. False after CloseMq.
  bool IsValidReactor() const { return mbIsValidReactor; }

  /// Connects a socket to a publisher and subscribes it to `noTopics` topics, in order. The
  /// publisher need not exist yet; the connection is made and renewed in the background. A
  /// subscription applies to every publisher of the socket. REQUIRES: a valid reactor and no null
  /// argument.
  ///
  /// False when the connection is refused at once, for example for an invalid address; the socket
  /// is then destroyed and the reactor no longer receives messages of that kind.
  ///
  /// Over IPC the publisher is a file name in the unit's IPC directory and a topic of more than 127
  /// characters is skipped with an Error line; over TCP, an IPv4 address text and a port, there is
  /// no such check.
  bool AddMqSubsOverTcp(const char* cpIp_in, std::uint32_t port, mqTopics_t topics,
                        std::int32_t noTopics, bool binary);
  bool AddMqSubsOverIpc(const char* cpIpc_in, mqTopics_t topics, std::int32_t noTopics,
                        bool binary);

  /// Subscribes a socket to one more topic. `len` is the topic's length. REQUIRES: a valid reactor,
  /// a topic, and a length of 1 to 127.
  bool SubscribeTopic(const char* topic, std::int32_t len, bool binary);

  /// Cancels subscriptions. `mlTopics` does not change. REQUIRES: a valid reactor and no null
  /// argument.
  bool UnsubscribeTopics(mqTopics_t topics, std::int32_t noTopics, bool binary);

  /// Registers the readers of the sockets that `type` names, in place of those registered before.
  /// False for an invalid reactor or a type that names no socket. If the loop refuses a reader, the
  /// process stops.
  bool SetMqSubsReader(MqDataType_e type);

  /// The handlers of text and of binary messages; null: messages are left unread.
  void SetReactorReader(pReactorReaderCallback callback) { mpReactorReaderCallback = callback; }
  void SetReactorReaderForBinaryData(pReactorReaderCallbackForBinaryData callback) {
    mpReactorReaderCallbackForBinaryData = callback;
  }

  /// Adds a timer that fires every `delay` milliseconds, `times` times, or without end if `times`
  /// is 0. Returns its id, -1 for an invalid reactor. If the loop refuses the timer, the process
  /// stops. When the loop is late, an endless timer fires only for the latest tick that is due and
  /// skips the earlier ones.
  std::int32_t AddTimer(pReactorTimerCallback handler, void* argument, std::size_t delay,
                        std::size_t times);

  /// Ends a timer. It does not fire again, even if it is due. May be called at any time, also by
  /// the timer's own handler. Does nothing if the timer has already ended.
  void EndTimer(std::int32_t timerId);

  /// Sets the number of timers that the loop accepts once it has been started.
  void SetMaxTimers(std::uint32_t maxTimers) { mlMaxTimers = maxTimers; }

  /// Registers the readers that `type` names, which must be at least one, and runs the loop until a
  /// handler or timer returns -1 or the process is interrupted (SIGINT, SIGTERM). Other signals do
  /// not end it. False at once for an invalid reactor, else true.
  bool StartLoop(MqDataType_e type);

  /// Renews the connections that the library has abandoned, which happens when a peer breaks the
  /// protocol. Logs each at Warn, once until it works again. Messages that the peer sent before are
  /// read first, for a few seconds at most. Call it several times a second.
  void TendLinks();

  /// Makes the loop handle clients of `publisher`, a bound PUB socket, when they connect, subscribe
  /// and leave. The library itself handles them only when something is sent; until then it keeps
  /// every new connection with all its queues. If the loop refuses the publisher, the process
  /// stops. REQUIRES: a valid reactor and a socket that is not watched.
  void WatchClients(zsock_t* publisher);

  /// Stops watching `publisher`; call it before the publisher is destroyed. Does nothing if it is
  /// null or not watched.
  void UnwatchClients(zsock_t* publisher);

  /// Destroys the text socket and the binary socket, if they exist. The reactor is invalid
  /// afterwards.
  void CloseMq();

  /// Readers of the two sockets, called by the loop: they receive one message from `socket` and
  /// pass it to the handler of `reactor`, a MqReactor. Frames that the handler does not get are
  /// dropped. Return 0 to continue, -1 to end the loop.
  static int ReaderCallback(zloop_t* loop, zsock_t* socket, void* reactor);
  static int ReaderCallbackForBinaryData(zloop_t* loop, zsock_t* socket, void* reactor);

  void SetSlot(std::int32_t slot) { miSlot = slot; }
  std::int32_t GetSlot() const { return miSlot; }
  void SetProbeId(std::int32_t probeId) { miProbeId = probeId; }
  std::int32_t GetProbeId() const { return miProbeId; }

  static void SetLogLevel(LogLevel_e level) { mLogLevel = level; }

  std::int32_t miSlot = -1;        // card slot; -1: not set
  std::int32_t miProbeId = 0;      // probe identifier
  zsock_t* mpSock = nullptr;       // SUB socket for text messages, owned
  zsock_t* mpSockBin = nullptr;    // SUB socket for binary messages, owned
  zloop_t* mpLoop = nullptr;       // the loop, owned
  bool mbIsValidReactor = false;   // the loop and both sockets were made and are not closed
  std::uint32_t mlTopics = 0;      // subscriptions made so far; never decreased
  std::uint32_t mlMaxTimers = 10;  // timer limit handed to the loop at its start
  std::uint32_t mlTimers = 0;      // timers added so far
  pReactorReaderCallback mpReactorReaderCallback = nullptr;  // handler of text messages; null: none
  pReactorReaderCallbackForBinaryData mpReactorReaderCallbackForBinaryData =
      nullptr;  // handler of binary messages; null: none

  static Logger* mpLogger;      // receives the log lines, set by the derived class; null: silent
  static LogLevel_e mLogLevel;  // lowest level that is logged

 private:
  zsock_t* UsableSock(bool binary) const;
  void Destroy(bool binary);
  bool Connect(bool binary, const MqEndpoint& endpoint);
  void RegisterReader(bool binary, zloop_reader_fn* reader);

  static int TimerCallback(zloop_t* loop, int timerId, void* reactor);
  static int RemoveEndedTimers(zloop_t* loop, int timerId, void* reactor);

  template <typename Operation>
  static bool Guarded(Operation operation);
  void PollLinkEvents(MqLinkWatch& links);
  void TendAfterReading(bool binary);
  static void ReportRenewal(const char* endpoint);
  static bool IsTopicTooLong(zmsg_t* message);
  template <typename Handler>
  static int ReadMessage(zsock_t* socket, Handler handler);

  // A socket that a failed connect has destroyed stays in its field. These flags mark it as
  // unusable.
  bool mbSockIsGone = false;     // `mpSock` is destroyed
  bool mbSockBinIsGone = false;  // `mpSockBin` is destroyed

  MqLinkWatch mLinks;                       // links of `mpSock`
  MqLinkWatch mBinLinks;                    // links of `mpSockBin`
  std::map<std::int32_t, MqTimer> mTimers;  // active timers by id
  std::vector<std::int32_t> mEndedTimers;   // ids of ended timers that are still in the loop
  bool mIsLooping = false;                  // the loop runs
};
