// The directory in which the services bind their publishers, watched for files that come and go.

#pragma once

#include <string>
#include <vector>

#include "ServiceFeed.h"

namespace loudgate {

class PublisherDirectory {
 public:
  /// The directory need not exist yet, and may be removed and made again. Throws
  /// std::runtime_error when the system gives no watch.
  explicit PublisherDirectory(std::string path);
  ~PublisherDirectory();
  PublisherDirectory(const PublisherDirectory&) = delete;
  PublisherDirectory& operator=(const PublisherDirectory&) = delete;

  /// Readable when something has changed.
  int Descriptor() const { return mDescriptor; }

  const std::string& Path() const { return mPath; }

  /// Reads what has changed, and tries again to watch a directory that is not there. Call it when
  /// the descriptor is readable, and every now and then. Whether the places may be others than
  /// before; at the first call they may.
  bool TakeChanges();

  /// The places that there are files for.
  std::vector<louddesk::ServicePlace> Places() const;

 private:
  bool StartWatch();
  bool TakeNotices();

  std::string mPath;
  int mDescriptor;
  int mWatch;  // of the directory
};

}  // namespace loudgate
