// Which links there are.

#include "Links.h"

#include <cstdint>
#include <cstring>

#include "OggLinks.h"
#include "TaggedLinks.h"

namespace louddesk {
namespace {

// The bytes that a Wave64 says it has, which its demuxer does not pass on. 0 for other files and
// where a program did not know.
std::uint64_t DeclaredByWave64(ByteInput& input) {
  constexpr unsigned char kMagic[] = {'r', 'i', 'f', 'f', 0x2E, 0x91, 0xCF, 0x11};
  constexpr std::size_t kIdentifier = 16;
  constexpr std::size_t kHeader = kIdentifier + sizeof(std::uint64_t);
  if (input.Ahead(kHeader) < kHeader || std::memcmp(input.Bytes(), kMagic, sizeof kMagic) != 0)
    return 0;
  std::uint64_t size = 0;
  for (std::size_t i = kHeader; i > kIdentifier; --i)
    size = size << 8 | input.Bytes()[i - 1];
  return size > INT64_MAX ? 0 : size;
}

// Bytes that are one link, whatever they hold.
class SingleLink : public LinkInput {
 public:
  explicit SingleLink(ByteInput& input)
      : mInput(input), mEndsEarly(input.Size() && *input.Size() < DeclaredByWave64(input)) {}

  const char* Container() const override { return nullptr; }
  ByteInput* Seekable() override { return mInput.CanSeek() ? &mInput : nullptr; }
  std::size_t Read(unsigned char* bytes, std::size_t count) override {
    return mInput.Read(bytes, count);
  }
  bool NextLink() override { return false; }
  bool EndsEarly() const override { return mEndsEarly; }

 private:
  ByteInput& mInput;
  bool mEndsEarly;
};

}  // namespace

std::unique_ptr<LinkInput> LinksOf(ByteInput& input) {
  if (OggLinks::IsAt(input))
    return std::make_unique<OggLinks>(input);
  if (auto links = TaggedLinks::Of(input))
    return links;
  return std::make_unique<SingleLink>(input);
}

}  // namespace louddesk
