// Bytes that may be several concatenated streams, each with its own headers: an Ogg chain or joined
// MP3 files. The demuxer treats each of these links as a file.

#pragma once

#include <cstddef>

#include "ByteInput.h"

namespace louddesk {

class LinkInput {
 public:
  virtual ~LinkInput() = default;
  LinkInput(const LinkInput&) = delete;
  LinkInput& operator=(const LinkInput&) = delete;

  /// libavformat's name of the container; null if it must be detected from the bytes.
  virtual const char* Container() const = 0;

  /// The input, if the demuxer may seek in it; null if it must read in order.
  virtual ByteInput* Seekable() { return nullptr; }

  /// Reads up to `count` bytes of the link. Returns their number, 0 at the end of the link.
  virtual std::size_t Read(unsigned char* bytes, std::size_t count) = 0;

  /// Moves on to the next link. Returns false if there is none. REQUIRES: the link has been read to
  /// its end.
  virtual bool NextLink() = 0;

  /// Whether the link's bytes show that it is truncated. Known at its end.
  virtual bool EndsEarly() const { return false; }

  /// The fraction of the link's bytes that its header declares and the file lacks, 0 ... 1; 0 if it
  /// declares no size. Known at its end.
  virtual double LackingShare() const { return 0.0; }

 protected:
  LinkInput() = default;
};

}  // namespace louddesk
