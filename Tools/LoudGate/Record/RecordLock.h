// Makes sure that only one process at a time writes a record.

#pragma once

#include <string>

namespace loudgate {

class RecordLock {
 public:
  /// The lock for the record in `file`. It is not taken yet.
  explicit RecordLock(const std::string& file);

  ~RecordLock() { Release(); }

  RecordLock(const RecordLock&) = delete;
  RecordLock& operator=(const RecordLock&) = delete;

  /// Takes the lock unless another process holds it. Returns whether it is held now. The lock is on
  /// a file beside the record; the kernel releases it however the process ends. Throws StationError
  /// when that file cannot be opened.
  bool Take();

  /// Releases the lock and removes its file.
  void Release();

 private:
  std::string mFile;
  std::string mPath;     // of the lock file
  int mDescriptor = -1;  // -1 while the lock is not held
};

}  // namespace loudgate
