// Console streams that never wait. Stdio's own streams would, on a full pipe, hold up the event
// loop for as long as nobody reads. Any thread; stdio locks the streams.

#include "Console.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace {

// Pieces of at most this size are taken whole or not at all by a pipe.
constexpr std::size_t kPieceSize = 4096;

// What stands behind one of the two streams.
class Outlet {
 public:
  explicit Outlet(int standardFd) : mFd(standardFd), mIsSocket(false) {}

  // Pipes and terminals are opened once more: a flag on the inherited description would make every
  // process that shares it fail instead of wait. A file never makes its writer wait.
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
    if (own != -1)
      mFd = own;
  }

  // Stdio's writer: claims to have taken everything, so that no stream goes into its error state.
  static ssize_t Write(void* outlet, const char* text, std::size_t size) {
    static_cast<Outlet*>(outlet)->Take(text, size);
    return static_cast<ssize_t>(size);
  }

 private:
  void Take(const char* text, std::size_t size) {
    const int error = errno;  // who prints does not expect it to change
    if (mLost == 0 || TellLoss())
      while (size > 0) {
        const std::size_t piece = std::min(size, kPieceSize);
        const ssize_t written = WriteNow(text, piece);
        if (written <= 0)
          break;
        text += written;
        size -= static_cast<std::size_t>(written);
      }
    mLost += size;
    errno = error;
  }

  // Begins a line of its own: what was lost may have ended in the middle of one.
  bool TellLoss() {
    char line[64] = {};
    const int length =
        std::snprintf(line, sizeof line, "\n[%llu bytes of console output lost]\n", mLost);
    if (WriteNow(line, static_cast<std::size_t>(length)) != length)
      return false;
    mLost = 0;
    return true;
  }

  ssize_t WriteNow(const char* text, std::size_t size) const {
    ssize_t written = 0;
    do {
      written =
          mIsSocket ? send(mFd, text, size, MSG_DONTWAIT | MSG_NOSIGNAL) : write(mFd, text, size);
    } while (written == -1 && errno == EINTR);
    return written;
  }

  int mFd;                       // where the text goes
  bool mIsSocket;                // of it
  unsigned long long mLost = 0;  // bytes not taken since the last that were
};

// They live as long as the streams, which are flushed when the process ends.
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

void MakeConsoleNeverWait() {
  Replace(stdout, gOutput);
  Replace(stderr, gError);
}
