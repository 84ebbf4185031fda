// Console streams that never wait. On a full pipe stdio's own streams would block the event loop
// until somebody reads. Any thread; stdio locks the streams.

#include "Console.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <mutex>

namespace {

// A write of up to this size to a pipe is atomic. A pipe that is ready for writing has room for it.
constexpr std::size_t kPieceSize = PIPE_BUF;

// A terminal that is ready has room for a piece of this size. It may replace a control character by
// several, for example a line feed by two, and then be full, so each control character is a
// separate piece.
constexpr std::size_t kTerminalPieceSize = 64;

std::size_t TerminalPiece(const char* text, std::size_t size) {
  const char* end = text + std::min(size, kTerminalPieceSize);
  const char* control =
      std::find_if(text, end, [](char c) { return std::iscntrl(static_cast<unsigned char>(c)); });
  return control == text ? 1 : static_cast<std::size_t>(control - text);
}

// Locked from the poll to the write, because both streams may lead to the same pipe or terminal.
std::mutex gRoom;

// Writes a piece only if the descriptor has room for it now. If another process takes the room
// before the write, the write waits.
ssize_t WriteIntoRoom(int fd, const char* text, std::size_t size) {
  const std::lock_guard<std::mutex> lock(gRoom);
  pollfd room = {fd, POLLOUT, 0};
  if (poll(&room, 1, 0) == -1)
    return -1;
  if ((room.revents & POLLOUT) != 0)
    return write(fd, text, size);
  errno = EAGAIN;
  return -1;
}

// Writes a piece without waiting to a descriptor in blocking mode. Newer kernels can do so for
// pipes; everything else is polled for room.
ssize_t WriteWithoutWaiting(int fd, const char* text, std::size_t size) {
  const iovec piece = {const_cast<char*>(text), size};
  const ssize_t written = pwritev2(fd, &piece, 1, -1, RWF_NOWAIT);
  return written == -1 && errno == EOPNOTSUPP ? WriteIntoRoom(fd, text, size) : written;
}

// The destination of one of the two streams.
class Outlet {
 public:
  explicit Outlet(int standardFd) : mFd(standardFd) {}

  // Pipes and terminals are opened again in non-blocking mode. Changing the mode of the inherited
  // open file instead would affect every process that shares it. One that cannot be opened, such as
  // another user's or a named pipe without a reader, is polled before each write. A regular file
  // never makes its writer wait.
  void Prepare() {
    struct stat status {};
    if (fstat(mFd, &status) == -1)
      return;
    mIsSocket = S_ISSOCK(status.st_mode);
    if (!S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode))
      return;
    char path[32] = {};
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", mFd);
    const int own = open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    mMayWait = own == -1;
    mIsTerminal = isatty(mFd) == 1;
    if (!mMayWait)
      mFd = own;
  }

  // The writer of the stream. It reports that everything was written, so that the stream never
  // enters its error state.
  static ssize_t Write(void* outlet, const char* text, std::size_t size) {
    static_cast<Outlet*>(outlet)->Take(text, size);
    return static_cast<ssize_t>(size);
  }

 private:
  void Take(const char* text, std::size_t size) {
    const int error = errno;  // callers do not expect printing to change it
    std::size_t taken = 0;
    if (mLost == 0 || TellLoss())
      taken = WritePieces(text, size);
    mLost += size - taken;
    errno = error;
  }

  // Begins with a line feed, because the lost part may have ended in the middle of a line.
  bool TellLoss() {
    char line[64] = {};
    const auto length = static_cast<std::size_t>(
        std::snprintf(line, sizeof line, "\n[%llu bytes of console output lost]\n", mLost));
    if (WritePieces(line, length) != length)
      return false;
    mLost = 0;
    return true;
  }

  // Writes as many bytes as the descriptor accepts now and returns their number.
  std::size_t WritePieces(const char* text, std::size_t size) const {
    std::size_t taken = 0;
    while (taken < size) {
      const ssize_t written = WriteNow(text + taken, PieceSize(text + taken, size - taken));
      if (written <= 0)
        break;
      taken += static_cast<std::size_t>(written);
    }
    return taken;
  }

  std::size_t PieceSize(const char* text, std::size_t size) const {
    return mMayWait && mIsTerminal ? TerminalPiece(text, size) : std::min(size, kPieceSize);
  }

  ssize_t WriteNow(const char* text, std::size_t size) const {
    ssize_t written = 0;
    do {
      written = WriteOnce(text, size);
    } while (written == -1 && errno == EINTR);
    return written;
  }

  ssize_t WriteOnce(const char* text, std::size_t size) const {
    if (mIsSocket)
      return send(mFd, text, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    return mMayWait ? WriteWithoutWaiting(mFd, text, size) : write(mFd, text, size);
  }

  int mFd;                       // where the text goes
  bool mIsSocket = false;        // `mFd` is a socket
  bool mIsTerminal = false;      // `mFd` is a terminal
  bool mMayWait = false;         // a plain write to `mFd` may wait
  unsigned long long mLost = 0;  // bytes lost and not yet reported
};

// They must outlive the streams, which are flushed when the process ends.
Outlet gOutput(STDOUT_FILENO);
Outlet gError(STDERR_FILENO);

void Replace(FILE*& stream, Outlet& outlet) {
  outlet.Prepare();
  cookie_io_functions_t functions = {};
  functions.write = Outlet::Write;
  FILE* replacement = fopencookie(&outlet, "w", functions);
  if (replacement == nullptr)
    return;
  std::setvbuf(replacement, nullptr, _IOLBF, BUFSIZ);
  std::fflush(stream);
  stream = replacement;
}

}  // namespace

void OpenMissingStandardStreams() {
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    if (fcntl(fd, F_GETFD) == -1)
      open("/dev/null", O_RDWR);  // gets the lowest free number, which is this one
}

void MakeConsoleNonBlocking() {
  Replace(stdout, gOutput);
  Replace(stderr, gError);
}
