// Audio files, pipes and standard input as streams of interleaved samples. One object per open
// file.

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

/// An open audio file, read from its start.
class AudioFile {
 public:
  /// Opens a file, a pipe or, as "-", standard input, in one of the formats in Docs/MEASURING.md.
  /// Selects the audio stream with the given number, counted from 1, or the one that players
  /// choose. Throws `AudioFileError` if the file is missing, empty, a directory or without audio,
  /// has more than 32 channels, or has a sample rate outside 8 to 192 kHz.
  explicit AudioFile(const std::string& path, std::optional<std::size_t> stream = std::nullopt);
  ~AudioFile();

  AudioFile(const AudioFile&) = delete;
  AudioFile& operator=(const AudioFile&) = delete;

  const std::string& Path() const { return mPath; }
  std::size_t Channels() const { return mFormat.channels; }  // 1 ... 32
  int SampleRate() const { return mFormat.sampleRate; }      // Hz, 8000 ... 192000

  /// Container and codec: "WAV / WAVE (Waveform Audio), PCM signed 16-bit little-endian".
  const std::string& Format() const { return mFormatText; }

  /// The position of each channel; empty if the file does not specify them.
  const ChannelMap& Positions() const { return mFormat.positions; }

  /// The audio streams of the file.
  const std::vector<StreamInfo>& Streams() const { return mStreams; }

  /// Number of frames read so far.
  std::uint64_t FramesRead() const { return mFramesRead; }

  /// Duration of the frames read so far, s.
  double SecondsRead() const { return static_cast<double>(mFramesRead) / mFormat.sampleRate; }

  /// Fraction of the file read so far, 0 ... 1; nothing if its size is unknown, as for a pipe.
  std::optional<double> Progress() const;

  /// Reads up to `frames` interleaved frames, full scale 1.0, and returns their number, which is
  /// smaller only at the end. Leaves out damaged parts. Reads joined files and Ogg chains through
  /// all links. Throws `AudioFileError` if bytes cannot be read, or if the sample rate or the
  /// channels change.
  std::size_t Read(double* samples, std::size_t frames);

  /// The damage found so far. Complete at the end.
  const Damage& Missing() const { return mDamage; }

 private:
  std::unique_ptr<LibavDecoder> OpenNextLink();
  void CloseLink();
  void EndEarly(Damage& damage) const;
  void SkipLink();
  void OpenLaterLink();
  double Here() const;

  std::string mPath;
  std::optional<std::size_t> mStream;
  std::unique_ptr<ByteInput> mInput;
  std::unique_ptr<LinkInput> mLinks;    // reads mInput
  std::unique_ptr<LibavDecoder> mLink;  // current link of mLinks; null: at the end
  AudioFormat mFormat;
  std::string mFormatText;
  std::vector<StreamInfo> mStreams;
  std::uint64_t mFramesRead = 0;
  std::uint64_t mFramesBefore = 0;  // frames before the current link
  Damage mDamage;                   // in the links before
};

/// The audio streams of a file, with any number of channels and any sample rate. Throws
/// `AudioFileError`.
std::vector<StreamInfo> AudioStreamsOf(const std::string& path);

}  // namespace louddesk
