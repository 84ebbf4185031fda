// Runs libavformat on our own byte source.

#include "LibavContainer.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <iterator>
#include <string_view>

#include "AudioFileError.h"

namespace louddesk {
namespace {

constexpr int kBufferSize = 65536;

// Format guesses below this score are rejected: any large enough file of noise contains bytes that
// look like some header.
constexpr int kLeastScore = AVPROBE_SCORE_RETRY / 2;

// The accepted containers, by libavformat's names. Playlists, pictures, devices and the like are
// excluded. Docs/MEASURING.md lists the containers for users.
constexpr char kWav[] = "wav";
constexpr char kMp4[] = "mov,mp4,m4a,3gp,3g2,mj2";
constexpr char kCaf[] = "caf";
constexpr char kAvi[] = "avi";
constexpr char kMatroska[] = "matroska,webm";
constexpr char kAsf[] = "asf";
constexpr const char* kContainers[] = {kWav,   "w64", "aiff", "au",   kCaf, "flac",    "ogg",
                                       "mp3",  "aac", "ac3",  "eac3", kMp4, kMatroska, "mpegts",
                                       "mpeg", "mxf", kAvi,   kAsf,   "wv", "tta",     "ape"};

// Limits for untrusted files: bytes and streams examined when opening, and the largest allocation.
// Real files stay far below.
constexpr std::int64_t kMostProbeBytes = 20'000'000;
constexpr int kMostStreams = 200;
constexpr std::size_t kMostMemory = 512U << 20U;

// Packet size for plain samples, in bytes.
constexpr char kPacketBytes[] = "65536";

// After this many consecutive errors, a demuxer will not find anything further.
constexpr int kMostFaultsInARow = 1000;

struct Named {
  const char* name;
};

// Containers that store the length of the stream, by libavformat's names; for others it is only an
// estimate. An exact length is exact to the frame for lossless codecs.
struct LengthFacts {
  const char* name;
  bool isExact;
};

constexpr LengthFacts kLengths[] = {
    {"flac", true}, {"mp3", false}, {"wv", true},  {"tta", true},     {kWav, true},
    {"w64", true},  {"aiff", true}, {"au", true},  {"ape", true},     {"mxf", true},
    {kMp4, true},   {kAvi, false},  {kCaf, false}, {kMatroska, false}};
constexpr double kLengthTolerance = 0.5;  // s, for lengths that are not exact

// Containers of plain samples, which libavformat cuts into packets. Apparent samples may be a coded
// stream, such as DTS on a disc. libavformat looks for one in the first packets, 3 s of a disc.
constexpr Named kInPieces[] = {{kWav}, {"w64"}, {"aiff"}, {"au"}, {kCaf}};
constexpr int kPacketsLookedAt = 8;

// Streams without a container, which a parser cuts into packets. Bytes that the parser does not
// recognise become part of the next packet.
constexpr Named kCutByParser[] = {{"mp3"}, {"aac"}, {"ac3"}, {"eac3"}};

// Containers that cannot be read without their index.
constexpr Named kIndexed[] = {{kMp4}, {kCaf}};

// Containers in which a gap between packets is a loss. Times in Ogg count frames. Times in Matroska
// are rounded, and a recorder may skip a packet or two.
struct GapFacts {
  const char* name;
  double leastGap;  // s
};

constexpr GapFacts kGaps[] = {{"ogg", 0.002}, {kMatroska, 0.25}, {kAsf, 0.1}};

// Containers of blocks that all begin with the same bytes. After damage the demuxer looks for the
// next block where it stands, and only there.
struct BlockFacts {
  const char* name;
  const char* magic;
};

constexpr BlockFacts kBlocks[] = {{"wv", "wvpk"}};

// Programs that write into a pipe do not know the length and store this value or a larger one.
constexpr std::int64_t kPlaceholderBytes = 0x7FFF0000;
constexpr std::int64_t kPlaceholderPackets = 0x40000000;  // in AVI

template <typename Facts, std::size_t kCount>
const Facts* FactsOf(const Facts (&table)[kCount], const AVInputFormat& format) {
  const auto* found = std::find_if(std::begin(table), std::end(table), [&format](const Facts& f) {
    return std::strcmp(f.name, format.name) == 0;
  });
  return found == std::end(table) ? nullptr : found;
}

template <typename Facts, std::size_t kCount>
const Facts* FactsOf(const Facts (&table)[kCount], const AVFormatContext& context) {
  return FactsOf(table, *context.iformat);
}

bool IsRead(const AVInputFormat& format) {
  return std::any_of(std::begin(kContainers), std::end(kContainers),
                     [&format](const char* name) { return std::strcmp(format.name, name) == 0; });
}

// The libraries also return the errors that matter, so their messages are dropped.
void IgnoreLog(void*, int, const char*, va_list) {}

// Runs once, because the library stores the callback without synchronisation and files are opened
// on several threads.
void SilenceLibav() {
  static const bool isSilenced = (av_log_set_callback(IgnoreLog), true);
  static_cast<void>(isSilenced);
}

int RefuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
  return AVERROR(EPERM);
}

std::string TagOf(const AVStream& stream, const char* key) {
  const AVDictionaryEntry* entry = av_dict_get(stream.metadata, key, nullptr, 0);
  return entry == nullptr ? "" : entry->value;
}

bool IsLossless(const AVStream& stream) {
  const AVCodecDescriptor* codec = avcodec_descriptor_get(stream.codecpar->codec_id);
  return codec != nullptr && (codec->props & AV_CODEC_PROP_LOSSY) == 0;
}

std::optional<double> SecondsOf(const AVStream& stream) {
  if (stream.duration == AV_NOPTS_VALUE || stream.duration <= 0)
    return std::nullopt;
  return static_cast<double>(stream.duration) * av_q2d(stream.time_base);
}

// "48000 Hz, stereo".
std::string FormatText(const AVCodecParameters& codec) {
  std::array<char, 128> layout{};
  av_channel_layout_describe(&codec.ch_layout, layout.data(), layout.size());
  return fmt::format("{} Hz, {}", codec.sample_rate, layout.data());
}

StreamInfo InfoOf(const AVStream& stream) {
  StreamInfo info;
  info.codec = avcodec_get_name(stream.codecpar->codec_id);
  info.format = FormatText(*stream.codecpar);
  info.seconds = SecondsOf(stream);
  info.language = TagOf(stream, "language");
  info.title = TagOf(stream, "title");
  return info;
}

// Demuxers that meet the end have all kinds of errors.
std::string UnknownText(LinkInput& input, int error, bool isAtEnd) {
  constexpr char kNotAudio[] = "is not audio that can be read";
  if (error == AVERROR_EOF || (isAtEnd && error != AVERROR_INVALIDDATA))
    return "ends before its audio begins";
  if (error != AVERROR_INVALIDDATA)
    return fmt::format("{}: {}", kNotAudio, LibavText(error));
  return fmt::format("{}: {}", kNotAudio,
                     input.Seekable() == nullptr
                         ? "its format is unknown or cannot be read from a pipe, as MP4 "
                           "with its index at the end"
                         : "its format is unknown");
}

}  // namespace

