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
  /// Opens the link that `input` stands at, which must outlive the object, and the stream of that
  /// number, counted from 1, or the one that players choose. `path` is what messages name. Throws
  /// `AudioFileError` when there is no such stream or nothing in it can be decoded.
  LibavDecoder(const std::string& path, LinkInput& input, std::optional<std::size_t> stream);

  LibavDecoder(const LibavDecoder&) = delete;
  LibavDecoder& operator=(const LibavDecoder&) = delete;

  const AudioFormat& Format() const { return mFormat; }

  /// Container and coding.
  std::string FormatInWords() const { return mContainer.FormatInWords(); }

  /// Audio streams of the link; the one that is read is marked.
  std::vector<StreamInfo> Streams() const { return mContainer.Streams(); }

  /// Reads up to `frames` interleaved frames, full scale 1.0, and returns how many there were:
  /// fewer only at the end. Priming and padding that the file declares are left out, as players do;
  /// the dynamic range control of AC-3 is not applied. Throws `AudioFileError` when channels or
  /// sample rate change on the way.
  std::size_t Read(double* samples, std::size_t frames);

  /// What turned out to be missing, in time from the beginning of the link. Complete at the end.
  const Damage& Missing() const { return mDamage; }

 private:
  // What must not change from frame to frame: Hz, channels, AVChannelOrder and mask of positions.
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
  void Suspect(std::int64_t lostTicks);
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
  const AVStream& mStream;  // of mContainer
  LibavHandle<AVCodecContext> mCodec;
  LibavHandle<AVPacket> mPacket;
  LibavHandle<AVFrame> mFrame;
  FrameKind mKind{};

  bool mHasEnded = false;               // there are no frames any more
  SampleReader mReadSamples = nullptr;  // of mFrame
  std::size_t mPlayed = 0;              // frames of mFrame, less padding
  std::size_t mTaken = 0;               // of these
  std::int64_t mDecoded = 0;            // frames in all, so far

  std::optional<std::int64_t> mNextTime;    // in frames; nothing: the file does not say
  std::optional<double> mLeaptAt;           // s; where the last frame's time was not mNextTime
  std::optional<std::int64_t> mMostPlayed;  // frames; what is decoded behind is padding
  int mGoodSize = 0;                        // bytes of the last packet that was decoded
  bool mIsSuspect = false;                  // something was wrong since the last good frame
  std::int64_t mLost = 0;                   // frames of the packets that were
  bool mIsLossUnknown = false;              // of a place
  Damage mDamage;
};

}  // namespace louddesk
