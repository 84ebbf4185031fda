// Writes a recording so that at any moment the file can be read up to the last flush.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "RecordedMessage.h"

struct ZSTD_CCtx_s;

namespace louddesk {

class RecordingWriter {
 public:
  /// Makes the file, which must not exist yet. Throws RecordingError.
  RecordingWriter(const std::string& path, const RecordingHead& head);

  /// Closes the file as it is.
  ~RecordingWriter();

  RecordingWriter(const RecordingWriter&) = delete;
  RecordingWriter& operator=(const RecordingWriter&) = delete;

  /// Takes a message; it is in the file after the next flush. Throws RecordingError.
  /// REQUIRES: FitsRecording(message.frames).
  void Write(const RecordedMessage& message);

  /// From now on the file can be read up to here. Every sixtieth time the compressed frame ends
  /// too, with a checksum. Throws RecordingError.
  void Flush();

  /// Marks the end, at `time` in microseconds since the start. Throws RecordingError.
  void Finish(std::uint64_t time);

  /// Bytes in the file.
  std::uint64_t Size() const { return mSize; }

 private:
  void Compress(int directive);
  void WriteOut(const char* bytes, std::size_t size);

  struct FreeContext {
    void operator()(ZSTD_CCtx_s* context) const;
  };

  std::string mPath;
  int mDescriptor;
  std::unique_ptr<ZSTD_CCtx_s, FreeContext> mContext;
  std::string mPlain;       // not compressed yet
  std::uint64_t mSize = 0;  // bytes written
  unsigned mFlushes = 0;    // since the compressed frame began
};

}  // namespace louddesk
