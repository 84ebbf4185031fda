// Reads a recording message by message. The file may come from anywhere. Memory is bounded for any
// contents: a message has at most kLargestMessage bytes, and the decoder's window at most 8 MiB.

#pragma once

#include <cstdint>
#include <istream>
#include <memory>
#include <optional>
#include <string>

#include "RecordedMessage.h"

struct ZSTD_DCtx_s;

namespace louddesk {

class RecordingReader {
 public:
  /// Reads the head from `in`, which must outlive the reader. Throws RecordingError if there is no
  /// valid head.
  explicit RecordingReader(std::istream& in);
  ~RecordingReader();

  RecordingReader(const RecordingReader&) = delete;
  RecordingReader& operator=(const RecordingReader&) = delete;

  const RecordingHead& Head() const { return mHead; }

  /// The next message; nothing at the end of the recording and after it. Times never decrease and
  /// are less than a hundred years.
  std::optional<RecordedMessage> Next();

  /// After the last message: why the recording is cut off or damaged, one line for the user; empty
  /// if it was ended properly.
  const std::string& Flaw() const { return mFlaw; }

  /// The time of the end mark; without one, the time of the last message.
  std::uint64_t EndTime() const { return mEndTime; }

 private:
  bool Take(void* bytes, std::size_t size);
  bool Decompress();
  bool FillInput();
  template <typename Number>
  bool TakeNumber(Number& number);
  bool TakeText(std::string& text, std::size_t size);
  bool TakeMessage(RecordedMessage& message);
  bool TakeFrames(RecordedMessage& message);
  bool TakeTime(std::uint64_t& time);
  void TakeEnd();
  void Damaged(const std::string& reason);

  struct FreeContext {
    void operator()(ZSTD_DCtx_s* context) const;
  };

  std::istream& mIn;
  std::unique_ptr<ZSTD_DCtx_s, FreeContext> mContext;
  std::string mInput;  // compressed bytes; those before mInputTaken are used
  std::size_t mInputTaken = 0;
  std::string mPlain;  // decompressed bytes; those before mPlainTaken are used
  std::size_t mPlainTaken = 0;
  bool mHasEnded = false;
  RecordingHead mHead;
  std::string mFlaw;
  std::uint64_t mEndTime = 0;
};

}  // namespace louddesk
