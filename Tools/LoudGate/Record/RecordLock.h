// That one process alone writes a record.

#pragma once

#include <string>

namespace loudgate {

class RecordLock {
 public:
  /// For the record in `file`. Nothing is locked yet.
  explicit RecordLock(const std::string& file);

  ~RecordLock() { Release(); }

  RecordLock(const RecordLock&) = delete;
  RecordLock& operator=(const RecordLock&) = delete;

  /// Takes the lock if nobody else has it; whether it is had. It is a file beside the record, whose
  /// lock the system drops when the process ends in whatever way. Throws StationError when that
  /// file cannot be opened.
  bool Take();

  /// Gives it back, and removes its file.
  void Release();

 private:
  std::string mFile;
  std::string mPath;     // of the lock
  int mDescriptor = -1;  // while the lock is had
};

}  // namespace loudgate
