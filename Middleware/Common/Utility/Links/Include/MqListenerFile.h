// The file by which clients find a socket that is bound over IPC. Other processes with write access
// to its directory can remove it or bind their own socket in its place. Clients that are already
// connected stay connected; new ones do not find the socket. Used from the thread that owns the
// socket.

#pragma once

#include <czmq.h>
#include <sys/stat.h>

#include <string>

/// What happened to the file.
enum class MqFileNews {
  kNone,
  kTaken,       // another file is in its place and is not touched
  kBoundAnew,   // it was missing; the socket is bound to a new file
  kNotReplaced  // it is missing, and binding a new file failed; the reason is in `errno`
};

class MqListenerFile {
 public:
  /// Number of listeners at which the old ones are closed. Each new bind leaves a listener behind
  /// that clients may still be connected to. The old listeners are closed all together; their
  /// clients then connect to the new file.
  static constexpr int kMostListeners = 16;

  /// Watches the file to which `socket` has just been bound, which must be over IPC.
  void Watch(zsock_t* socket);

  /// Ends the watch; call it before the socket is destroyed. Does nothing if there is none.
  void Unwatch() { mpSocket = nullptr; }

  /// Checks the file. A missing file is replaced only at the second check, so that another process
  /// has time to bind there. Each change is returned once, and again if it recurs after the socket
  /// has had its own file.
  MqFileNews Tend();

 private:
  MqFileNews Look();
  MqFileNews BindAnew();

  zsock_t* mpSocket = nullptr;           // not owned; null: no watch
  std::string mPath;                     // path of the file
  struct stat mFile = {};                // identity of the file when it was bound
  int mListeners = 0;                    // listeners of the socket, old ones included
  bool mIsMissed = false;                // the file was missing at the last check
  MqFileNews mTold = MqFileNews::kNone;  // the last news returned
};
