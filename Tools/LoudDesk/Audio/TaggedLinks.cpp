// Finds the heads of links: ID3 tags, info frames of MP3, the magic of FLAC.

#include "TaggedLinks.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <string_view>

#include "MpegFrame.h"

namespace louddesk {
namespace {

// Number of bytes searched for heads at a time.
constexpr std::size_t kWindow = 65536;

// ID3v2: magic, version, flags, a size with seven bits per byte, then the name of the first frame.
constexpr std::size_t kId3Header = 10;
constexpr std::size_t kId3Name = 4;

bool IsNameLetter(unsigned char byte) {
  return std::isupper(byte) != 0 || std::isdigit(byte) != 0;
}

std::size_t Id3Size(const unsigned char* bytes, std::size_t ahead) {
  constexpr unsigned char kNewestVersion = 4;
  constexpr unsigned kUnknownFlags = 0x0F;
  if (ahead < kId3Header + kId3Name || std::memcmp(bytes, "ID3", 3) != 0 || bytes[3] < 2 ||
      bytes[3] > kNewestVersion || (bytes[5] & kUnknownFlags) != 0)
    return 0;
  const std::size_t nameLetters = bytes[3] == 2 ? kId3Name - 1 : kId3Name;
  if (!std::all_of(bytes + kId3Header, bytes + kId3Header + nameLetters, IsNameLetter))
    return 0;
  std::size_t size = 0;
  for (std::size_t i = 6; i < kId3Header; ++i) {
    if ((bytes[i] & 0x80) != 0)
      return 0;
    size = size << 7 | bytes[i];
  }
  return kId3Header + size;
}

// Encoders store facts about the whole file in a silent first frame, after empty side information
// whose length depends on version and channels.
std::size_t FactsFrame(const unsigned char* bytes, std::size_t ahead) {
  constexpr std::size_t kSideInfos[] = {32, 17, 9};
  constexpr std::size_t kMagic = 4;
  if (ahead < kMpegHeader + kSideInfos[0] + kMagic || !IsMpegHeader(bytes))
    return 0;
  const auto isZero = [](unsigned char byte) { return byte == 0; };
  for (const std::size_t sideInfo : kSideInfos) {
    const unsigned char* magic = bytes + kMpegHeader + sideInfo;
    if ((std::memcmp(magic, "Xing", kMagic) == 0 || std::memcmp(magic, "Info", kMagic) == 0) &&
        std::all_of(bytes + kMpegHeader, magic, isZero))
      return kMpegHeader + sideInfo + kMagic;
  }
  return 0;
}

std::size_t Mp3Head(const unsigned char* bytes, std::size_t ahead) {
  const std::size_t tag = Id3Size(bytes, ahead);
  return tag > 0 ? tag : FactsFrame(bytes, ahead);
}

// The magic, and the header of the mandatory first block: 34 bytes of stream information.
std::size_t FlacHead(const unsigned char* bytes, std::size_t ahead) {
  constexpr std::array<unsigned char, 3> kLength = {0, 0, 34};
  constexpr std::size_t kHead = 8;
  const bool isHead = ahead >= kHead && std::memcmp(bytes, "fLaC", 4) == 0 &&
                      (bytes[4] & 0x7F) == 0 &&
                      std::equal(kLength.begin(), kLength.end(), bytes + 5);
  return isHead ? kHead : 0;
}

// Position of the first of the `wanted` bytes at or after `from`; the size of the text if there is
// none.
std::size_t FindAnyOf(std::string_view wanted, std::string_view text, std::size_t from) {
  std::size_t at = text.size();
  for (const char byte : wanted)
    at = std::min(at, text.substr(0, at).find(byte, from));
  return at;
}

}  // namespace

std::unique_ptr<LinkInput> TaggedLinks::Of(ByteInput& input) {
  constexpr std::size_t kLongestTag = 16'000'000;  // with a picture or two
  std::size_t ahead = input.Ahead(kLongestLook);
  const std::size_t tag = Id3Size(input.Bytes(), ahead);
  if (tag > kLongestTag)
    return nullptr;
  ahead = input.Ahead(tag + kLongestLook) - std::min(tag, input.Ahead(tag));
  const unsigned char* bytes = input.Bytes() + tag;
  if (FlacHead(bytes, ahead) > 0)
    return std::unique_ptr<LinkInput>(new TaggedLinks(input, "flac", "f", FlacHead));
  if (ahead >= kMpegHeader && IsMpegHeader(bytes))
    return std::unique_ptr<LinkInput>(new TaggedLinks(input, "mp3", "I\xFF", Mp3Head));
  return nullptr;
}

std::size_t TaggedLinks::Read(unsigned char* bytes, std::size_t count) {
  if (mRest == 0 && !mIsLinkAhead)
    FindNextHead();
  const std::size_t got = mInput.Read(bytes, std::min(count, mRest));
  mRest = got == 0 ? 0 : mRest - got;
  return got;
}

bool TaggedLinks::NextLink() {
  if (!mIsLinkAhead)
    return false;
  mIsLinkAhead = false;
  mIsAtBegin = true;
  return true;
}

// Determines how many bytes can be read until the next head, or until one could begin. An ID3 tag
// and the info frame after it form one head.
void TaggedLinks::FindNextHead() {
  const std::size_t ahead = mInput.Ahead(kWindow);
  const unsigned char* bytes = mInput.Bytes();
  if (mIsAtBegin) {
    mIsAtBegin = false;
    mRest = std::min(ahead, std::max<std::size_t>(mFindHead(bytes, ahead), 1));
    const std::size_t tag = Id3Size(bytes, ahead);
    if (tag > 0)
      mRest = tag + kLongestLook;
    return;
  }
  const std::size_t last = ahead < kWindow ? ahead : ahead - kLongestLook;
  const std::string_view text(reinterpret_cast<const char*>(bytes), last);
  std::size_t at = FindAnyOf(mFirstBytes, text, 0);
  while (at < last && mFindHead(bytes + at, ahead - at) == 0)
    at = FindAnyOf(mFirstBytes, text, at + 1);
  mRest = at;
  mIsLinkAhead = at == 0 && ahead > 0;
}

}  // namespace louddesk
