// The intercepted calls. A function defined in the program replaces the library's function of the
// same name, which RTLD_NEXT finds.

#include "CzmqFaults.h"

#include <czmq.h>
#include <dlfcn.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>
#include <stdexcept>

namespace faults {
namespace {

enum class Outcome { Fail, BadAlloc, RuntimeError, Late };

struct Plan {
  std::atomic<int> count{0};  // calls so far
  std::atomic<int> due{0};    // calls until the fault; 0: none is planned
  Outcome outcome = Outcome::Fail;
  int error = 0;
  int delay = 0;  // ms
};

// A list to which the library's own threads add too: an actor destroys its socket on its thread.
template <typename Entry>
class SharedList {
 public:
  void Add(Entry entry) {
    const std::lock_guard lock(mMutex);
    mEntries.push_back(entry);
  }

  void Clear() {
    const std::lock_guard lock(mMutex);
    mEntries.clear();
  }

  std::vector<Entry> Entries() const {
    const std::lock_guard lock(mMutex);
    return mEntries;
  }

 private:
  mutable std::mutex mMutex;
  std::vector<Entry> mEntries;
};

constexpr std::size_t kCalls = static_cast<std::size_t>(Call::AskEvents) + 1;

std::array<Plan, kCalls> gPlans;
SharedList<const void*> gDestroyed;
SharedList<int> gEndedTimers;
std::atomic<int> gInterruptedSends{0};

Plan& PlanOf(Call call) {
  return gPlans[static_cast<std::size_t>(call)];
}

void Arm(Call call, int nth, Outcome outcome, int error) {
  Plan& plan = PlanOf(call);
  plan.outcome = outcome;
  plan.error = error;
  plan.due = nth;
}

// Whether the current call is passed on to the library.
bool GoesOn(Call call) {
  Plan& plan = PlanOf(call);
  ++plan.count;
  if (plan.due == 0 || --plan.due > 0)
    return true;
  if (plan.outcome == Outcome::BadAlloc)
    throw std::bad_alloc();
  if (plan.outcome == Outcome::RuntimeError)
    throw std::runtime_error(kRuntimeErrorText);
  if (plan.outcome == Outcome::Late) {
    const std::int64_t end = zclock_mono() + plan.delay;
    while (zclock_mono() < end) {
    }
    return true;
  }
  errno = plan.error;
  return false;
}

// Counts a send that a signal interrupted. Returns the result of the send.
int Noted(int result) {
  if (result == -1 && errno == EINTR)
    ++gInterruptedSends;
  return result;
}

template <typename Function>
Function* Library(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void Reset() {
  for (Plan& plan : gPlans) {
    plan.count = 0;
    plan.due = 0;
  }
  gDestroyed.Clear();
  gEndedTimers.Clear();
  gInterruptedSends = 0;
}

void Fail(Call call, int nth, int error) {
  Arm(call, nth, Outcome::Fail, error);
}

void ThrowBadAlloc(Call call, int nth) {
  Arm(call, nth, Outcome::BadAlloc, 0);
}

void ThrowRuntimeError(Call call, int nth) {
  Arm(call, nth, Outcome::RuntimeError, 0);
}

void HoldUp(Call call, int milliseconds, int nth) {
  PlanOf(call).delay = milliseconds;
  Arm(call, nth, Outcome::Late, 0);
}

int Count(Call call) {
  return PlanOf(call).count;
}

int InterruptedSends() {
  return gInterruptedSends;
}

std::vector<const void*> Destroyed() {
  return gDestroyed.Entries();
}

std::vector<int> EndedTimers() {
  return gEndedTimers.Entries();
}

}  // namespace faults

using faults::Call;
using faults::GoesOn;
using faults::Library;
using faults::Noted;

#define LIBRARY(function) Library(&function, #function)

extern "C" {

zsock_t* zsock_new_checked(int type, const char* file, size_t line) {
  return GoesOn(Call::SockNew) ? LIBRARY(zsock_new_checked)(type, file, line) : nullptr;
}

void zsock_destroy_checked(zsock_t** socket, const char* file, size_t line) {
  if (*socket != nullptr) {
    GoesOn(Call::SockDestroy);
    faults::gDestroyed.Add(*socket);
  }
  LIBRARY(zsock_destroy_checked)(socket, file, line);
}

int zsock_connect(zsock_t* socket, const char* format, ...) {
  char endpoint[4096];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(endpoint, sizeof endpoint, format, arguments);
  va_end(arguments);
  return GoesOn(Call::Connect) ? LIBRARY(zsock_connect)(socket, "%s", endpoint) : -1;
}

int zsock_bind(zsock_t* socket, const char* format, ...) {
  char endpoint[4096];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(endpoint, sizeof endpoint, format, arguments);
  va_end(arguments);
  return GoesOn(Call::Bind) ? LIBRARY(zsock_bind)(socket, "%s", endpoint) : -1;
}

int zmq_setsockopt(void* socket, int option, const void* value, size_t size) {
  return GoesOn(Call::SetOption) ? LIBRARY(zmq_setsockopt)(socket, option, value, size) : -1;
}

void zsock_set_subscribe(void* socket, const char* topic) {
  if (GoesOn(Call::Subscribe))
    LIBRARY(zsock_set_subscribe)(socket, topic);
}

void zsock_set_unsubscribe(void* socket, const char* topic) {
  if (GoesOn(Call::Unsubscribe))
    LIBRARY(zsock_set_unsubscribe)(socket, topic);
}

int zstr_sendm(void* socket, const char* text) {
  return GoesOn(Call::SendPart) ? Noted(LIBRARY(zstr_sendm)(socket, text)) : -1;
}

int zstr_send(void* socket, const char* text) {
  return GoesOn(Call::SendLast) ? Noted(LIBRARY(zstr_send)(socket, text)) : -1;
}

int zsock_send(void* socket, const char* picture, ...) {
  if (!GoesOn(Call::SendPicture))
    return -1;
  va_list arguments;
  va_start(arguments, picture);
  const int result = Noted(zsock_vsend(socket, picture, arguments));
  va_end(arguments);
  return result;
}

zframe_t* zframe_new(const void* data, size_t size) {
  return GoesOn(Call::FrameNew) ? LIBRARY(zframe_new)(data, size) : nullptr;
}

int zframe_send(zframe_t** frame, void* socket, int flags) {
  return GoesOn(Call::FrameSend) ? Noted(LIBRARY(zframe_send)(frame, socket, flags)) : -1;
}

zframe_t* zframe_recv_nowait(void* socket) {
  return GoesOn(Call::FrameReceive) ? LIBRARY(zframe_recv_nowait)(socket) : nullptr;
}

char* zmsg_popstr(zmsg_t* message) {
  return GoesOn(Call::PopText) ? LIBRARY(zmsg_popstr)(message) : nullptr;
}

zloop_t* zloop_new(void) {
  return GoesOn(Call::LoopNew) ? LIBRARY(zloop_new)() : nullptr;
}

void zloop_destroy(zloop_t** loop) {
  if (*loop != nullptr) {
    GoesOn(Call::LoopDestroy);
    faults::gDestroyed.Add(*loop);
  }
  LIBRARY(zloop_destroy)(loop);
}

int zloop_reader(zloop_t* loop, zsock_t* socket, zloop_reader_fn handler, void* argument) {
  return GoesOn(Call::LoopReader) ? LIBRARY(zloop_reader)(loop, socket, handler, argument) : -1;
}

int zloop_poller(zloop_t* loop, zmq_pollitem_t* item, zloop_fn handler, void* argument) {
  return GoesOn(Call::LoopPoller) ? LIBRARY(zloop_poller)(loop, item, handler, argument) : -1;
}

void zloop_reader_set_tolerant(zloop_t* loop, zsock_t* socket) {
  if (GoesOn(Call::LoopTolerant))
    LIBRARY(zloop_reader_set_tolerant)(loop, socket);
}

int zloop_timer(zloop_t* loop, size_t delay, size_t times, zloop_timer_fn handler, void* argument) {
  return GoesOn(Call::LoopTimer) ? LIBRARY(zloop_timer)(loop, delay, times, handler, argument) : -1;
}

int zloop_timer_end(zloop_t* loop, int timer) {
  faults::gEndedTimers.Add(timer);
  return GoesOn(Call::LoopTimerEnd) ? LIBRARY(zloop_timer_end)(loop, timer) : -1;
}

int zloop_start(zloop_t* loop) {
  return GoesOn(Call::LoopStart) ? LIBRARY(zloop_start)(loop) : 0;
}

int zmq_socket_monitor(void* socket, const char* endpoint, int events) {
  return GoesOn(Call::Monitor) ? LIBRARY(zmq_socket_monitor)(socket, endpoint, events) : -1;
}

int zmq_msg_recv(zmq_msg_t* frame, void* socket, int flags) {
  return GoesOn(Call::EventReceive) ? LIBRARY(zmq_msg_recv)(frame, socket, flags) : -1;
}

int zmq_getsockopt(void* socket, int option, void* value, size_t* size) {
  return option != ZMQ_EVENTS || GoesOn(Call::AskEvents)
             ? LIBRARY(zmq_getsockopt)(socket, option, value, size)
             : -1;
}

}  // extern "C"
