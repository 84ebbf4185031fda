// The gate's event loop: runs actions for sockets, descriptors and timers on one thread. An action
// must not block.

#pragma once

#include <czmq.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>

namespace loudgate {

class EventLoop {
 public:
  using Action = std::function<void()>;

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Calls `action` whenever there is something to read, until Unwatch. REQUIRES: it is not watched
  /// yet, and stays open until Unwatch.
  void Watch(zsock_t* socket, Action action);
  void Watch(int descriptor, Action action);

  void Unwatch(zsock_t* socket);
  void Unwatch(int descriptor);

  /// Calls `action` every `period`. Calls that a busy machine has missed are made up for at once.
  void Every(std::chrono::milliseconds period, Action action);

  /// Calls `action` once, after `delay` or later.
  void After(std::chrono::milliseconds delay, Action action);

  /// Runs until End is called.
  void Run();

  /// Makes Run return after the current action.
  void End() { mIsEnding = true; }

 private:
  struct Entry;

  static int OnSocket(zloop_t* loop, zsock_t* socket, void* entry);
  static int OnDescriptor(zloop_t* loop, zmq_pollitem_t* item, void* entry);
  static int OnTimer(zloop_t* loop, int timer, void* entry);

  std::shared_ptr<Entry> NewEntry(Action action);
  static int Do(void* entry);
  void AddTimer(std::chrono::milliseconds delay, std::size_t times, Action action);

  zloop_t* mLoop;
  bool mIsEnding = false;
  std::map<zsock_t*, std::shared_ptr<Entry>> mSockets;
  std::map<int, std::shared_ptr<Entry>> mDescriptors;
  std::map<Entry*, std::shared_ptr<Entry>> mTimers;
};

}  // namespace loudgate
