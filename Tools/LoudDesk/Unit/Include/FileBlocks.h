// An audio file as the blocks that a unit's signal-processing stage would publish of it.

#pragma once

#include <string>
#include <vector>

#include "AudioFile.h"
#include "BlockMeter.h"
#include "BlockReading.h"

namespace louddesk {

class FileBlocks {
 public:
  /// Opens the file. Throws `AudioFileError`.
  explicit FileBlocks(const std::string& path);

  const AudioFile& File() const { return mFile; }

  /// Reads the next whole block of 100 ms; false at the end, where less than a block is left.
  /// Throws `AudioFileError` when the file cannot be read on or holds a sample that is no number.
  bool Next(BlockReading& block);

 private:
  AudioFile mFile;
  BlockMeter mMeter;
  std::vector<double> mSamples;  // interleaved, room for the longest block
};

}  // namespace louddesk
