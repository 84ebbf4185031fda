// Audio files, pipes and standard input as streams of interleaved samples. One object per file
// being read.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AudioFileError.h"
#include "AudioFormat.h"
#include "Damage.h"

namespace louddesk {

class ByteInput;
class LibavDecoder;
class LinkInput;

/// One audio file, open for reading from its beginning.
class AudioFile {
 public:
  /// Opens a file, a pipe or, as "-", standard input, of one of the formats in Docs/MEASURING.md,
  /// and in it the audio stream of that number, counted from 1, or the one that players choose.
  /// Throws `AudioFileError` for one that is missing, empty, a directory, without audio, of more
  /// than 32 channels or of a sample rate outside 8 to 192 kHz.
  explicit AudioFile(const std::string& path, std::optional<std::size_t> stream = std::nullopt);
  ~AudioFile();

  AudioFile(const AudioFile&) = delete;
  AudioFile& operator=(const AudioFile&) = delete;

  const std::string& Path() const { return mPath; }
  std::size_t Channels() const { return mFormat.channels; }  // 1 ... 32
  int SampleRate() const { return mFormat.sampleRate; }      // Hz, 8000 ... 192000

  /// Container and coding in words: "WAV / WAVE (Waveform Audio), PCM signed 16-bit little-endian".
  const std::string& Format() const { return mFormatText; }

  /// Position of each channel; empty when the file does not say.
  const ChannelMap& Positions() const { return mFormat.positions; }

  /// The audio streams of the file.
  const std::vector<StreamInfo>& Streams() const { return mStreams; }

  /// Frames read so far.
  std::uint64_t FramesRead() const { return mFramesRead; }

  /// The same in time, s.
  double SecondsRead() const { return static_cast<double>(mFramesRead) / mFormat.sampleRate; }

  /// Share of the file read so far, 0 ... 1; nothing when nobody knows how long it is, as of a
  /// pipe.
  std::optional<double> Progress() const;

  /// Reads up to `frames` interleaved frames, full scale 1.0, and returns how many there were:
  /// fewer only at the end. What is damaged is left out. Joined files and chains are read through
  /// all their links. Throws `AudioFileError` when bytes cannot be read, or when sample rate or
  /// channels change.
  std::size_t Read(double* samples, std::size_t frames);

  /// What turned out to be missing. Complete at the end.
  const Damage& Missing() const { return mDamage; }

 private:
  std::unique_ptr<LibavDecoder> OpenNextLink();
  void CloseLink();
  void SkipLink();
  void GoOn();
  double Here() const;

  std::string mPath;
  std::optional<std::size_t> mStream;
  std::unique_ptr<ByteInput> mInput;
  std::unique_ptr<LinkInput> mLinks;    // of mInput
  std::unique_ptr<LibavDecoder> mLink;  // the one that mLinks stands at; null: at the end
  AudioFormat mFormat;
  std::string mFormatText;
  std::vector<StreamInfo> mStreams;
  std::uint64_t mFramesRead = 0;
  std::uint64_t mFramesBefore = 0;  // of the link
  Damage mDamage;                   // of the links before
};

/// The audio streams of a file, of any number of channels and sample rate. Throws `AudioFileError`.
std::vector<StreamInfo> AudioStreamsOf(const std::string& path);

}  // namespace louddesk
