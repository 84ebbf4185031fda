// The bytes of a file, of a pipe or of standard input, with a look ahead. One reader per source.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace louddesk {

class ByteInput {
 public:
  /// Opens a path at its beginning; "-" is standard input from where it stands. Throws
  /// `AudioFileError` for what is missing, empty, a directory, a device or may not be read.
  explicit ByteInput(const std::string& path);
  ~ByteInput();
  ByteInput(const ByteInput&) = delete;
  ByteInput& operator=(const ByteInput&) = delete;

  /// The path that was opened.
  const std::string& Path() const { return mPath; }

  /// Whether any position can be read; not of a pipe.
  bool CanSeek() const { return mSize.has_value(); }

  /// Bytes in all, where they are known.
  std::optional<std::uint64_t> Size() const { return mSize; }

  /// Bytes read or skipped so far.
  std::uint64_t Position() const { return mPosition; }

  /// Makes `count` bytes ready to be looked at and returns how many there are: fewer only at the
  /// end.
  std::size_t Ahead(std::size_t count);

  /// The bytes that `Ahead` made ready. Valid until the next call of another member.
  const unsigned char* Bytes() const { return mAhead.data() + mAheadBegin; }

  /// Leaves out up to `count` bytes; fewer only at the end.
  void Skip(std::uint64_t count);

  /// Reads up to `count` bytes, 0 at the end.
  std::size_t Read(unsigned char* bytes, std::size_t count);

  /// Goes to a position. REQUIRES: `CanSeek`.
  void SeekTo(std::uint64_t position);

  /// Throws `AudioFileError` when bytes could not be read, which looks like an end until then.
  void CheckErrors() const;

 private:
  std::size_t AheadSize() const { return mAhead.size() - mAheadBegin; }
  std::size_t ReadDirectly(unsigned char* bytes, std::size_t count);

  std::string mPath;
  int mFile = -1;
  std::uint64_t mBegin = 0;            // of the file's positions: standard input may have been read
  std::optional<std::uint64_t> mSize;  // nothing: a pipe
  std::uint64_t mPosition = 0;
  std::vector<unsigned char> mAhead;  // read, but not yet taken
  std::size_t mAheadBegin = 0;        // what of that has been taken
  int mError = 0;                     // errno of the first read that failed
};

}  // namespace louddesk
