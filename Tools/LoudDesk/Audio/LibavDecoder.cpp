// Decodes with libavcodec, and keeps account of what could not be decoded.

#include "LibavDecoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "AudioFileError.h"
#include "FlacFrame.h"
#include "MpegFrame.h"

namespace louddesk {
namespace {

// A larger jump in time is a changed clock, not a loss.
constexpr double kLongestGap = 3600.0;  // s

// A loss this close to the end counts as the end.
constexpr double kNearEnd = 0.5;  // s

// After this many consecutive errors, a decoder will not accept another packet.
constexpr int kMostFaultsInARow = 100'000;

// Errors in a packet make decoding fail.
constexpr int kAllChecks = AV_EF_CRCCHECK | AV_EF_EXPLODE;

// Switches off dynamic range control: programmes are measured at their original levels.
constexpr char kDynamicRangeControl[] = "drc_scale";

template <typename Object>
Object* Allocated(Object* object) {
  if (object == nullptr)
    throw std::bad_alloc();
  return object;
}

ChannelMap PositionsOf(AVCodecID codec, const AVChannelLayout& layout) {
  // Opus with a channel mapping family without speakers (RFC 7845, section 5.1.1.3).
  if (codec == AV_CODEC_ID_OPUS && layout.order == AV_CHANNEL_ORDER_UNSPEC)
    return ChannelMap(static_cast<std::size_t>(layout.nb_channels), AV_CHAN_NONE);
  return ChannelMapOf(layout);
}

}  // namespace

LibavDecoder::FrameKind LibavDecoder::KindOf(const AVFrame& frame) {
  const AVChannelLayout& layout = frame.ch_layout;
  const bool hasMask = layout.order == AV_CHANNEL_ORDER_NATIVE;
  return {frame.sample_rate, layout.nb_channels, layout.order, hasMask ? layout.u.mask : 0};
}

AudioFormat LibavDecoder::FormatOf(const AVFrame& frame) const {
  return {static_cast<std::size_t>(frame.ch_layout.nb_channels), frame.sample_rate,
          PositionsOf(mStream.codecpar->codec_id, frame.ch_layout)};
}

LibavDecoder::LibavDecoder(const std::string& path, LinkInput& input,
                           std::optional<std::size_t> stream)
    : mPath(path),
      mContainer(path, input),
      mStream(mContainer.Choose(stream)),
      mPacket(Allocated(av_packet_alloc())),
      mFrame(Allocated(av_frame_alloc())) {
  OpenCodec();
  if (!ReceiveFrame())
    throw AudioFileError(mPath, NothingText());
  mKind = KindOf(*mFrame);
  mFormat = FormatOf(*mFrame);
  mMostPlayed = mContainer.Padding(mFormat.sampleRate);
  TakeFrame();
}

// The error for a stream without any frame.
std::string LibavDecoder::NothingText() const {
  if (!mIsSuspect)
    return "contains no audio";
  return mContainer.NeedsFile() ? "cannot be read from a pipe: its index is at the end"
                                : "cannot be decoded";
}

void LibavDecoder::OpenCodec() {
  const AVCodec* codec = avcodec_find_decoder(mStream.codecpar->codec_id);
  if (codec == nullptr)
    throw AudioFileError(mPath, fmt::format("contains audio that cannot be decoded ({})",
                                            avcodec_get_name(mStream.codecpar->codec_id)));
  mCodec.reset(Allocated(avcodec_alloc_context3(codec)));
  avcodec_parameters_to_context(mCodec.get(), mStream.codecpar);
  mCodec->pkt_timebase = mStream.time_base;
  mCodec->thread_count = 1;
  mCodec->err_recognition = kAllChecks;
  AVDictionary* options = nullptr;
  av_dict_set(&options, kDynamicRangeControl, "0", 0);
  const int error = avcodec_open2(mCodec.get(), codec, &options);
  av_dict_free(&options);
  if (error < 0)
    throw AudioFileError(mPath, fmt::format("contains audio that cannot be decoded ({}: {})",
                                            codec->name, LibavText(error)));
}

std::size_t LibavDecoder::Read(double* samples, std::size_t frames) {
  std::size_t got = 0;
  while (got < frames && (mTaken < mPlayed || NextFrame())) {
    const std::size_t piece = std::min(frames - got, mPlayed - mTaken);
    mReadSamples(*mFrame, mTaken, piece, samples + got * mFormat.channels);
    mTaken += piece;
    got += piece;
  }
  return got;
}

bool LibavDecoder::NextFrame() {
  if (mHasEnded)
    return false;
  if (!ReceiveFrame()) {
    CheckLength();
    return false;
  }
  CheckKind();
  TakeFrame();
  return true;
}

// Receives the next intact frame. Skips frames that the decoder reports as damaged.
bool LibavDecoder::ReceiveFrame() {
  for (int faults = 0; !mHasEnded;) {
    const int error = avcodec_receive_frame(mCodec.get(), mFrame.get());
    mHasEnded = error == AVERROR_EOF || faults >= kMostFaultsInARow;
    if (error == AVERROR(EAGAIN))
      SendPacket();
    if (error < 0 && error != AVERROR(EAGAIN) && error != AVERROR_EOF) {
      MarkSuspect(0);
      ++faults;
    }
    if (error == 0 && mFrame->decode_error_flags != 0)
      MarkSuspect(mFrame->pkt_duration);
    else if (error == 0 && mFrame->nb_samples > 0)
      return true;
  }
  return false;
}

void LibavDecoder::SendPacket() {
  const LibavContainer::Got got = mContainer.ReadPacket(*mPacket);
  if (got == LibavContainer::Got::kFault || got == LibavContainer::Got::kSuspectPacket)
    MarkSuspect(0);
  if (got == LibavContainer::Got::kFault)
    return;
  // At the end, makes the decoder return its remaining frames.
  const bool isEnd = got == LibavContainer::Got::kEnd;
  if (!isEnd && IsPacketCut())
    MarkSuspect(mPacket->duration);
  else if (Decode(isEnd ? nullptr : mPacket.get()) < 0)
    MarkSuspect(LostTicks());
  else
    mGoodSize = mPacket->size;
  av_packet_unref(mPacket.get());
}

// Our check of frames is four times as fast as that of the FLAC decoder. The decoder checks only
// packets that fail ours, because a packet may contain further bytes after its frame.
int LibavDecoder::Decode(const AVPacket* packet) {
  const bool isIntact = packet != nullptr && mCodec->codec_id == AV_CODEC_ID_FLAC &&
                        FlacSum(packet->data, static_cast<std::size_t>(packet->size)) == 0;
  mCodec->err_recognition = isIntact ? kAllChecks & ~AV_EF_CRCCHECK : kAllChecks;
  return avcodec_send_packet(mCodec.get(), packet);
}

// The decoder of MPEG audio silently fills up a truncated frame.
bool LibavDecoder::IsPacketCut() const {
  const auto size = static_cast<std::size_t>(std::max(mPacket->size, 0));
  const AVCodecID codec = mStream.codecpar->codec_id;
  const bool isMpeg =
      codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 || codec == AV_CODEC_ID_MP3;
  return isMpeg && size >= kMpegHeader && IsMpegHeader(mPacket->data) &&
         size < MpegFrameSize(mPacket->data);
}

// The estimated duration of the packet's bytes, from the size of the last good packet.
std::int64_t LibavDecoder::LostTicks() const {
  if (!mContainer.IsCutByParser() || mPacket->size <= mGoodSize || mGoodSize == 0)
    return mPacket->duration;
  return av_rescale(mPacket->duration, mPacket->size, mGoodSize);
}

void LibavDecoder::CheckKind() const {
  if (KindOf(*mFrame) != mKind)
    throw AudioFileError(mPath, ChangeText(mFormat, FormatOf(*mFrame), Here()));
}

// A decoder may change its sample format between frames.
void LibavDecoder::TakeFrame() {
  mReadSamples = SampleReaderFor(mFrame->format);
  if (mReadSamples == nullptr)
    throw AudioFileError(mPath, "cannot be decoded (its sample format is unknown)");
  CheckTime();
  std::int64_t played = mFrame->nb_samples;
  if (mMostPlayed)
    played = std::clamp<std::int64_t>(*mMostPlayed - mDecoded, 0, played);
  mPlayed = static_cast<std::size_t>(played);
  mTaken = 0;
  mDecoded += played;
}

void LibavDecoder::MarkSuspect(std::int64_t lostTicks) {
  mIsSuspect = true;
  mLost += FramesOf(lostTicks);
}

// After damage, the times show how much is lost. In some containers, a gap alone shows a loss.
void LibavDecoder::CheckTime() {
  const double place = mLeaptAt.value_or(Here());
  std::int64_t gap = TakeGap();
  const auto least = mContainer.LeastGap();
  const double seconds = static_cast<double>(gap) / mFrame->sample_rate;
  if (seconds > kLongestGap || seconds < 0.0)
    gap = 0;
  if (mIsSuspect || (least && gap > 0 && seconds >= *least))
    CountLoss(place, std::max(gap, mLost));
}

// Number of frames between the end of the last frame and the time of this one. Without other
// damage, a jump counts only if the next frame confirms it: the time of a Vorbis frame between long
// and short blocks may be too late.
std::int64_t LibavDecoder::TakeGap() {
  if (mFrame->best_effort_timestamp == AV_NOPTS_VALUE) {
    mNextTime.reset();
    mLeaptAt.reset();
    return 0;
  }
  const std::int64_t time = FramesOf(mFrame->best_effort_timestamp);
  const std::int64_t gap = time - mNextTime.value_or(time);
  if (gap != 0 && !mLeaptAt && !mIsSuspect) {
    mLeaptAt = Here();
    *mNextTime += mFrame->nb_samples;
    return 0;
  }
  mLeaptAt.reset();
  mNextTime = time + mFrame->nb_samples;
  return gap;
}

void LibavDecoder::CountLoss(double place, std::int64_t frames) {
  mDamage.places.push_back(place);
  mDamage.missing += static_cast<double>(frames) / mFormat.sampleRate;
  mIsLossUnknown = mIsLossUnknown || frames == 0;
  mIsSuspect = false;
  mLost = 0;
}

// Compares the decoded length with the container's. Assigns missing frames to damaged places of
// unknown length, or else to the end. What cannot be read after the declared length is not audio:
// for example a tag, which is only recognised where the file is not a pipe.
void LibavDecoder::CheckLength() {
  const double there = Here();
  const auto declared = mContainer.LengthInHeader(mFormat.sampleRate);
  const bool isWhole = declared && mDecoded >= declared->frames;
  if (mIsSuspect && !isWhole) {
    mDamage.endsAt = there;
    mDamage.missing += static_cast<double>(mLost) / mFormat.sampleRate;
  }
  mDamage.isEndUnknown = mDamage.endsAt && !declared;
  if (!declared)
    return;
  const double lacking =
      static_cast<double>(declared->frames - mDecoded) / mFormat.sampleRate - mDamage.missing;
  if (lacking * mFormat.sampleRate <= static_cast<double>(declared->tolerance) + 0.5)
    return;
  const bool isAtEnd = !mDamage.places.empty() && there - mDamage.places.back() < kNearEnd;
  if (isAtEnd)
    mDamage.places.pop_back();
  if (isAtEnd || !mIsLossUnknown)
    mDamage.endsAt = there;
  mDamage.missing += lacking;
}

std::int64_t LibavDecoder::FramesOf(std::int64_t ticks) const {
  return av_rescale_q(ticks, mStream.time_base, AVRational{1, mCodec->sample_rate});
}

// Position in the undamaged link, s, as far as it is known.
double LibavDecoder::Here() const {
  return static_cast<double>(mDecoded) / mFormat.sampleRate + mDamage.missing;
}

}  // namespace louddesk
