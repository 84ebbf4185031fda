// The service manager that started the process, if it is one that wants to hear of it: by the
// datagram protocol of systemd, sd_notify(3). Without such a manager nothing happens.

#pragma once

#include <string>

class ServiceManager {
 public:
  /// Takes the manager's address from NOTIFY_SOCKET, and from WATCHDOG_USEC and WATCHDOG_PID
  /// whether it wants signs of life. Processes started by this one do not get them.
  ServiceManager();
  ~ServiceManager();
  ServiceManager(const ServiceManager&) = delete;
  ServiceManager& operator=(const ServiceManager&) = delete;

  /// Whether there is a manager to be told.
  bool IsPresent() const { return mFd != -1; }

  /// The service runs: "READY=1", once, however often it is called. If the manager has no
  /// room for the message, the next call sends it again.
  void TellReady();

  /// The service is about to end: "STOPPING=1".
  void TellStopping();

  /// The event loop runs: "WATCHDOG=1", where the manager wants it. To be called several times in
  /// the manager's period, from the loop itself: a loop that hangs is to be noticed.
  void TellAlive();

 private:
  bool Tell(const char* state) const;

  int mFd = -1;               // datagram socket; -1: there is no manager
  std::string mAddress;       // socket name, with a zero byte in front for an abstract one
  bool mWantsLife = false;    // the manager watches over the loop
  bool mIsReadyTold = false;  // "READY=1" was taken
};