LibavContainer::LibavContainer(const std::string& path, LinkInput& input)
    : mPath(path), mInput(input) {
  SilenceLibav();
  mBytes.reset(avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBufferSize)), kBufferSize,
                                  0, this, ReadBytes, nullptr, SeekBytes));
  const AVInputFormat* format = FormatOf(input);
  mIsWav = std::strcmp(format->name, kWav) == 0;
  mBytes->seekable = input.Seekable() == nullptr || mIsWav ? 0 : AVIO_SEEKABLE_NORMAL;
  Open(format);
  avformat_find_stream_info(mContext.get(), nullptr);
  mStreamsAtFirst = AudioStreams().size();
  if (mStreamsAtFirst == 0)
    throw AudioFileError(path, "contains no audio");
}

// Uses the format that the link specifies; otherwise guesses from the first bytes.
const AVInputFormat* LibavContainer::FormatOf(LinkInput& input) {
  if (input.Container() != nullptr)
    return av_find_input_format(input.Container());
  const AVInputFormat* format = nullptr;
  const int score = av_probe_input_buffer2(mBytes.get(), &format, "", nullptr, 0, kMostProbeBytes);
  if (score < kLeastScore || !IsRead(*format))
    throw AudioFileError(mPath, UnknownText(input, score < 0 ? score : AVERROR_INVALIDDATA, false));
  return format;
}

