// Samples, of a file or generated, as the blocks that a unit's signal-processing stage would
// publish of them.

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
  /// `name` is what the source is called when it is at fault.
  BlockStream(std::string name, std::unique_ptr<SampleSource> source);

  const SampleSource& Source() const { return *mSource; }

  /// Reads the next whole block of 100 ms; false at the end, also where less than a block is left.
  /// Throws `AudioFileError` when the source cannot be read on or holds a sample that is not a
  /// number, also behind the last whole block.
  bool Next(BlockReading& block);

 private:
  std::string mName;
  std::unique_ptr<SampleSource> mSource;
  BlockMeter mMeter;
  std::vector<double> mSamples;  // interleaved, room for the longest block
};

}  // namespace louddesk
