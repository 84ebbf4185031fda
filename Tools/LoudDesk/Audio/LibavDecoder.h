// One stream of audio, demultiplexed and decoded by FFmpeg's libraries. One object per stream.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "AudioFormat.h"
#include "Damage.h"
#include "LibavContainer.h"
#include "LibavHeaders.h"
#include "LibavSamples.h"
#include "LinkInput.h"

namespace louddesk {

class LibavDecoder {
 public:
  /// Opens the current link of `input`, which must outlive the object, and selects the stream with
  /// the given number, counted from 1, or the one that players choose. `path` is the name in error
  /// messages. Throws `AudioFileError` if there is no such stream or nothing in it can be decoded.
  LibavDecoder(const std::string& path, LinkInput& input, std::optional<std::size_t> stream);

  LibavDecoder(const LibavDecoder&) = delete;
  LibavDecoder& operator=(const LibavDecoder&) = delete;

  const AudioFormat& Format() const { return mFormat; }

  /// Container and codec.
  std::string FormatInWords() const { return mContainer.FormatInWords(); }

  /// The audio streams of the link, with the chosen one marked.
  std::vector<StreamInfo> Streams() const { return mContainer.Streams(); }

  /// Reads up to `frames` interleaved frames, full scale 1.0, and returns their number, which is
  /// smaller only at the end. Leaves out priming and padding declared in the file, as players do.
  /// Does not apply the dynamic range control of AC-3. Throws `AudioFileError` if channels or
  /// sample rate change.
  std::size_t Read(double* samples, std::size_t frames);

  /// The damage found so far, in time from the start of the link. Complete at the end.
  const Damage& Missing() const { return mDamage; }

 private:
  // Must not change between frames: sample rate, channels, AVChannelOrder and mask of positions.
  using FrameKind = std::tuple<int, int, int, std::uint64_t>;

  static FrameKind KindOf(const AVFrame& frame);
  AudioFormat FormatOf(const AVFrame& frame) const;
  std::string NothingText() const;
  void OpenCodec();
  bool NextFrame();
  bool ReceiveFrame();
  void SendPacket();
  int Decode(const AVPacket* packet);
  bool IsPacketCut() const;
  void MarkSuspect(std::int64_t lostTicks);
  std::int64_t LostTicks() const;
  void CheckKind() const;
  void CheckTime();
  void CheckLength();
  std::int64_t TakeGap();
  void CountLoss(double place, std::int64_t frames);
  void TakeFrame();
  std::int64_t FramesOf(std::int64_t ticks) const;
  double Here() const;

  std::string mPath;
  AudioFormat mFormat;
  LibavContainer mContainer;
  const AVStream& mStream;  // stream of mContainer
  LibavHandle<AVCodecContext> mCodec;
  LibavHandle<AVPacket> mPacket;
  LibavHandle<AVFrame> mFrame;
  FrameKind mKind{};

  bool mHasEnded = false;               // no more frames
  SampleReader mReadSamples = nullptr;  // for mFrame
  std::size_t mPlayed = 0;              // frames of mFrame without padding
  std::size_t mTaken = 0;               // number of these already read
  std::int64_t mDecoded = 0;            // total number of frames so far

  std::optional<std::int64_t> mNextTime;    // expected, in frames; nothing: unknown
  std::optional<double> mLeaptAt;           // s; where the last frame's time was not mNextTime
  std::optional<std::int64_t> mMostPlayed;  // total number of frames before the padding
  int mGoodSize = 0;                        // bytes of the last packet decoded without an error
  bool mIsSuspect = false;                  // an error occurred since the last good frame
  std::int64_t mLost = 0;                   // frames in the packets with errors since then
  bool mIsLossUnknown = false;              // the length of some loss is unknown
  Damage mDamage;
};

}  // namespace louddesk
