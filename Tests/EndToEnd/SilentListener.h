// A listener that never answers: the kernel accepts connections, but they are never read.

#pragma once

#include <string>

class SilentListener {
 public:
  /// Listens at a ZeroMQ endpoint (tcp://ADDRESS:PORT or ipc://PATH); replaces an old socket file.
  /// Throws std::system_error when it cannot listen.
  explicit SilentListener(const std::string& endpoint);

  /// Ends every connection.
  ~SilentListener();

  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;

 private:
  int mSocket = -1;
};
