// Channel maps from libsndfile, from the orders that formats prescribe, and from the two headers
// that libsndfile reads past.

#include "ChannelMap.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace louddesk {
namespace {

constexpr int kLeft = SF_CHANNEL_MAP_LEFT;
constexpr int kRight = SF_CHANNEL_MAP_RIGHT;
constexpr int kCenter = SF_CHANNEL_MAP_CENTER;
constexpr int kLfe = SF_CHANNEL_MAP_LFE;
constexpr int kSideLeft = SF_CHANNEL_MAP_SIDE_LEFT;
constexpr int kSideRight = SF_CHANNEL_MAP_SIDE_RIGHT;
constexpr int kRearLeft = SF_CHANNEL_MAP_REAR_LEFT;
constexpr int kRearRight = SF_CHANNEL_MAP_REAR_RIGHT;
constexpr int kRearCenter = SF_CHANNEL_MAP_REAR_CENTER;

// The orders of 1 to 8 channels.
const ChannelMap kVorbisOrders[] = {
    {kCenter},
    {kLeft, kRight},
    {kLeft, kCenter, kRight},
    {kLeft, kRight, kRearLeft, kRearRight},
    {kLeft, kCenter, kRight, kRearLeft, kRearRight},
    {kLeft, kCenter, kRight, kRearLeft, kRearRight, kLfe},
    {kLeft, kCenter, kRight, kSideLeft, kSideRight, kRearCenter, kLfe},
    {kLeft, kCenter, kRight, kSideLeft, kSideRight, kRearLeft, kRearRight, kLfe},
};

const ChannelMap kFlacOrders[] = {
    {kCenter},
    {kLeft, kRight},
    {kLeft, kRight, kCenter},
    {kLeft, kRight, kRearLeft, kRearRight},
    {kLeft, kRight, kCenter, kRearLeft, kRearRight},
    {kLeft, kRight, kCenter, kLfe, kRearLeft, kRearRight},
    {kLeft, kRight, kCenter, kLfe, kRearCenter, kSideLeft, kSideRight},
    {kLeft, kRight, kCenter, kLfe, kRearLeft, kRearRight, kSideLeft, kSideRight},
};

// What the bits of a channel mask stand for, from the lowest on.
constexpr int kMaskBits[] = {
    kLeft,
    kRight,
    kCenter,
    kLfe,
    kRearLeft,
    kRearRight,
    SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER,
    SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER,
    kRearCenter,
    kSideLeft,
    kSideRight,
    SF_CHANNEL_MAP_TOP_CENTER,
    SF_CHANNEL_MAP_TOP_FRONT_LEFT,
    SF_CHANNEL_MAP_TOP_FRONT_CENTER,
    SF_CHANNEL_MAP_TOP_FRONT_RIGHT,
    SF_CHANNEL_MAP_TOP_REAR_LEFT,
    SF_CHANNEL_MAP_TOP_REAR_CENTER,
    SF_CHANNEL_MAP_TOP_REAR_RIGHT,
};

// The first page of an Ogg stream has one packet, behind a header of 28 bytes. Opus has its mapping
// family, which is 0, 1 or another, at byte 18 of that.
constexpr std::size_t kFirstPacket = 28;
constexpr char kOpusMagic[] = "OpusHead";
constexpr std::size_t kOpusFamily = 18;

constexpr char kFlacMagic[] = "fLaC";
constexpr std::size_t kFlacBlockHeader = 4;
constexpr unsigned kLastBlockFlag = 0x80;
constexpr unsigned kCommentBlock = 4;
constexpr char kMaskComment[] = "WAVEFORMATEXTENSIBLE_CHANNEL_MASK=";

std::string Bytes(std::ifstream& file, std::size_t count) {
  std::string bytes(count, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(count));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

unsigned ByteAt(const std::string& bytes, std::size_t position) {
  return static_cast<unsigned char>(bytes[position]);
}

template <std::size_t kCount>
ChannelMap OrderOf(const ChannelMap (&orders)[kCount], int channels) {
  const auto count = static_cast<std::size_t>(channels);
  return count <= kCount ? orders[count - 1] : ChannelMap{};
}

ChannelMap OpusMap(const std::string& path, int channels) {
  std::ifstream file(path, std::ios::binary);
  const std::string start = Bytes(file, kFirstPacket + kOpusFamily + 1);
  const bool isKnown = start.size() > kFirstPacket + kOpusFamily &&
                       start.compare(kFirstPacket, sizeof kOpusMagic - 1, kOpusMagic) == 0;
  if (!isKnown || ByteAt(start, kFirstPacket + kOpusFamily) > 1)
    return ChannelMap(static_cast<std::size_t>(channels), SF_CHANNEL_MAP_INVALID);
  return OrderOf(kVorbisOrders, channels);
}

// A text behind its length in four bytes, lowest first; `position` moves behind it. Empty when it
// does not end within the bytes.
std::string TextAt(const std::string& bytes, std::size_t& position) {
  std::size_t length = 0;
  for (std::size_t i = 0; i < 4 && position < bytes.size(); ++i, ++position)
    length += std::size_t{ByteAt(bytes, position)} << (8 * i);
  const std::size_t begin = position;
  if (length > bytes.size() - begin) {
    position = bytes.size();
    return "";
  }
  position += length;
  return bytes.substr(begin, length);
}

// The comments, "NAME=value", stand behind the name of the encoder and their number.
unsigned long MaskIn(const std::string& comments) {
  std::size_t position = 0;
  TextAt(comments, position);
  position = std::min(position + 4, comments.size());
  while (position < comments.size()) {
    const std::string comment = TextAt(comments, position);
    std::string name = comment.substr(0, sizeof kMaskComment - 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    if (name == kMaskComment)
      return std::strtoul(comment.c_str() + name.size(), nullptr, 0);
  }
  return 0;
}

// 0 when there is none.
unsigned long FlacMask(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (Bytes(file, sizeof kFlacMagic - 1) != kFlacMagic)
    return 0;
  for (unsigned type = 0; (type & kLastBlockFlag) == 0;) {
    const std::string header = Bytes(file, kFlacBlockHeader);
    if (header.size() < kFlacBlockHeader)
      return 0;
    type = ByteAt(header, 0);
    const unsigned length = ByteAt(header, 1) << 16 | ByteAt(header, 2) << 8 | ByteAt(header, 3);
    if ((type & ~kLastBlockFlag) == kCommentBlock)
      return MaskIn(Bytes(file, length));
    file.seekg(length, std::ios::cur);
  }
  return 0;
}

// A mask that does not have a bit for each channel says nothing.
ChannelMap FlacMap(const std::string& path, int channels) {
  const unsigned long mask = FlacMask(path);
  ChannelMap map;
  for (std::size_t bit = 0; bit < std::size(kMaskBits); ++bit)
    if ((mask >> bit & 1) != 0)
      map.push_back(kMaskBits[bit]);
  return map.size() == static_cast<std::size_t>(channels) ? map : OrderOf(kFlacOrders, channels);
}

bool IsPosition(int value) {
  return value > SF_CHANNEL_MAP_INVALID && value < SF_CHANNEL_MAP_MAX;
}

ChannelMap LibraryMap(SNDFILE* file, int channels) {
  ChannelMap map(static_cast<std::size_t>(channels), SF_CHANNEL_MAP_INVALID);
  const int bytes = static_cast<int>(map.size() * sizeof(int));
  if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), bytes) != SF_TRUE ||
      !std::all_of(map.begin(), map.end(), IsPosition))
    return {};
  return map;
}

}  // namespace

ChannelMap ChannelMapOf(const std::string& path, SNDFILE* file, const SF_INFO& info) {
  switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_VORBIS:
      return OrderOf(kVorbisOrders, info.channels);
    case SF_FORMAT_OPUS:
      return OpusMap(path, info.channels);
    default:
      break;
  }
  switch (info.format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_FLAC:
    case SF_FORMAT_OGG:  // FLAC in Ogg
      return FlacMap(path, info.channels);
    case SF_FORMAT_AIFF:  // libsndfile fills its map with whatever is in the memory
      return {};
    default:
      return LibraryMap(file, info.channels);
  }
}

}  // namespace louddesk
