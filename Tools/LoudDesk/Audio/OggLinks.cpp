// Checks each Ogg page before passing it on.

#include "OggLinks.h"

#include <algorithm>
#include <cstring>

#include "LibavHeaders.h"

namespace louddesk {
namespace {

// RFC 3533, section 6.
constexpr unsigned char kCapture[] = {'O', 'g', 'g', 'S'};
constexpr std::size_t kFlags = 5;
constexpr std::size_t kSerial = 14;
constexpr std::size_t kChecksum = 22;
constexpr std::size_t kChecksumSize = 4;
constexpr std::size_t kSegments = 26;
constexpr std::size_t kHeader = 27;
constexpr unsigned kFirstPage = 2;
constexpr unsigned kLastPage = 4;

bool BeginsPage(const unsigned char* bytes) {
  return std::memcmp(bytes, kCapture, sizeof kCapture) == 0;
}

std::uint32_t NumberAt(const unsigned char* bytes) {
  std::uint32_t number = 0;
  for (int i = 3; i >= 0; --i)
    number = number << 8 | bytes[i];
  return number;
}

// Size of the page at the current position, in bytes; 0 if there is none, or if the input ends
// within the page.
std::size_t PageSize(ByteInput& input) {
  if (input.Ahead(kHeader) < kHeader || !BeginsPage(input.Bytes()))
    return 0;
  const std::size_t segments = input.Bytes()[kSegments];
  if (input.Ahead(kHeader + segments) < kHeader + segments)
    return 0;
  std::size_t size = kHeader + segments;
  for (std::size_t i = 0; i < segments; ++i)
    size += input.Bytes()[kHeader + i];
  return input.Ahead(size) < size ? 0 : size;
}

// The checksum treats its own four bytes as zeros. The library returns it in reversed byte order.
bool HasRightChecksum(const unsigned char* page, std::size_t size) {
  constexpr unsigned char kZeros[kChecksumSize] = {};
  const AVCRC* table = av_crc_get_table(AV_CRC_32_IEEE);
  std::uint32_t sum = av_crc(table, 0, page, kChecksum);
  sum = av_crc(table, sum, kZeros, kChecksumSize);
  const std::size_t rest = kChecksum + kChecksumSize;
  sum = av_crc(table, sum, page + rest, size - rest);
  return __builtin_bswap32(sum) == NumberAt(page + kChecksum);
}

// Skips to the next bytes that may begin a page, or to the end.
void SkipToCapture(ByteInput& input) {
  constexpr std::size_t kSearched = 65536;
  input.Skip(1);
  for (;;) {
    const std::size_t ahead = input.Ahead(kSearched);
    const unsigned char* begin = input.Bytes();
    const unsigned char* found =
        std::search(begin, begin + ahead, kCapture, kCapture + sizeof kCapture);
    if (found != begin + ahead || ahead < sizeof kCapture) {
      input.Skip(found != begin + ahead ? static_cast<std::size_t>(found - begin) : ahead);
      return;
    }
    input.Skip(ahead - (sizeof kCapture - 1));
  }
}

}  // namespace

bool OggLinks::IsAt(ByteInput& input) {
  return input.Ahead(sizeof kCapture) == sizeof kCapture && BeginsPage(input.Bytes());
}

std::size_t OggLinks::Read(unsigned char* bytes, std::size_t count) {
  if (mRest == 0 && !FindPage())
    return 0;
  const std::size_t got = mInput.Read(bytes, std::min(count, mRest));
  mRest -= got;
  return got;
}

bool OggLinks::NextLink() {
  if (!mIsLinkAhead)
    return false;
  mSerials.clear();
  mHasData = false;
  mIsLastPage = false;
  mIsLinkAhead = false;
  mEndsEarly = false;
  return true;
}

bool OggLinks::FindPage() {
  while (mRest == 0 && !mIsLinkAhead && mInput.Ahead(1) > 0) {
    const std::size_t size = PageSize(mInput);
    if (size > 0 && HasRightChecksum(mInput.Bytes(), size)) {
      TakePage(size);
      continue;
    }
    if (IsAt(mInput))
      mIsLastPage = false;
    SkipToCapture(mInput);
  }
  mEndsEarly = mRest == 0 && !mIsLastPage;
  return mRest > 0;
}

// Passes the page on, recognises it as the start of the next link, or skips it if the start of its
// stream is lost.
void OggLinks::TakePage(std::size_t size) {
  const unsigned flags = mInput.Bytes()[kFlags];
  const std::uint32_t serial = NumberAt(mInput.Bytes() + kSerial);
  const bool isFirst = (flags & kFirstPage) != 0;
  mIsLinkAhead = isFirst && mHasData;
  if (mIsLinkAhead)
    return;
  if (isFirst)
    mSerials.push_back(serial);
  const bool isKnown = IsKnownSerial(serial);
  mIsLastPage = isKnown && (flags & kLastPage) != 0;
  mHasData = mHasData || !isFirst;
  if (isKnown)
    mRest = size;
  else
    mInput.Skip(size);
}

bool OggLinks::IsKnownSerial(std::uint32_t serial) const {
  return std::find(mSerials.begin(), mSerials.end(), serial) != mSerials.end();
}

}  // namespace louddesk
