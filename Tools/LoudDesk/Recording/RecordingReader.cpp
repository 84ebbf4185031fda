// Reads the file, decompresses it and decodes the messages.

#include "RecordingReader.h"

#include <zstd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "RecordingFormat.h"

namespace louddesk {
namespace {

constexpr std::size_t kBytesAtOnce = 1 << 16;

constexpr std::uint64_t kLongestTime = 3155760000ULL * 1000000;  // us, a hundred years

constexpr char kCutOff[] = "the recording is cut off";

}  // namespace

void RecordingReader::FreeContext::operator()(ZSTD_DCtx_s* context) const {
  ZSTD_freeDCtx(context);
}

RecordingReader::RecordingReader(std::istream& in) : mIn(in), mContext(ZSTD_createDCtx()) {
  ZSTD_DCtx_setParameter(mContext.get(), ZSTD_d_windowLogMax, kReaderWindowLog);
  std::array<char, sizeof kRecordingMark> mark{};
  if (!Take(mark.data(), mark.size()) ||
      std::memcmp(mark.data(), kRecordingMark, mark.size()) != 0 || !TakeNumber(mHead.meterSet) ||
      !TakeNumber(mHead.cluster) || !TakeNumber(mHead.start))
    throw RecordingError("not a recording, or a recording of another version");
}

RecordingReader::~RecordingReader() = default;

std::optional<RecordedMessage> RecordingReader::Next() {
  RecordedMessage message;
  if (mHasEnded || !TakeMessage(message)) {
    mHasEnded = true;
    return std::nullopt;
  }
  mEndTime = message.time;
  return message;
}

bool RecordingReader::TakeMessage(RecordedMessage& message) {
  std::uint8_t sender = 0;
  if (!TakeNumber(sender))
    return false;
  if (sender == kEndMark) {
    TakeEnd();
    return false;
  }
  if (sender > kLastSender) {
    Damaged("unknown sender " + std::to_string(sender));
    return false;
  }
  message.sender = static_cast<Sender>(sender);
  return TakeTime(message.time) && TakeFrames(message);
}

bool RecordingReader::TakeFrames(RecordedMessage& message) {
  std::uint16_t count = 0;
  if (!TakeNumber(count))
    return false;
  std::size_t left = kLargestMessage;
  for (unsigned i = 0; i < count; ++i) {
    std::uint32_t size = 0;
    if (!TakeNumber(size))
      return false;
    if (left < kFrameHeadSize || size > left - kFrameHeadSize) {
      Damaged("a message of more than " + std::to_string(kLargestMessage) + " bytes");
      return false;
    }
    left -= kFrameHeadSize + size;
    if (!TakeText(message.frames.emplace_back(), size))
      return false;
  }
  if (count == 0)
    Damaged("a message without frames");
  return count != 0;
}

void RecordingReader::TakeEnd() {
  std::uint64_t time = 0;
  if (!TakeTime(time))
    return;
  mEndTime = time;
  char more = 0;
  if (Take(&more, 1))
    mFlaw = "something follows the end of the recording";
  else if (mFlaw == kCutOff)
    mFlaw.clear();
}

// Users of the times compute differences, which must not overflow.
bool RecordingReader::TakeTime(std::uint64_t& time) {
  if (!TakeNumber(time))
    return false;
  if (time < mEndTime || time > kLongestTime) {
    Damaged(time < mEndTime ? "the time goes back" : "a time of more than a hundred years");
    return false;
  }
  return true;
}

void RecordingReader::Damaged(const std::string& reason) {
  mFlaw = "the recording is damaged: " + reason;
}

template <typename Number>
bool RecordingReader::TakeNumber(Number& number) {
  std::array<unsigned char, sizeof number> bytes{};
  if (!Take(bytes.data(), bytes.size()))
    return false;
  std::uint64_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;)
    value = value << 8 | bytes[i];
  number = static_cast<Number>(value);
  return true;
}

// Reads in pieces, so that memory grows with the data and not with the size that the file claims.
bool RecordingReader::TakeText(std::string& text, std::size_t size) {
  while (text.size() < size) {
    const std::size_t before = text.size();
    const std::size_t piece = std::min(size - before, kBytesAtOnce);
    text.resize(before + piece);
    if (!Take(&text[before], piece))
      return false;
  }
  return true;
}

bool RecordingReader::Take(void* bytes, std::size_t size) {
  auto* place = static_cast<char*>(bytes);
  while (size > 0) {
    if (mPlainTaken == mPlain.size() && !Decompress())
      return false;
    const std::size_t piece = std::min(size, mPlain.size() - mPlainTaken);
    std::memcpy(place, mPlain.data() + mPlainTaken, piece);
    mPlainTaken += piece;
    place += piece;
    size -= piece;
  }
  return true;
}

// Provides more decompressed bytes; false when the file has no more or cannot be decompressed.
bool RecordingReader::Decompress() {
  mPlain.resize(kBytesAtOnce);
  mPlainTaken = 0;
  ZSTD_outBuffer out = {mPlain.data(), mPlain.size(), 0};
  while (out.pos == 0) {
    // The decoder may still hold output that did not fit into the buffer.
    ZSTD_inBuffer in = {mInput.data(), mInput.size(), mInputTaken};
    const std::size_t result = ZSTD_decompressStream(mContext.get(), &out, &in);
    mInputTaken = in.pos;
    if (ZSTD_isError(result) != 0) {
      Damaged(ZSTD_getErrorName(result));
      mPlain.clear();
      return false;
    }
    if (out.pos == 0 && mInputTaken == mInput.size() && !FillInput()) {
      mFlaw = kCutOff;
      mPlain.clear();
      return false;
    }
  }
  mPlain.resize(out.pos);
  return true;
}

bool RecordingReader::FillInput() {
  mInput.resize(kBytesAtOnce);
  mIn.read(mInput.data(), static_cast<std::streamsize>(mInput.size()));
  mInput.resize(static_cast<std::size_t>(mIn.gcount()));
  mInputTaken = 0;
  return !mInput.empty();
}

}  // namespace louddesk
