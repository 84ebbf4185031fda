// Pages on the disk: written beside their place and moved there.

#include "PageFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace louddesk {
namespace {

namespace fs = std::filesystem;

constexpr char kEnding[] = ".html";
constexpr mode_t kUsualMode = 0666;  // less what the user's mask takes away

std::string LastError() {
  return std::strerror(errno);
}

// The file of a link, not the link: that is what is replaced. A name whose links cannot be
// followed stays as it is and fails when it is opened.
fs::path Resolved(const std::string& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(path, error);
  return error ? fs::path(path) : resolved;
}

// A file beside the one to be written, under a name of its own; removed unless it takes its place.
class Draft {
 public:
  explicit Draft(const fs::path& place)
      : mPlace(place),
        mPath(place.parent_path() / (".LoudDesk-" + std::to_string(getpid()) + ".part")),
        mFile(open(mPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kUsualMode)) {}

  ~Draft() {
    if (mFile < 0)
      return;
    close(mFile);
    if (!mIsKept)
      unlink(mPath.c_str());
  }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;

  bool IsOpen() const { return mFile >= 0; }

  bool Write(const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
      const ssize_t count = write(mFile, text.data() + done, text.size() - done);
      if (count < 0 && errno != EINTR)
        return false;
      done += static_cast<std::size_t>(count > 0 ? count : 0);
    }
    return true;
  }

  // On the disk before the name: after a power cut there is either page, and no empty one.
  bool TakePlace() {
    struct stat earlier {};
    if (stat(mPlace.c_str(), &earlier) == 0 && fchmod(mFile, earlier.st_mode & 07777) != 0)
      return false;
    mIsKept = fsync(mFile) == 0 && std::rename(mPath.c_str(), mPlace.c_str()) == 0;
    return mIsKept;
  }

 private:
  fs::path mPlace;
  fs::path mPath;
  int mFile;
  bool mIsKept = false;
};

// Why what lies at the place of the page must stay; empty when nothing does.
std::string WhyNotReplaced(const fs::path& place) {
  struct stat earlier {};
  if (stat(place.c_str(), &earlier) != 0)
    return errno == ENOENT ? "" : LastError();
  if (S_ISDIR(earlier.st_mode))
    return "is a directory";
  if (!S_ISREG(earlier.st_mode))
    return "is no regular file";
  return access(place.c_str(), W_OK) == 0 ? "" : LastError();
}

}  // namespace

std::string CheckPageName(const std::string& path) {
  const std::string ending = kEnding;
  if (path.size() > ending.size() &&
      path.compare(path.size() - ending.size(), ending.size(), ending) == 0)
    return "";
  return "the name of a report ends in " + ending;
}

std::string WhyNotWritable(const std::string& path) {
  const fs::path place = Resolved(path);
  std::string reason = WhyNotReplaced(place);
  if (!reason.empty())
    return reason;
  return Draft(place).IsOpen() ? "" : LastError();
}

std::string WritePage(const std::string& path, const std::string& page) {
  const fs::path place = Resolved(path);
  std::string reason = WhyNotReplaced(place);
  if (!reason.empty())
    return reason;
  Draft draft(place);
  return draft.IsOpen() && draft.Write(page) && draft.TakePlace() ? "" : LastError();
}

bool CheckReport(Complaints& complaints, const std::string& path) {
  const std::string reason = path.empty() ? "" : WhyNotWritable(path);
  if (!reason.empty())
    complaints.Add(path + ": the report cannot be written: " + reason);
  return reason.empty();
}

void WriteReport(Complaints& complaints, const std::string& path, const std::string& page) {
  const std::string reason = path.empty() ? "" : WritePage(path, page);
  if (!reason.empty())
    complaints.Add(path + ": the report could not be written: " + reason);
}

}  // namespace louddesk
