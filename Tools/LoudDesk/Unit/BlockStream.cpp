// Samples through the front end.

#include "BlockStream.h"

#include <utility>

namespace louddesk {

BlockStream::BlockStream(std::string name, std::unique_ptr<SampleSource> source)
    : mName(std::move(name)),
      mSource(std::move(source)),
      mMeter(mSource->Channels(), mSource->SampleRate()),
      mSamples(mMeter.MaxFramesInBlock() * mSource->Channels()) {}

bool BlockStream::Next(BlockReading& block) {
  const std::size_t frames = mMeter.FramesInNextBlock();
  if (mSource->Read(mSamples.data(), frames) < frames)
    return false;
  if (const auto bad = mMeter.Measure(mSamples.data(), block))
    throw AudioFileError(mName, BadSampleText(*bad, mSource->SampleRate()));
  return true;
}

}  // namespace louddesk
