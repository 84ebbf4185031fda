// A stream of samples that is read like an audio file. One reader per source.

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

  /// The loudspeaker of each channel; 1 to 32 channels.
  const SpeakerLayout& Speakers() const { return mSpeakers; }
  std::size_t Channels() const { return mSpeakers.size(); }
  int SampleRate() const { return mSampleRate; }  // Hz, 8000 ... 192000

  /// Reads up to `frames` interleaved frames, full scale 1.0, and returns their number, which is
  /// smaller only at the end. Throws `AudioFileError` if a file cannot be read.
  virtual std::size_t Read(double* samples, std::size_t frames) = 0;

 protected:
  SampleSource(SpeakerLayout speakers, int sampleRate)
      : mSpeakers(std::move(speakers)), mSampleRate(sampleRate) {}

 private:
  SpeakerLayout mSpeakers;
  int mSampleRate;
};

/// Opens a file at its start, with the speakers of `LayoutFor`. Throws `AudioFileError`. The source
/// also throws it at the end if a part of the file is missing.
std::unique_ptr<SampleSource> OpenFileSource(const std::string& path,
                                             const std::optional<SpeakerLayout>& chosen);

}  // namespace louddesk
