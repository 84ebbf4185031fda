// Notifications to the service manager that started the process, in the datagram protocol of
// systemd, sd_notify(3). Without such a manager nothing happens.

#pragma once

#include <string>

class ServiceManager {
 public:
  /// Reads NOTIFY_SOCKET for the manager's address, and WATCHDOG_USEC and WATCHDOG_PID for whether
  /// it expects keep-alive messages. Removes the three variables, so that child processes do not
  /// inherit them.
  ServiceManager();
  ~ServiceManager();
  ServiceManager(const ServiceManager&) = delete;
  ServiceManager& operator=(const ServiceManager&) = delete;

  /// Whether there is a manager to notify.
  bool IsPresent() const { return mFd != -1; }

  /// Sends "READY=1": the service runs. Sends it once. If the manager has no room for the message,
  /// the next call tries again.
  void NotifyReady();

  /// Sends "STOPPING=1": the service is about to end.
  void NotifyStopping();

  /// Sends "WATCHDOG=1", if the manager expects it: the event loop runs. Call it several times in
  /// the manager's period, and from the loop itself, so that the manager notices a loop that hangs.
  void NotifyAlive();

 private:
  bool Send(const char* state) const;

  int mFd = -1;                  // datagram socket; -1: no manager
  std::string mAddress;          // socket name, with a zero byte in front for an abstract one
  bool mWantsKeepAlive = false;  // the manager expects "WATCHDOG=1"
  bool mIsReadySent = false;     // "READY=1" was sent
};
