// The samples of a source as the blocks that a unit's signal-processing stage would publish.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "BlockMeter.h"
#include "BlockReading.h"
#include "SampleSource.h"

namespace louddesk {

class BlockStream {
 public:
  /// `name` identifies the source in error messages.
  BlockStream(std::string name, std::unique_ptr<SampleSource> source);

  const SampleSource& Source() const { return *mSource; }

  /// Reads the next whole block of 100 ms. Returns false at the end, also if less than a block is
  /// left. Throws `AudioFileError` if the source cannot be read, or if it contains a sample that is
  /// not a number, even after the last whole block.
  bool Next(BlockReading& block);

 private:
  std::string mName;
  std::unique_ptr<SampleSource> mSource;
  BlockMeter mMeter;
  std::vector<double> mSamples;  // interleaved, large enough for the longest block
};

}  // namespace louddesk
