// Determines the links of a file.

#include "Links.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "AudioFileError.h"
#include "OggLinks.h"
#include "TaggedLinks.h"

namespace louddesk {
namespace {

// Size in bytes of an identifier in Wave64 and ASF, and of an identifier followed by a size.
constexpr std::size_t kIdentifier = 16;
constexpr std::size_t kObjectHeader = kIdentifier + sizeof(std::uint64_t);

// A 64-bit size; 0 if the writing program did not know it.
std::uint64_t SizeAt(const unsigned char* bytes) {
  std::uint64_t size = 0;
  for (std::size_t i = sizeof size; i > 0; --i)
    size = size << 8U | bytes[i - 1];
  return size > INT64_MAX ? 0 : size;
}

// The size that a Wave64 file declares, which the demuxer does not report; 0 for other files.
std::uint64_t DeclaredByWave64(ByteInput& input) {
  constexpr unsigned char kMagic[] = {'r', 'i', 'f', 'f', 0x2E, 0x91, 0xCF, 0x11};
  if (input.Ahead(kObjectHeader) < kObjectHeader ||
      std::memcmp(input.Bytes(), kMagic, sizeof kMagic) != 0)
    return 0;
  return SizeAt(input.Bytes() + kIdentifier);
}

// The end of the packets in an ASF file (WMA, WMV), which follow a header object and are inside a
// data object. An index may follow; without it nothing is missing. 0 for other files.
std::uint64_t DeclaredByAsf(ByteInput& input) {
  constexpr unsigned char kHeader[] = {0x30, 0x26, 0xB2, 0x75, 0x8E, 0x66, 0xCF, 0x11};
  constexpr unsigned char kData[] = {0x36, 0x26, 0xB2, 0x75, 0x8E, 0x66, 0xCF, 0x11};
  constexpr std::uint64_t kLongestHeader = 16'000'000;  // with a picture or two
  if (input.Ahead(kObjectHeader) < kObjectHeader ||
      std::memcmp(input.Bytes(), kHeader, sizeof kHeader) != 0)
    return 0;
  const std::uint64_t begin = SizeAt(input.Bytes() + kIdentifier);
  if (begin < kObjectHeader || begin > kLongestHeader)
    return 0;
  const std::size_t ahead = static_cast<std::size_t>(begin) + kObjectHeader;
  const bool hasData =
      input.Ahead(ahead) >= ahead && std::memcmp(input.Bytes() + begin, kData, sizeof kData) == 0;
  return hasData ? begin + SizeAt(input.Bytes() + begin + kIdentifier) : 0;
}

// The length of an EBML number, which leading zero bits in its first byte give; 0 if there is none.
std::size_t EbmlLength(unsigned first) {
  std::size_t length = 1;
  for (unsigned marker = 0x80; marker != 0 && (first & marker) == 0; marker >>= 1U)
    ++length;
  return first == 0 ? 0 : length;
}

// The end of the EBML element (RFC 8794) whose size is at `at`; 0 if it does not say.
std::uint64_t EndOfEbml(ByteInput& input, std::size_t at) {
  constexpr std::size_t kLongest = 8;
  if (input.Ahead(at + kLongest) < at + kLongest)
    return 0;
  const unsigned char* bytes = input.Bytes() + at;
  const std::size_t length = EbmlLength(bytes[0]);
  const std::uint64_t unknown = (std::uint64_t{1} << 7U * length) - 1;
  std::uint64_t size = 0;
  for (std::size_t i = 0; i < length; ++i)
    size = size << 8U | bytes[i];
  size &= unknown;
  return length == 0 || size == unknown ? 0 : at + length + size;
}

// The end of the segment of a Matroska file, which follows a short header and has the rest in it; 0
// for other files and for those of programs that did not know it.
std::uint64_t DeclaredByMatroska(ByteInput& input) {
  constexpr unsigned char kHeader[] = {0x1A, 0x45, 0xDF, 0xA3};
  constexpr unsigned char kSegment[] = {0x18, 0x53, 0x80, 0x67};
  constexpr std::uint64_t kLongestHeader = 4096;
  if (input.Ahead(sizeof kHeader) < sizeof kHeader ||
      std::memcmp(input.Bytes(), kHeader, sizeof kHeader) != 0)
    return 0;
  const std::uint64_t end = EndOfEbml(input, sizeof kHeader);
  if (end == 0 || end > kLongestHeader)
    return 0;
  const std::size_t begin = static_cast<std::size_t>(end);
  const std::size_t ahead = begin + sizeof kSegment;
  const bool hasSegment = input.Ahead(ahead) >= ahead &&
                          std::memcmp(input.Bytes() + begin, kSegment, sizeof kSegment) == 0;
  return hasSegment ? EndOfEbml(input, ahead) : 0;
}

// Packet size of an MPEG transport stream; 0 for other files. All packets begin with the same byte,
// on discs after a timestamp of 4 bytes.
std::size_t TransportPacketSize(ByteInput& input) {
  constexpr unsigned char kSync = 0x47;
  constexpr std::size_t kPackets = 8;
  struct Form {
    std::size_t size;
    std::size_t syncAt;
  };
  for (const Form form : {Form{188, 0}, Form{192, 4}, Form{204, 0}}) {
    const std::size_t ahead = kPackets * form.size;
    bool isForm = input.Ahead(ahead) >= ahead;
    for (std::size_t i = 0; isForm && i < kPackets; ++i)
      isForm = input.Bytes()[i * form.size + form.syncAt] == kSync;
    if (isForm)
      return form.size;
  }
  return 0;
}

// A file with a single link, of any format.
class SingleLink : public LinkInput {
 public:
  explicit SingleLink(ByteInput& input)
      : mInput(input),
        mEndOfAudio(std::max(DeclaredByWave64(input), DeclaredByAsf(input))),
        mEnd(std::max(mEndOfAudio, DeclaredByMatroska(input))),
        mPacketSize(TransportPacketSize(input)) {}

  const char* Container() const override { return nullptr; }
  ByteInput* Seekable() override { return mInput.CanSeek() ? &mInput : nullptr; }
  std::size_t Read(unsigned char* bytes, std::size_t count) override {
    return mInput.Read(bytes, count);
  }
  bool NextLink() override { return false; }

  bool EndsEarly() const override {
    return Size() < mEndOfAudio || (mPacketSize > 0 && Size() % mPacketSize != 0);
  }

  double LackingShare() const override {
    return Size() >= mEnd ? 0.0 : 1.0 - static_cast<double>(Size()) / static_cast<double>(mEnd);
  }

 private:
  // A pipe is as long as what came out of it.
  std::uint64_t Size() const { return mInput.Size().value_or(mInput.Position()); }

  ByteInput& mInput;
  std::uint64_t mEndOfAudio;  // as declared; 0: unknown
  std::uint64_t mEnd;         // of all that is declared; 0: unknown
  std::size_t mPacketSize;    // of a transport stream
};

}  // namespace

std::unique_ptr<LinkInput> LinksOf(ByteInput& input) {
  if (input.Ahead(1) == 0) {
    input.CheckErrors();
    throw AudioFileError(input.Path(), "is empty");
  }
  if (OggLinks::IsAt(input))
    return std::make_unique<OggLinks>(input);
  if (auto links = TaggedLinks::Of(input))
    return links;
  return std::make_unique<SingleLink>(input);
}

}  // namespace louddesk
