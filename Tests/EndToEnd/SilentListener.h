// A listener that never answers: the kernel accepts connections, but they are never read.

#pragma once

#include <string>

class SilentListener {
 public:
  /// Listens at an endpoint as ZeroMQ writes it, of TCP or of a file whose old socket is replaced.
  /// Throws std::system_error when it cannot.
  explicit SilentListener(const std::string& endpoint);

  /// Ends every connection.
  ~SilentListener();

  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;

 private:
  int mSocket = -1;
};
