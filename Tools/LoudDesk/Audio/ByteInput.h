// The bytes of a file, a pipe or standard input, with look-ahead. One reader per source.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace louddesk {

class ByteInput {
 public:
  /// Opens a path at its start; "-" is standard input at its current position. Throws
  /// `AudioFileError` if the path is missing, empty, a directory, a device or not readable.
  explicit ByteInput(const std::string& path);
  ~ByteInput();
  ByteInput(const ByteInput&) = delete;
  ByteInput& operator=(const ByteInput&) = delete;

  /// The opened path.
  const std::string& Path() const { return mPath; }

  /// Whether `SeekTo` is possible. False for a pipe.
  bool CanSeek() const { return mSize.has_value(); }

  /// Total number of bytes, if known.
  std::optional<std::uint64_t> Size() const { return mSize; }

  /// Number of bytes read or skipped so far.
  std::uint64_t Position() const { return mPosition; }

  /// Buffers the next `count` bytes and returns how many are available, which is less only at the
  /// end.
  std::size_t Ahead(std::size_t count);

  /// The bytes buffered by `Ahead`. Valid until the next call of another member.
  const unsigned char* Bytes() const { return mAhead.data() + mAheadBegin; }

  /// Skips up to `count` bytes; fewer only at the end.
  void Skip(std::uint64_t count);

  /// Reads up to `count` bytes. Returns their number, 0 at the end.
  std::size_t Read(unsigned char* bytes, std::size_t count);

  /// Moves to a position. REQUIRES: `CanSeek`.
  void SeekTo(std::uint64_t position);

  /// Throws `AudioFileError` if reading failed. Other members treat such a failure as the end.
  void CheckErrors() const;

 private:
  std::size_t AheadSize() const { return mAhead.size() - mAheadBegin; }
  std::size_t ReadDirectly(unsigned char* bytes, std::size_t count);

  std::string mPath;
  int mFile = -1;
  std::uint64_t mBegin = 0;  // file offset of position 0: standard input may have been read before
  std::optional<std::uint64_t> mSize;  // nothing: a pipe
  std::uint64_t mPosition = 0;
  std::vector<unsigned char> mAhead;  // bytes read from the source
  std::size_t mAheadBegin = 0;        // start of those not yet taken
  int mError = 0;                     // errno of the first failed read
};

}  // namespace louddesk
