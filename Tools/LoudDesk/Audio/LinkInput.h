// Bytes that may be several streams one behind the other, each with headers of its own: an Ogg
// chain, or MP3 files that were joined. Each of these links is a file for a demuxer.

#pragma once

#include <cstddef>

#include "ByteInput.h"

namespace louddesk {

class LinkInput {
 public:
  virtual ~LinkInput() = default;
  LinkInput(const LinkInput&) = delete;
  LinkInput& operator=(const LinkInput&) = delete;

  /// libavformat's name of the container; null where the bytes have to tell.
  virtual const char* Container() const = 0;

  /// The input whose positions the demuxer may go to; null where it has to read in order.
  virtual ByteInput* Seekable() { return nullptr; }

  /// Reads up to `count` bytes of the link, 0 at its end.
  virtual std::size_t Read(unsigned char* bytes, std::size_t count) = 0;

  /// Goes on to the next link; false when there is none. REQUIRES: the link has been read to its
  /// end.
  virtual bool NextLink() = 0;

  /// Whether the bytes of the link show that its end is missing. Known at its end.
  virtual bool EndsEarly() const { return false; }

 protected:
  LinkInput() = default;
};

}  // namespace louddesk
