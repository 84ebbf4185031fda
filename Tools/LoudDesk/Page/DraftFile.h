// Writes a file completely or not at all. The draft is written beside the final path, without a
// name if the file system supports it, and moved there at the end. Until then an existing file at
// the path stays unchanged.

#pragma once

#include <string>

namespace louddesk {

/// Why no file can be written to `path`, for example "No such file or directory"; empty if one can.
/// Called before long work whose result is to be written there. Changes nothing.
std::string WhyNotWritable(const std::string& path);

class DraftFile {
 public:
  /// Opens a draft beside `path`; links are followed. If this fails, all later calls fail too.
  explicit DraftFile(const std::string& path);

  /// Removes the draft unless it was moved to its place.
  ~DraftFile();

  DraftFile(const DraftFile&) = delete;
  DraftFile& operator=(const DraftFile&) = delete;

  /// Reason of the first failure; empty if nothing failed.
  const std::string& Fault() const { return mFault; }

  /// Appends to the draft. Does nothing after a failure.
  void Write(const std::string& text);

  /// Moves the draft to its place. Its contents are flushed to the disk first, so after a power cut
  /// the path leads to the old file or the complete new one. No calls may follow. Returns the
  /// reason of the first failure; empty if nothing failed.
  std::string TakePlace();

 private:
  bool TakeName();

  std::string mPlace;
  std::string mPath;
  int mFile = -1;
  bool mHasName = false;  // the draft has a name in its directory
  bool mIsKept = false;
  std::string mFault;  // reason of the first failure
};

}  // namespace louddesk
