// Passes samples through the front end.

#include "BlockStream.h"

#include <utility>

namespace louddesk {

BlockStream::BlockStream(std::string name, std::unique_ptr<SampleSource> source)
    : mName(std::move(name)),
      mSource(std::move(source)),
      mMeter(mSource->Channels(), mSource->SampleRate()),
      mSamples(mMeter.MaxFramesInBlock() * mSource->Channels()) {}

// An incomplete last block is not measured, but a bad sample in it is still an error.
bool BlockStream::Next(BlockReading& block) {
  const std::size_t frames = mMeter.FramesInNextBlock();
  const std::size_t got = mSource->Read(mSamples.data(), frames);
  const bool isWhole = got == frames;
  BlockReading rest;
  if (const auto bad = isWhole ? mMeter.Measure(mSamples.data(), block)
                               : mMeter.MeasureRest(mSamples.data(), got, rest))
    throw AudioFileError(mName, BadSampleText(*bad, mSource->SampleRate()));
  return isWhole;
}

}  // namespace louddesk
