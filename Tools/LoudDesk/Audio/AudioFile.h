// Audio files as streams of interleaved samples, read by libsndfile. One object per file being
// read.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "ChannelMap.h"
#include "PrintableText.h"

namespace louddesk {

/// What keeps a file from being measured. The text is one line that begins with the file's name, as
/// `Printable` shows it.
class AudioFileError : public std::runtime_error {
 public:
  AudioFileError(const std::string& path, const std::string& reason)
      : std::runtime_error(Printable(path) + ": " + reason) {}
};

/// One audio file, open for reading from its beginning.
class AudioFile {
 public:
  /// Opens a file of any format that libsndfile knows (WAV, FLAC, Ogg, AIFF and others). Throws
  /// `AudioFileError` for one that is missing, empty, a directory, without audio, visibly cut off,
  /// of more than 32 channels or of a sample rate outside 8 to 192 kHz.
  explicit AudioFile(const std::string& path);

  AudioFile(const AudioFile&) = delete;
  AudioFile& operator=(const AudioFile&) = delete;

  const std::string& Path() const { return mPath; }
  std::size_t Channels() const { return mChannels; }  // 1 ... 32
  int SampleRate() const { return mSampleRate; }      // Hz, 8000 ... 192000

  /// Container and coding in words: "WAV (Microsoft), Signed 16 bit PCM".
  const std::string& Format() const { return mFormat; }

  /// Position of each channel; empty when the file does not say.
  const ChannelMap& Positions() const { return mChannelMap; }

  /// Frames that the file says it holds; nothing when it does not say, as streams from a pipe.
  std::optional<std::uint64_t> PromisedFrames() const { return mPromisedFrames; }

  /// Frames read so far.
  std::uint64_t FramesRead() const { return mFramesRead; }

  /// Reads up to `frames` interleaved frames, full scale 1.0, and returns how many there were:
  /// fewer only at the end. Throws `AudioFileError` when the file ends before it holds what it
  /// promised, or what it holds cannot be decoded.
  std::size_t Read(double* samples, std::size_t frames);

 private:
  struct Closer {
    void operator()(SNDFILE* file) const;
  };

  void CheckEnd() const;

  std::string mPath;
  std::unique_ptr<SNDFILE, Closer> mFile;
  std::size_t mChannels = 0;
  int mSampleRate = 0;
  std::string mFormat;
  ChannelMap mChannelMap;
  std::optional<std::uint64_t> mPromisedFrames;
  std::uint64_t mFramesRead = 0;
};

}  // namespace louddesk
