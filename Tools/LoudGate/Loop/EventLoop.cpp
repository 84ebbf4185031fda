// Wraps CZMQ's loop. An action may end its own watch; it is kept alive until it returns.

#include "EventLoop.h"

#include <stdexcept>
#include <utility>

namespace loudgate {
namespace {

constexpr std::size_t kForever = 0;
constexpr int kGoOn = 0;
constexpr int kEnd = -1;

zmq_pollitem_t ReadItem(int descriptor) {
  return {nullptr, descriptor, ZMQ_POLLIN, 0};
}

}  // namespace

struct EventLoop::Entry : std::enable_shared_from_this<EventLoop::Entry> {
  EventLoop* loop = nullptr;
  Action action;
  bool isOnce = false;
};

EventLoop::EventLoop() : mLoop(zloop_new()) {
  if (mLoop == nullptr)
    throw std::runtime_error("no event loop can be made");
  zloop_set_nonstop(mLoop, true);
}

EventLoop::~EventLoop() {
  zloop_destroy(&mLoop);
}

std::shared_ptr<EventLoop::Entry> EventLoop::NewEntry(Action action) {
  auto entry = std::make_shared<Entry>();
  entry->loop = this;
  entry->action = std::move(action);
  return entry;
}

void EventLoop::Watch(zsock_t* socket, Action action) {
  const auto entry = mSockets[socket] = NewEntry(std::move(action));
  zloop_reader(mLoop, socket, OnSocket, entry.get());
  zloop_reader_set_tolerant(mLoop, socket);
}

void EventLoop::Watch(int descriptor, Action action) {
  const auto entry = mDescriptors[descriptor] = NewEntry(std::move(action));
  zmq_pollitem_t item = ReadItem(descriptor);
  zloop_poller(mLoop, &item, OnDescriptor, entry.get());
  zloop_poller_set_tolerant(mLoop, &item);
}

void EventLoop::Unwatch(zsock_t* socket) {
  zloop_reader_end(mLoop, socket);
  mSockets.erase(socket);
}

void EventLoop::Unwatch(int descriptor) {
  zmq_pollitem_t item = ReadItem(descriptor);
  zloop_poller_end(mLoop, &item);
  mDescriptors.erase(descriptor);
}

void EventLoop::AddTimer(std::chrono::milliseconds delay, std::size_t times, Action action) {
  const auto entry = NewEntry(std::move(action));
  entry->isOnce = times != kForever;
  mTimers[entry.get()] = entry;
  zloop_timer(mLoop, static_cast<std::size_t>(delay.count()), times, OnTimer, entry.get());
}

void EventLoop::Every(std::chrono::milliseconds period, Action action) {
  AddTimer(period, kForever, std::move(action));
}

void EventLoop::After(std::chrono::milliseconds delay, Action action) {
  AddTimer(delay, 1, std::move(action));
}

void EventLoop::Run() {
  mIsEnding = false;
  // A handled signal, such as a debugger's, also ends the library's loop.
  while (!mIsEnding)
    zloop_start(mLoop);
}

int EventLoop::Do(void* place) {
  const auto entry = static_cast<Entry*>(place)->shared_from_this();
  entry->action();
  if (entry->isOnce)
    entry->loop->mTimers.erase(entry.get());
  return entry->loop->mIsEnding ? kEnd : kGoOn;
}

int EventLoop::OnSocket(zloop_t*, zsock_t*, void* entry) {
  return Do(entry);
}

int EventLoop::OnDescriptor(zloop_t*, zmq_pollitem_t*, void* entry) {
  return Do(entry);
}

int EventLoop::OnTimer(zloop_t*, int, void* entry) {
  return Do(entry);
}

}  // namespace loudgate
