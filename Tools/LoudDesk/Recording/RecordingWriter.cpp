// Encodes messages, compresses them and writes the file.

#include "RecordingWriter.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zstd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "RecordingFormat.h"

namespace louddesk {
namespace {

// Takes little time at ten blocks a second. Higher levels do not compress such data better.
constexpr int kCompressionLevel = 9;

constexpr unsigned kFlushesPerFrame = 60;

// Uncompressed bytes collected before they go to the compressor.
constexpr std::size_t kPlainAtOnce = 1 << 16;

constexpr mode_t kFileMode = 0666;  // reduced by the user's umask

// Appends an unsigned little-endian number.
template <typename Number>
void Append(std::string& bytes, Number number) {
  for (std::size_t i = 0; i < sizeof number; ++i)
    bytes.push_back(static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i)));
}

// How long a reader that takes nothing is waited for after the user has given up.
constexpr int kLastPatienceMs = 2000;
constexpr int kPatienceMs = 100;

[[noreturn]] void Fail(const std::string& path) {
  throw RecordingError(path + ": " + std::strerror(errno));
}

bool IsPipe(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

// A pipe does not block, so that a reader that takes nothing can be given up.
int MakeFile(const std::string& path) {
  const int usage = IsPipe(path) ? O_NONBLOCK : O_CREAT | O_EXCL;
  const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | usage, kFileMode);
  if (descriptor == -1 && errno == ENXIO)
    throw RecordingError(path + ": the pipe has no reader");
  if (descriptor == -1)
    Fail(path);
  return descriptor;
}

}  // namespace

void RecordingWriter::FreeContext::operator()(ZSTD_CCtx_s* context) const {
  ZSTD_freeCCtx(context);
}

RecordingWriter::RecordingWriter(const std::string& path, const RecordingHead& head,
                                 IsGivenUp isGivenUp)
    : mPath(path),
      mIsGivenUp(std::move(isGivenUp)),
      mDescriptor(MakeFile(path)),
      mContext(ZSTD_createCCtx()) {
  ZSTD_CCtx_setParameter(mContext.get(), ZSTD_c_compressionLevel, kCompressionLevel);
  ZSTD_CCtx_setParameter(mContext.get(), ZSTD_c_windowLog, kWriterWindowLog);
  ZSTD_CCtx_setParameter(mContext.get(), ZSTD_c_checksumFlag, 1);
  mPlain.assign(kRecordingMark, sizeof kRecordingMark);
  Append(mPlain, head.meterSet);
  Append(mPlain, head.cluster);
  Append(mPlain, head.start);
}

RecordingWriter::~RecordingWriter() {
  close(mDescriptor);
}

void RecordingWriter::Write(const RecordedMessage& message) {
  mPlain.push_back(static_cast<char>(message.sender));
  Append(mPlain, message.time);
  Append(mPlain, static_cast<std::uint16_t>(message.frames.size()));
  for (const std::string& frame : message.frames) {
    Append(mPlain, static_cast<std::uint32_t>(frame.size()));
    mPlain += frame;
  }
  if (mPlain.size() >= kPlainAtOnce)
    Compress(ZSTD_e_continue);
}

void RecordingWriter::Flush() {
  ++mFlushes;
  const bool endsFrame = mFlushes == kFlushesPerFrame;
  Compress(endsFrame ? ZSTD_e_end : ZSTD_e_flush);
  if (endsFrame)
    mFlushes = 0;
}

void RecordingWriter::Finish(std::uint64_t time) {
  mPlain.push_back(static_cast<char>(kEndMark));
  Append(mPlain, time);
  Compress(ZSTD_e_end);
}

void RecordingWriter::Compress(int directive) {
  std::array<char, 1 << 16> buffer;
  ZSTD_inBuffer in = {mPlain.data(), mPlain.size(), 0};
  for (std::size_t left = 1; left != 0;) {
    ZSTD_outBuffer out = {buffer.data(), buffer.size(), 0};
    left =
        ZSTD_compressStream2(mContext.get(), &out, &in, static_cast<ZSTD_EndDirective>(directive));
    if (ZSTD_isError(left) != 0)
      throw RecordingError(mPath + ": " + ZSTD_getErrorName(left));
    WriteOut(buffer.data(), out.pos);
    if (directive == ZSTD_e_continue && in.pos == in.size)
      break;
  }
  mPlain.clear();
}

void RecordingWriter::WriteOut(const char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(mDescriptor, bytes, size);
    if (written == -1 && errno == EINTR)
      continue;
    if (written == -1 && errno == EAGAIN) {
      AwaitReader();
      continue;
    }
    if (written == -1)
      Fail(mPath);
    bytes += written;
    size -= static_cast<std::size_t>(written);
    mSize += static_cast<std::uint64_t>(written);
  }
}

// Waits until the pipe takes more.
void RecordingWriter::AwaitReader() const {
  pollfd writable = {mDescriptor, POLLOUT, 0};
  while (poll(&writable, 1, kPatienceMs) <= 0)
    if (mIsGivenUp && mIsGivenUp() && poll(&writable, 1, kLastPatienceMs) <= 0)
      throw RecordingError(mPath + ": the pipe's reader takes nothing");
}

}  // namespace louddesk
