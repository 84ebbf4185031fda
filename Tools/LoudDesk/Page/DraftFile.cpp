// Drafts on the disk.

#include "DraftFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace louddesk {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kUsualMode = 0666;  // reduced by the user's umask

std::string LastError() {
  return std::strerror(errno);
}

// Follows links, because the file is replaced and not the link. If links cannot be followed, the
// path stays unchanged and cannot be opened later.
fs::path Resolved(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(path, error);
  return error ? fs::path(path) : resolved;
}

// A unique name, because several drafts may be in one directory at the same time.
std::string DraftOf(const fs::path& place) {
  static int drafts = 0;
  return place.parent_path() /
         (".LoudDesk-" + std::to_string(getpid()) + "-" + std::to_string(++drafts) + ".part");
}

// Opens a file without a name, which leaves nothing behind if the program is killed; -1 if the file
// system does not support this.
int OpenUnnamed(const fs::path& directory) {
  return open(directory.empty() ? "." : directory.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC,
              kUsualMode);
}

// Why an existing file must not be replaced; empty if it may be or if there is none.
std::string WhyNotReplaced(const std::string& place) {
  struct stat earlier {};
  if (stat(place.c_str(), &earlier) != 0)
    return errno == ENOENT ? "" : LastError();
  if (S_ISDIR(earlier.st_mode))
    return "is a directory";
  if (!S_ISREG(earlier.st_mode))
    return "is not a regular file";
  return access(place.c_str(), W_OK) == 0 ? "" : LastError();
}

}  // namespace

std::string WhyNotWritable(const std::string& path) {
  DraftFile draft(path);
  return draft.Fault();
}

DraftFile::DraftFile(const std::string& path)
    : mPlace(Resolved(path)), mPath(DraftOf(mPlace)), mFault(WhyNotReplaced(mPlace)) {
  if (!mFault.empty())
    return;
  mFile = OpenUnnamed(fs::path(mPlace).parent_path());
  if (mFile >= 0)
    return;
  mFile = open(mPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kUsualMode);
  mHasName = mFile >= 0;
  if (!mHasName)
    mFault = LastError();
}

DraftFile::~DraftFile() {
  if (mFile < 0)
    return;
  close(mFile);
  if (mHasName && !mIsKept)
    unlink(mPath.c_str());
}

void DraftFile::Write(const std::string& text) {
  for (std::size_t done = 0; mFault.empty() && done < text.size();) {
    const ssize_t count = write(mFile, text.data() + done, text.size() - done);
    if (count < 0 && errno != EINTR)
      mFault = LastError();
    done += static_cast<std::size_t>(count > 0 ? count : 0);
  }
}

bool DraftFile::TakeName() {
  const std::string self = "/proc/self/fd/" + std::to_string(mFile);
  if (!mHasName)
    mHasName = linkat(AT_FDCWD, self.c_str(), AT_FDCWD, mPath.c_str(), AT_SYMLINK_FOLLOW) == 0;
  return mHasName;
}

std::string DraftFile::TakePlace() {
  if (!mFault.empty())
    return mFault;
  struct stat earlier {};
  const bool hasMode =
      stat(mPlace.c_str(), &earlier) != 0 || fchmod(mFile, earlier.st_mode & 07777) == 0;
  mIsKept =
      hasMode && fsync(mFile) == 0 && TakeName() && std::rename(mPath.c_str(), mPlace.c_str()) == 0;
  if (!mIsKept)
    mFault = LastError();
  return mFault;
}

}  // namespace louddesk
