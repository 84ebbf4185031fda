// The file by which clients find a socket that is bound over IPC. Whoever may write to its
// directory can remove it, or bind a socket of his own in its place: who was connected before stays
// connected, and who comes later does not find the socket. Used from the thread that owns the
// socket.

#pragma once

#include <czmq.h>
#include <sys/stat.h>

#include <string>

/// What has happened to such a file.
enum class MqFileNews {
  kNone,
  kTaken,       // another file is in its place, which is left alone
  kBoundAnew,   // it was gone; the socket is bound to a new one
  kNotReplaced  // it is gone, and no new one can be bound; `errno` says why
};

class MqListenerFile {
 public:
  /// Times that a socket is bound anew while its first clients stay connected. Each leaves a
  /// listener behind that clients may still be connected to; those are then ended all at once, and
  /// the clients come over to the new file.
  static constexpr int kMostListeners = 16;

  /// Watches the file to which `socket` has just been bound, which must be over IPC.
  void Watch(zsock_t* socket);

  /// Ends the watch, before the socket is destroyed; harmless when there is none.
  void Unwatch() { mpSocket = nullptr; }

  /// Looks at the file. One that is still gone at the second look is replaced: between the first
  /// and the second another process may take the place. News are told once; a file that is taken or
  /// not replaced again after the socket had its own is news again.
  MqFileNews Tend();

 private:
  MqFileNews Look();
  MqFileNews BindAnew();

  zsock_t* mpSocket = nullptr;           // not owned; null: no watch
  std::string mPath;                     // of the file
  struct stat mFile = {};                // the file as it was bound
  int mListeners = 0;                    // that the socket has
  bool mIsMissed = false;                // gone when looked at last
  MqFileNews mTold = MqFileNews::kNone;  // since the socket had its own file
};
