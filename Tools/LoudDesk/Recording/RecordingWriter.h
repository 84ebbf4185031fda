// Writes a recording whose file can be read up to the last flush at any time.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "RecordedMessage.h"

struct ZSTD_CCtx_s;

namespace louddesk {

class RecordingWriter {
 public:
  /// Tells that the user no longer wants to wait for a stalled reader of the recording.
  using IsGivenUp = std::function<bool()>;

  /// Creates the file, which must not exist yet, or opens a named pipe that has a reader. Throws
  /// RecordingError.
  RecordingWriter(const std::string& path, const RecordingHead& head, IsGivenUp isGivenUp = {});

  /// Closes the file without an end mark or another flush.
  ~RecordingWriter();

  RecordingWriter(const RecordingWriter&) = delete;
  RecordingWriter& operator=(const RecordingWriter&) = delete;

  /// Adds a message; it is in the file after the next flush. Throws RecordingError.
  /// REQUIRES: FitsRecording(message.frames).
  void Write(const RecordedMessage& message);

  /// Makes everything written so far readable in the file. Every sixtieth flush also ends the
  /// compressed frame, which gets a checksum. Throws RecordingError.
  void Flush();

  /// Writes the end mark with `time`, microseconds since the start. Throws RecordingError.
  void Finish(std::uint64_t time);

  /// Bytes in the file.
  std::uint64_t Size() const { return mSize; }

 private:
  void Compress(int directive);
  void WriteOut(const char* bytes, std::size_t size);
  void AwaitReader() const;

  struct FreeContext {
    void operator()(ZSTD_CCtx_s* context) const;
  };

  std::string mPath;
  IsGivenUp mIsGivenUp;
  int mDescriptor;
  std::unique_ptr<ZSTD_CCtx_s, FreeContext> mContext;
  std::string mPlain;       // not compressed yet
  std::uint64_t mSize = 0;  // bytes written
  unsigned mFlushes = 0;    // since the beginning of the compressed frame
};

}  // namespace louddesk
