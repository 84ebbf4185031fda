// Watches the directory in which the services bind their publishers for files that come and go.

#pragma once

#include <string>
#include <vector>

#include "ServiceFeed.h"

namespace loudgate {

class PublisherDirectory {
 public:
  /// The directory need not exist yet, and may be removed and made again. Throws std::runtime_error
  /// when the system cannot provide a watch.
  explicit PublisherDirectory(std::string path);
  ~PublisherDirectory();
  PublisherDirectory(const PublisherDirectory&) = delete;
  PublisherDirectory& operator=(const PublisherDirectory&) = delete;

  /// Readable when the directory has changed.
  int Descriptor() const { return mDescriptor; }

  const std::string& Path() const { return mPath; }

  /// Reads the changes, and starts to watch a directory that has appeared. Call it when the
  /// descriptor is readable, and regularly. Returns whether the places may have changed; the first
  /// successful call returns true.
  bool TakeChanges();

  /// The places for which there are files.
  std::vector<louddesk::ServicePlace> Places() const;

 private:
  bool StartWatch();
  bool TakeNotices();

  std::string mPath;
  int mDescriptor;
  int mWatch;  // of the directory
};

}  // namespace loudgate
