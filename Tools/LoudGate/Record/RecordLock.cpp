// A flock on a separate file, so that SQLite's own locks on the record are not disturbed.

#include "RecordLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "RecordedSecond.h"

namespace loudgate {
namespace {

// Whether the open file is still the one at `path`. It may have been removed since it was opened,
// by the process that held the lock or along with its folder.
bool IsAt(const std::string& path, int descriptor) {
  struct stat own {};
  struct stat there {};
  return fstat(descriptor, &own) == 0 && stat(path.c_str(), &there) == 0 &&
         own.st_dev == there.st_dev && own.st_ino == there.st_ino;
}

}  // namespace

RecordLock::RecordLock(const std::string& file) : mFile(file), mPath(file + ".lock") {}

bool RecordLock::Take() {
  if (mDescriptor >= 0 && IsAt(mPath, mDescriptor))
    return true;
  if (mDescriptor >= 0)
    close(std::exchange(mDescriptor, -1));
  const int descriptor = open(mPath.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0644);
  if (descriptor < 0)
    throw louddesk::StationError(louddesk::StationError::Fault::kUnavailable,
                                 mFile + ": " + std::strerror(errno));
  if (flock(descriptor, LOCK_EX | LOCK_NB) == 0 && IsAt(mPath, descriptor))
    mDescriptor = descriptor;
  else
    close(descriptor);
  return mDescriptor >= 0;
}

void RecordLock::Release() {
  if (mDescriptor < 0)
    return;
  unlink(mPath.c_str());
  close(std::exchange(mDescriptor, -1));
}

}  // namespace loudgate
