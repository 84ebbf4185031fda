// Watches one directory by inotify.

#include "PublisherDirectory.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace loudgate {
namespace {

constexpr int kNoWatch = -1;

constexpr std::uint32_t kFileChanges = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;

// The directory was removed or no longer has this name.
constexpr std::uint32_t kDirectoryGone = IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

PublisherDirectory::PublisherDirectory(std::string path)
    : mPath(std::move(path)),
      mDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      mWatch(kNoWatch) {
  if (mDescriptor < 0)
    throw std::runtime_error(mPath + ": cannot be watched: " + std::strerror(errno));
}

PublisherDirectory::~PublisherDirectory() {
  close(mDescriptor);
}

bool PublisherDirectory::StartWatch() {
  mWatch =
      inotify_add_watch(mDescriptor, mPath.c_str(), kFileChanges | kDirectoryGone | IN_ONLYDIR);
  return mWatch != kNoWatch;
}

bool PublisherDirectory::TakeNotices() {
  bool isChanged = false;
  alignas(inotify_event) std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t size = read(mDescriptor, buffer.data(), buffer.size());
    if (size <= 0)
      return isChanged;
    for (ssize_t place = 0; place < size;) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + place, sizeof event);
      place += static_cast<ssize_t>(sizeof event + event.len);
      isChanged = true;
      if (event.wd != mWatch)
        continue;
      if ((event.mask & kDirectoryGone) != 0)
        inotify_rm_watch(mDescriptor, mWatch);
      if ((event.mask & (kDirectoryGone | IN_IGNORED)) != 0)
        mWatch = kNoWatch;
    }
  }
}

bool PublisherDirectory::TakeChanges() {
  const bool isChanged = TakeNotices();
  return (mWatch == kNoWatch && StartWatch()) || isChanged;
}

std::vector<louddesk::ServicePlace> PublisherDirectory::Places() const {
  return louddesk::FindServicePlaces(mPath);
}

}  // namespace loudgate
