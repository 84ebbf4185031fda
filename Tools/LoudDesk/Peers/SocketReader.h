// What the stand-in's wait looks at: one socket each, read without ever waiting.

#pragma once

#include <czmq.h>

namespace louddesk {

class SocketReader {
 public:
  virtual ~SocketReader() = default;

  /// The socket to poll; null while there is none.
  virtual zsock_t* Socket() const = 0;

  /// Takes everything that has arrived.
  virtual void ReadPending() = 0;
};

}  // namespace louddesk
