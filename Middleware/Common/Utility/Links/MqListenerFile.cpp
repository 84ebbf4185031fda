// Files of bound sockets.

#include "MqListenerFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "MqSupport.h"

namespace {

constexpr char kIpcPrefix[] = "ipc://";

}  // namespace

void MqListenerFile::Watch(zsock_t* socket) {
  mpSocket = socket;
  mPath = zsock_endpoint(socket) + std::strlen(kIpcPrefix);
  mListeners = 1;
  mIsMissed = false;
  mTold = MqFileNews::kNone;
  lstat(mPath.c_str(), &mFile);
}

MqFileNews MqListenerFile::Tend() {
  if (mpSocket == nullptr)
    return MqFileNews::kNone;
  const MqFileNews news = Look();
  return std::exchange(mTold, news) == news ? MqFileNews::kNone : news;
}

MqFileNews MqListenerFile::Look() {
  struct stat found = {};
  const bool isThere = lstat(mPath.c_str(), &found) == 0;
  const bool isGone = !isThere && errno == ENOENT;
  if (!isThere && !isGone)
    return mTold;  // unknown
  const bool wasMissed = std::exchange(mIsMissed, isGone);
  if (isGone)
    return wasMissed ? BindAnew() : mTold;
  const bool isOwn = found.st_dev == mFile.st_dev && found.st_ino == mFile.st_ino;
  return isOwn ? MqFileNews::kNone : MqFileNews::kTaken;
}

// The old listeners and their clients stay until there are too many listeners.
MqFileNews MqListenerFile::BindAnew() {
  const std::string endpoint = kIpcPrefix + mPath;
  const auto unbind = [&] { return zsock_unbind(mpSocket, "%s", endpoint.c_str()); };
  if (mListeners == kMostListeners && MqUninterrupted(unbind) == 0)
    mListeners = 0;
  if (MqBind(mpSocket, endpoint.c_str()) == -1)
    return MqFileNews::kNotReplaced;
  ++mListeners;
  mIsMissed = false;
  lstat(mPath.c_str(), &mFile);
  return MqFileNews::kBoundAnew;
}
