// The packets of one audio stream of a container, demultiplexed by FFmpeg's libraries. Nothing that
// the container refers to, as another file or an address on the network, is opened.

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
  /// Opens the link that `input` stands at, which must outlive the object. `path` is what messages
  /// name. Throws `AudioFileError` when it cannot be read or holds no audio.
  LibavContainer(const std::string& path, LinkInput& input);

  LibavContainer(const LibavContainer&) = delete;
  LibavContainer& operator=(const LibavContainer&) = delete;

  /// The audio streams; the one that players choose by themselves is marked.
  std::vector<StreamInfo> Streams() const;

  /// The stream of a number, counted from 1, or the marked one; from now on packets are of that
  /// stream. Throws `AudioFileError` when there is none of that number.
  const AVStream& Choose(std::optional<std::size_t> number);

  /// The container and the coding of the chosen stream, by the library's names.
  std::string FormatInWords() const;

  enum class Got { kPacket, kSuspectPacket, kFault, kEnd };

  /// Reads the next packet of the chosen stream. `kSuspectPacket`: the container knows that some of
  /// it is missing. `kFault`: something could not be read; the next call goes on behind it. Throws
  /// `AudioFileError` at the end when there were streams that began later, of which nobody has
  /// chosen one.
  Got ReadPacket(AVPacket& packet);

  /// Frames of `sampleRate` that the container promises for the chosen stream; `tolerance` is what
  /// may be lacking in an intact file. Nothing where the container only estimates them.
  struct Promise {
    std::int64_t frames;
    std::int64_t tolerance;
  };
  std::optional<Promise> Promised(int sampleRate) const;

  /// Frames from which on the last packet holds padding; nothing where it holds none.
  std::optional<std::int64_t> Padding(int sampleRate) const;

  /// Whether what it holds can be found in a file only: it comes from a pipe.
  bool NeedsFile() const;

  /// Whether bytes that are not audio may have ended up in the packets of a stream.
  bool IsCutByParser() const;

  /// From which gap between the times of two packets on something is missing there, s; nothing
  /// where gaps mean nothing.
  std::optional<double> LeastGap() const;

 private:
  const AVInputFormat* FormatOf(LinkInput& input);
  void Open(const AVInputFormat* format);
  std::vector<AVStream*> AudioStreams() const;
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
  // The demuxer of WAV trusts the length in a header only as far as the file reaches. From a file
  // that seems endless it passes on what the header promises.
  bool mIsWav = false;
  std::uint64_t mBytesRead = 0;
  std::uint64_t mEndOfBytes = UINT64_MAX;  // nothing is read from there on
  AVStream* mStream = nullptr;             // of mContext
  std::size_t mStreamsAtFirst = 0;         // audio streams when it was opened
  bool mIsChosenByNumber = false;
  int mFaultsInARow = 0;
};

}  // namespace louddesk
