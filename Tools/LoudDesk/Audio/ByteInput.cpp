// Reads bytes with system calls.

#include "ByteInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "AudioFileError.h"

namespace louddesk {
namespace {

constexpr std::size_t kPiece = 65536;

int OpenPath(const std::string& path) {
  if (path == kStandardInput)
    return dup(STDIN_FILENO);
  return open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

bool IsPipe(const struct stat& status) {
  return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode);
}

// Called before opening, because opening a device may have side effects. A terminal is a device
// too.
void CheckKind(const std::string& path, const struct stat& status) {
  if (S_ISDIR(status.st_mode))
    throw AudioFileError(path, "is a directory");
  if (!S_ISREG(status.st_mode) && !IsPipe(status))
    throw AudioFileError(path, "is neither a file nor a pipe");
  if (S_ISREG(status.st_mode) && status.st_size == 0)
    throw AudioFileError(path, "is empty");
}

struct stat StatusOf(const std::string& path) {
  struct stat status {};
  const bool isKnown =
      path == kStandardInput ? fstat(STDIN_FILENO, &status) == 0 : stat(path.c_str(), &status) == 0;
  if (!isKnown && errno == ENOENT)
    throw AudioFileError(path, "no such file");
  if (!isKnown)
    throw AudioFileError(path, std::string("cannot be opened: ") + std::strerror(errno));
  return status;
}

}  // namespace

ByteInput::ByteInput(const std::string& path) : mPath(path) {
  const struct stat status = StatusOf(path);
  CheckKind(path, status);
  mFile = OpenPath(path);
  if (mFile < 0)
    throw AudioFileError(path, std::string("cannot be opened: ") + std::strerror(errno));
  const off_t begin = lseek(mFile, 0, SEEK_CUR);
  if (!S_ISREG(status.st_mode) || begin < 0)
    return;
  mBegin = static_cast<std::uint64_t>(begin);
  mSize = static_cast<std::uint64_t>(std::max(status.st_size - begin, off_t{0}));
}

ByteInput::~ByteInput() {
  if (mFile >= 0)
    close(mFile);
}

std::size_t ByteInput::Ahead(std::size_t count) {
  if (mAheadBegin > 0 && AheadSize() < count) {
    mAhead.erase(mAhead.begin(), mAhead.begin() + static_cast<std::ptrdiff_t>(mAheadBegin));
    mAheadBegin = 0;
  }
  while (AheadSize() < count) {
    const std::size_t held = mAhead.size();
    mAhead.resize(held + kPiece);
    const std::size_t got = ReadDirectly(mAhead.data() + held, kPiece);
    mAhead.resize(held + got);
    if (got == 0)
      break;
  }
  return std::min(AheadSize(), count);
}

void ByteInput::Skip(std::uint64_t count) {
  const std::uint64_t held = std::min<std::uint64_t>(count, AheadSize());
  mAheadBegin += static_cast<std::size_t>(held);
  mPosition += held;
  count -= held;
  if (count > 0 && CanSeek()) {
    SeekTo(std::min(mPosition + count, *mSize));
    return;
  }
  std::array<unsigned char, kPiece> bytes;
  while (count > 0) {
    const std::size_t got =
        Read(bytes.data(), static_cast<std::size_t>(std::min<std::uint64_t>(count, kPiece)));
    if (got == 0)
      return;
    count -= got;
  }
}

std::size_t ByteInput::Read(unsigned char* bytes, std::size_t count) {
  std::size_t got = std::min(count, AheadSize());
  if (got > 0) {
    std::memcpy(bytes, Bytes(), got);
    mAheadBegin += got;
  } else {
    got = ReadDirectly(bytes, count);
  }
  mPosition += got;
  return got;
}

void ByteInput::SeekTo(std::uint64_t position) {
  mAhead.clear();
  mAheadBegin = 0;
  mPosition = position;
  if (lseek(mFile, static_cast<off_t>(mBegin + position), SEEK_SET) < 0)
    mError = errno;
}

std::size_t ByteInput::ReadDirectly(unsigned char* bytes, std::size_t count) {
  ssize_t got = -1;
  do
    got = read(mFile, bytes, count);
  while (got < 0 && errno == EINTR);
  if (got < 0 && mError == 0)
    mError = errno;
  return got > 0 ? static_cast<std::size_t>(got) : 0;
}

void ByteInput::CheckErrors() const {
  if (mError != 0)
    throw AudioFileError(mPath, std::string("cannot be read: ") + std::strerror(mError));
}

}  // namespace louddesk
