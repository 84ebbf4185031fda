// Faults of the messaging library on demand. In a test program that links this unit, the calls
// below are counted and fail or throw on request; all other calls go to the library.

#pragma once

#include <vector>

namespace faults {

enum class Call {
  SockNew,       // zsock_new
  SockDestroy,   // zsock_destroy of a socket
  Connect,       // zsock_connect
  Bind,          // zsock_bind
  SetOption,     // zmq_setsockopt, also by the library itself
  Subscribe,     // zsock_set_subscribe
  Unsubscribe,   // zsock_set_unsubscribe
  SendPart,      // zstr_sendm
  SendLast,      // zstr_send
  SendPicture,   // zsock_send
  FrameNew,      // zframe_new
  FrameSend,     // zframe_send
  FrameReceive,  // zframe_recv_nowait
  PopText,       // zmsg_popstr
  LoopNew,       // zloop_new
  LoopDestroy,   // zloop_destroy of a loop
  LoopReader,    // zloop_reader
  LoopPoller,    // zloop_poller
  LoopTolerant,  // zloop_reader_set_tolerant
  LoopTimer,     // zloop_timer
  LoopTimerEnd,  // zloop_timer_end
  LoopStart,     // zloop_start
  Monitor,       // zmq_socket_monitor
  EventReceive,  // zmq_msg_recv, which reads the events of links
  AskEvents,     // zmq_getsockopt with ZMQ_EVENTS
};

/// Description of the exceptions that ThrowRuntimeError throws.
constexpr char kRuntimeErrorText[] = "provoked by the test";

/// Forgets all faults, counts and destroyed objects.
void Reset();

/// Makes the nth call from now fail like the library's: null or -1, with `error` in errno.
void Fail(Call call, int nth = 1, int error = 0);

/// The nth call from now throws std::bad_alloc, std::runtime_error.
void ThrowBadAlloc(Call call, int nth = 1);
void ThrowRuntimeError(Call call, int nth = 1);

/// The nth call from now is passed on to the library after `milliseconds`.
void HoldUp(Call call, int milliseconds, int nth = 1);

/// Number of calls since the last Reset, failed ones included.
int Count(Call call);

/// Number of the library's sends that signals have interrupted since the last Reset, without
/// planned faults.
int InterruptedSends();

/// Sockets and loops destroyed since the last Reset, in that order.
std::vector<const void*> Destroyed();

/// Ids of the timers ended since the last Reset, in that order.
std::vector<int> EndedTimers();

}  // namespace faults
