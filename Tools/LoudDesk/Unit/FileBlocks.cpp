// Files through the front end.

#include "FileBlocks.h"

#include <optional>

namespace louddesk {

FileBlocks::FileBlocks(const std::string& path)
    : mFile(path),
      mMeter(mFile.Channels(), mFile.SampleRate()),
      mSamples(mMeter.MaxFramesInBlock() * mFile.Channels()) {}

bool FileBlocks::Next(BlockReading& block) {
  const std::size_t frames = mMeter.FramesInNextBlock();
  if (mFile.Read(mSamples.data(), frames) < frames)
    return false;
  if (const std::optional<BadSample> bad = mMeter.Measure(mSamples.data(), block))
    throw AudioFileError(mFile.Path(), "holds a sample that is no number in channel " +
                                           std::to_string(bad->channel + 1) + ", frame " +
                                           std::to_string(bad->frame));
  return true;
}

}  // namespace louddesk
