// A file that takes its place whole, or not at all: it is written beside it, without a name where
// the file system can, and moved there. Until then an earlier file of that name stays as it is.

#pragma once

#include <string>

namespace louddesk {

/// Why no file can take the place of `path`, for example "No such file or directory"; empty when
/// one can. Tells before hours of work whether it can be kept, and leaves everything as it is.
std::string WhyNotWritable(const std::string& path);

class DraftFile {
 public:
  /// Opens a draft beside the place; a link is followed to its file. Where that fails, so does
  /// everything that follows.
  explicit DraftFile(const std::string& path);

  /// Removes the draft unless it has taken its place.
  ~DraftFile();

  DraftFile(const DraftFile&) = delete;
  DraftFile& operator=(const DraftFile&) = delete;

  /// Why anything has failed so far; empty when nothing has.
  const std::string& Fault() const { return mFault; }

  /// Adds to the draft. After a failure nothing is added any more.
  void Write(const std::string& text);

  /// Moves the draft to its place, on the disk before its name is: after a power cut there is
  /// either file, and no empty one. The last call. Returns why anything failed; empty when nothing
  /// did.
  std::string TakePlace();

 private:
  bool TakeName();

  std::string mPlace;
  std::string mPath;
  int mFile = -1;
  bool mHasName = false;  // the draft, in its directory
  bool mIsKept = false;
  std::string mFault;  // the first one
};

}  // namespace louddesk
