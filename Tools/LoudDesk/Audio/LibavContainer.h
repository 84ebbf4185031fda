// The packets of one audio stream, demultiplexed by FFmpeg's libraries. References in the
// container, such as other files or network addresses, are never opened.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "AudioFormat.h"
#include "LibavHeaders.h"
#include "LinkInput.h"

namespace louddesk {

class LibavContainer {
 public:
  /// Opens the current link of `input`, which must outlive the object. `path` is the name in error
  /// messages. Throws `AudioFileError` if the link cannot be read or has no audio.
  LibavContainer(const std::string& path, LinkInput& input);

  LibavContainer(const LibavContainer&) = delete;
  LibavContainer& operator=(const LibavContainer&) = delete;

  /// The audio streams, with the one that players choose by default marked.
  std::vector<StreamInfo> Streams() const;

  /// Selects the stream with a number, counted from 1, or the marked one. From then on, packets are
  /// from this stream. Throws `AudioFileError` if there is no stream with this number.
  const AVStream& Choose(std::optional<std::size_t> number);

  /// The container and the codec of the chosen stream, by the library's names.
  std::string FormatInWords() const;

  enum class Got { kPacket, kSuspectPacket, kFault, kEnd };

  /// Reads the next packet of the chosen stream. `kSuspectPacket`: the container reports that parts
  /// of the packet are missing. `kFault`: something could not be read; the next call continues
  /// after it. Throws `AudioFileError` at the end if further streams appeared later and no number
  /// was chosen.
  Got ReadPacket(AVPacket& packet);

  /// Length of the chosen stream in frames at `sampleRate`, as stored in the container. `tolerance`
  /// is the number of frames by which an intact file may be shorter. Nothing if the length is only
  /// an estimate.
  struct HeaderLength {
    std::int64_t frames;
    std::int64_t tolerance;
  };
  std::optional<HeaderLength> LengthInHeader(int sampleRate) const;

  /// Number of frames after which the last packet contains padding; nothing if it contains none.
  std::optional<std::int64_t> Padding(int sampleRate) const;

  /// Whether the container comes from a pipe but can only be read from a file.
  bool NeedsFile() const;

  /// Whether packets of the stream may contain bytes that are not audio.
  bool IsCutByParser() const;

  /// The smallest gap between the times of two packets that means a loss, s; nothing if gaps have
  /// no meaning.
  std::optional<double> LeastGap() const;

 private:
  const AVInputFormat* FormatOf(LinkInput& input);
  void Open(const AVInputFormat* format);
  std::vector<AVStream*> AudioStreams() const;
  void GoToNextBlock();
  std::int64_t FramesOfMatroska(AVRational frame) const;
  bool IsPacketSuspect(const AVPacket& packet) const;
  void CheckForLaterStreams() const;
  void FindEndOfWav();
  void CheckForWrappedSize() const;
  bool IsPlaceholder(std::int64_t frames) const;

  static int ReadBytes(void* container, std::uint8_t* bytes, int count);
  static std::int64_t SeekBytes(void* container, std::int64_t offset, int whence);

  std::string mPath;
  LinkInput& mInput;
  LibavHandle<AVIOContext> mBytes;
  LibavHandle<AVFormatContext> mContext;
  // The WAV demuxer limits the length in the header to the size of the file. A file that seems
  // endless makes it return the length in the header.
  bool mIsWav = false;
  std::uint64_t mBytesRead = 0;
  std::uint64_t mEndOfBytes = UINT64_MAX;  // reading stops here
  AVStream* mStream = nullptr;             // stream of mContext
  std::size_t mStreamsAtFirst = 0;         // audio streams when the link was opened
  bool mIsChosenByNumber = false;
  int mFaultsInARow = 0;
};

}  // namespace louddesk