void LibavContainer::Open(const AVInputFormat* format) {
  AVFormatContext* context = avformat_alloc_context();
  context->pb = mBytes.get();
  context->io_open = RefuseToOpen;
  context->probesize = kMostProbeBytes;
  context->max_streams = kMostStreams;
  if (FactsOf(kInPieces, *format) != nullptr)
    context->max_probe_packets = kPacketsLookedAt;
  av_max_alloc(kMostMemory);
  AVDictionary* options = nullptr;
  av_dict_set(&options, "max_size", kPacketBytes, 0);
  const int error =
      avformat_open_input(&context, nullptr, format, &options);  // frees context on failure
  av_dict_free(&options);
  // Many programs write the index of these files last.
  if (error == AVERROR_INVALIDDATA && mInput.Seekable() != nullptr &&
      FactsOf(kIndexed, *format) != nullptr)
    throw AudioFileError(mPath, "has no readable index: it is damaged, cut off or unfinished");
  if (error < 0)
    throw AudioFileError(mPath, UnknownText(mInput, error, avio_feof(mBytes.get()) != 0));
  mContext.reset(context);
  if (mContext->nb_streams > 0)
    FindEndOfWav();
}

std::vector<AVStream*> LibavContainer::AudioStreams() const {
  std::vector<AVStream*> streams;
  for (unsigned i = 0; i < mContext->nb_streams; ++i)
    if (mContext->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
      streams.push_back(mContext->streams[i]);
  return streams;
}

std::vector<StreamInfo> LibavContainer::Streams() const {
  const int best = av_find_best_stream(mContext.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  std::vector<StreamInfo> infos;
  for (const AVStream* stream : AudioStreams()) {
    infos.push_back(InfoOf(*stream));
    infos.back().isChosen = stream->index == best;
  }
  return infos;
}

const AVStream& LibavContainer::Choose(std::optional<std::size_t> number) {
  const std::vector<AVStream*> streams = AudioStreams();
  if (number && (*number < 1 || *number > streams.size()))
    throw AudioFileError(mPath,
                         fmt::format("has no audio stream {}; it has {}", *number, streams.size()));
  const int best = av_find_best_stream(mContext.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  mIsChosenByNumber = number.has_value();
  mStream = number ? streams[*number - 1] : mContext->streams[std::max(best, 0)];
  for (unsigned i = 0; i < mContext->nb_streams; ++i)
    if (mContext->streams[i] != mStream)
      mContext->streams[i]->discard = AVDISCARD_ALL;
  return *mStream;
}

LibavContainer::Got LibavContainer::ReadPacket(AVPacket& packet) {
  for (;;) {
    const int error = av_read_frame(mContext.get(), &packet);
    if (error == AVERROR_EOF || mFaultsInARow >= kMostFaultsInARow) {
      CheckForLaterStreams();
      CheckForWrappedSize();
      return Got::kEnd;
    }
    if (error < 0) {
      ++mFaultsInARow;
      GoToNextBlock();
      return Got::kFault;
    }
    mFaultsInARow = 0;
    if (packet.stream_index == mStream->index)
      return IsPacketSuspect(packet) ? Got::kSuspectPacket : Got::kPacket;
    av_packet_unref(&packet);
  }
}

// Moves on to the next block of a container of blocks.
void LibavContainer::GoToNextBlock() {
  const BlockFacts* facts = FactsOf(kBlocks, *mContext);
  if (facts == nullptr)
    return;
  const std::string_view magic = facts->magic;
  std::string seen;
  while (seen != magic && avio_feof(mBytes.get()) == 0) {
    seen.erase(0, seen.size() == magic.size() ? 1 : 0);
    seen += static_cast<char>(avio_r8(mBytes.get()));
  }
  if (seen == magic)
    avio_skip(mBytes.get(), -static_cast<std::int64_t>(magic.size()));
}

// Containers of plain samples mark their shorter last packet as corrupt, which is normal.
bool LibavContainer::IsPacketSuspect(const AVPacket& packet) const {
  return (packet.flags & AV_PKT_FLAG_CORRUPT) != 0 && FactsOf(kInPieces, *mContext) == nullptr;
}

bool LibavContainer::NeedsFile() const {
  return mInput.Seekable() == nullptr && std::strcmp(mContext->iformat->name, kMp4) == 0;
}

// A stream that starts later may be the rest of the programme or a different one, as in joined
// broadcasts.
void LibavContainer::CheckForLaterStreams() const {
  if (!mIsChosenByNumber && AudioStreams().size() > mStreamsAtFirst)
    throw AudioFileError(mPath,
                         "has audio streams that begin later than the first; choose one with "
                         "--stream");
}

// Ends reading after the samples; otherwise the demuxer would search the rest of the file.
void LibavContainer::FindEndOfWav() {
  const AVCodecParameters& codec = *mContext->streams[0]->codecpar;
  const std::int64_t frames = mContext->streams[0]->duration;
  if (mIsWav && frames > 0 && av_get_bits_per_sample(codec.codec_id) > 0)
    mEndOfBytes = static_cast<std::uint64_t>(avio_tell(mBytes.get()) + frames * codec.block_align);
}

std::string LibavContainer::FormatInWords() const {
  const AVCodecDescriptor* codec = avcodec_descriptor_get(mStream->codecpar->codec_id);
  return fmt::format(
      "{}, {}", mContext->iformat->long_name,
      codec != nullptr && codec->long_name != nullptr ? codec->long_name : "unknown");
}

bool LibavContainer::IsCutByParser() const {
  return FactsOf(kCutByParser, *mContext) != nullptr;
}

// The sizes in a WAV have 32 bits. Programs that write more than 4 GiB let them wrap around.
void LibavContainer::CheckForWrappedSize() const {
  constexpr std::uint64_t kWrap = std::uint64_t{1} << 32U;
  const ByteInput* input = mInput.Seekable();
  if (mEndOfBytes != UINT64_MAX && input != nullptr && *input->Size() >= mEndOfBytes + kWrap)
    throw AudioFileError(mPath, "is longer than the 4 GiB that its header can describe");
}

std::optional<LibavContainer::HeaderLength> LibavContainer::LengthInHeader(int sampleRate) const {
  const LengthFacts* facts = FactsOf(kLengths, *mContext);
  if (facts == nullptr)
    return std::nullopt;
  const AVRational frame{1, sampleRate};
  std::int64_t frames = 0;
  const bool isCounted =  // number of packets is exact for plain samples
      facts->name == kCaf && av_get_bits_per_sample(mStream->codecpar->codec_id) > 0;
  if (isCounted)
    frames = mStream->nb_frames;
  else if (facts->name == kAvi)  // the demuxer scales the duration to the size of the file
    frames = av_rescale_q(mStream->nb_frames, mStream->time_base, frame);
  else if (mContext->duration_estimation_method != AVFMT_DURATION_FROM_STREAM)
    return std::nullopt;
  else if (facts->name == kMatroska)
    frames = FramesOfMatroska(frame);
  else if (mStream->duration > 0)
    frames = av_rescale_q(mStream->duration, mStream->time_base, frame);
  else if (mContext->nb_streams == 1 && mContext->duration > 0)
    frames = av_rescale_q(mContext->duration, AV_TIME_BASE_Q, frame);
  if (frames <= 0 || IsPlaceholder(frames))
    return std::nullopt;
  const bool isExact = isCounted || (facts->isExact && IsLossless(*mStream));
  return HeaderLength{frames, isExact ? 0 : std::llround(kLengthTolerance * sampleRate)};
}

// Matroska stores the length of the longest stream. Most programs note that of each stream in a
// tag. Without the tag, the longest counts only for a single stream, and for a file whose end is
// missing.
std::int64_t LibavContainer::FramesOfMatroska(AVRational frame) const {
  std::int64_t duration = 0;  // us, to the end of the stream
  const bool isTagged = av_parse_time(&duration, TagOf(*mStream, "DURATION").c_str(), 1) >= 0;
  if (!isTagged && mContext->nb_streams > 1 && mInput.LackingShare() == 0.0)
    return 0;
  duration = isTagged ? std::min(duration, mContext->duration) : mContext->duration;
  const std::int64_t begin = mStream->start_time == AV_NOPTS_VALUE
                                 ? 0
                                 : av_rescale_q(mStream->start_time, mStream->time_base, frame);
  return av_rescale_q(duration, AV_TIME_BASE_Q, frame) - std::max<std::int64_t>(begin, 0);
}

// Programs that cannot go back to the header of an AVI leave this number of packets in it.
bool LibavContainer::IsPlaceholder(std::int64_t frames) const {
  if (std::strcmp(mContext->iformat->name, kAvi) == 0)
    return mStream->nb_frames == kPlaceholderPackets;
  return mInput.Seekable() == nullptr &&
         frames >= kPlaceholderBytes / std::max(mStream->codecpar->block_align, 1);
}

// MP4 stores how much of its last packet is to be played.
std::optional<std::int64_t> LibavContainer::Padding(int sampleRate) const {
  const int packets = avformat_index_get_entries_count(mStream);
  if (std::strcmp(mContext->iformat->name, kMp4) != 0 || packets == 0)
    return std::nullopt;
  const AVIndexEntry* last = avformat_index_get_entry(mStream, packets - 1);
  if (last->timestamp >= mStream->duration)
    return std::nullopt;
  return av_rescale_q(mStream->duration, mStream->time_base, AVRational{1, sampleRate});
}

std::optional<double> LibavContainer::LeastGap() const {
  const GapFacts* facts = FactsOf(kGaps, *mContext);
  return facts == nullptr ? std::nullopt : std::make_optional(facts->leastGap);
}

int LibavContainer::ReadBytes(void* container, std::uint8_t* bytes, int count) {
  LibavContainer& self = *static_cast<LibavContainer*>(container);
  if (self.mBytesRead >= self.mEndOfBytes)
    return AVERROR_EOF;
  const std::size_t got = self.mInput.Read(bytes, static_cast<std::size_t>(count));
  self.mBytesRead += got;
  return got == 0 ? AVERROR_EOF : static_cast<int>(got);
}

std::int64_t LibavContainer::SeekBytes(void* opaque, std::int64_t offset, int whence) {
  const LibavContainer& container = *static_cast<LibavContainer*>(opaque);
  LinkInput& link = container.mInput;
  if ((whence & AVSEEK_SIZE) != 0 && container.mIsWav)
    return INT64_MAX;
  if ((whence & AVSEEK_SIZE) != 0 && link.Container() != nullptr)
    return 0;
  if (link.Seekable() == nullptr)
    return AVERROR(ESPIPE);
  const auto size = static_cast<std::int64_t>(link.Seekable()->Size().value_or(0));
  if ((whence & AVSEEK_SIZE) != 0)
    return size;
  const auto position = static_cast<std::int64_t>(link.Seekable()->Position());
  const int from = whence & ~AVSEEK_FORCE;
  const std::int64_t begin = from == SEEK_CUR ? position : from == SEEK_END ? size : 0;
  if (begin + offset < 0)
    return AVERROR(EINVAL);
  link.Seekable()->SeekTo(static_cast<std::uint64_t>(begin + offset));
  return begin + offset;
}

}  // namespace louddesk
