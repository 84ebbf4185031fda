// Where samples come from: a stream that is read like an audio file, or is one. One reader per
// source.

#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "SpeakerLayout.h"

namespace louddesk {

class SampleSource {
 public:
  virtual ~SampleSource() = default;
  SampleSource(const SampleSource&) = delete;
  SampleSource& operator=(const SampleSource&) = delete;

  /// The loudspeaker that each channel feeds; 1 to 32.
  const SpeakerLayout& Speakers() const { return mSpeakers; }
  std::size_t Channels() const { return mSpeakers.size(); }
  int SampleRate() const { return mSampleRate; }  // Hz, 8000 ... 192000

  /// Reads up to `frames` interleaved frames, full scale 1.0, and returns how many there were:
  /// fewer only at the end. Throws `AudioFileError` when a file cannot be read on.
  virtual std::size_t Read(double* samples, std::size_t frames) = 0;

 protected:
  SampleSource(SpeakerLayout speakers, int sampleRate)
      : mSpeakers(std::move(speakers)), mSampleRate(sampleRate) {}

 private:
  SpeakerLayout mSpeakers;
  int mSampleRate;
};

/// Opens a file at its beginning, with the speakers of `LayoutFor`. Throws `AudioFileError`; at the
/// end also when a part of the file turned out to be missing.
std::unique_ptr<SampleSource> OpenFileSource(const std::string& path,
                                             const std::optional<SpeakerLayout>& chosen);

}  // namespace louddesk
