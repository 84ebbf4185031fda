// Walks the containers of audio files far enough to know whether they are whole.

#include "Truncation.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>

namespace louddesk {
namespace {

using Tag = std::array<char, 4>;

enum class ByteOrder { kLittle, kBig };

constexpr Tag MakeTag(const char (&text)[5]) {
  return {text[0], text[1], text[2], text[3]};
}

// Containers of chunks: a tag, the size of what follows the size, a form, then the chunks.
struct ChunkFormat {
  Tag tag;
  Tag sampleChunk;
  ByteOrder byteOrder;
};

constexpr ChunkFormat kChunkFormats[] = {
    {MakeTag("RIFF"), MakeTag("data"), ByteOrder::kLittle},
    {MakeTag("RF64"), MakeTag("data"), ByteOrder::kLittle},
    {MakeTag("RIFX"), MakeTag("data"), ByteOrder::kBig},
    {MakeTag("FORM"), MakeTag("SSND"), ByteOrder::kBig},
};

constexpr std::uint64_t kFirstChunk = 12;
constexpr std::uint64_t kChunkHeader = 8;

// A size that was not known, or in RF64 does not fit, when the header was written.
constexpr std::uint64_t kUnknownSize = 0xFFFFFFFF;

// RF64 keeps the true size of the sample chunk in a chunk of its own, behind the size of the whole.
constexpr Tag kLongSizesChunk = MakeTag("ds64");
constexpr std::uint64_t kLongDataSizeOffset = 8;

constexpr Tag kOggTag = MakeTag("OggS");
constexpr std::size_t kOggHeader = 27;
constexpr std::size_t kOggFlagsOffset = 5;
constexpr std::size_t kOggSegmentsOffset = 26;
constexpr unsigned kOggLastPage = 4;

class ByteReader {
 public:
  explicit ByteReader(const std::string& path) : mFile(path, std::ios::binary | std::ios::ate) {
    mSize = mFile ? static_cast<std::uint64_t>(mFile.tellg()) : 0;
  }

  std::uint64_t Size() const { return mSize; }

  // False when the file ends before.
  bool ReadAt(std::uint64_t position, void* bytes, std::size_t count) {
    if (position > mSize || count > mSize - position)
      return false;
    mFile.seekg(static_cast<std::streamoff>(position));
    return static_cast<bool>(
        mFile.read(static_cast<char*>(bytes), static_cast<std::streamsize>(count)));
  }

  // Nothing when the file ends before.
  std::optional<std::uint64_t> NumberAt(std::uint64_t position, std::size_t width,
                                        ByteOrder order) {
    std::array<unsigned char, sizeof(std::uint64_t)> bytes{};
    if (!ReadAt(position, bytes.data(), width))
      return std::nullopt;
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < width; ++i)
      number = number << 8 | bytes[order == ByteOrder::kBig ? i : width - 1 - i];
    return number;
  }

 private:
  std::ifstream mFile;
  std::uint64_t mSize = 0;
};

std::optional<std::string> CheckSampleChunk(std::uint64_t begin, std::uint64_t declared,
                                            std::uint64_t fileSize) {
  if (declared <= fileSize - begin)
    return std::nullopt;
  return "is truncated: only " + std::to_string(fileSize - begin) + " of " +
         std::to_string(declared) + " bytes of audio are there";
}

std::optional<std::string> CheckChunks(ByteReader& file, const ChunkFormat& format) {
  std::uint64_t longDataSize = kUnknownSize;
  Tag tag;
  for (std::uint64_t position = kFirstChunk; file.ReadAt(position, tag.data(), tag.size());) {
    const auto size = file.NumberAt(position + tag.size(), sizeof(std::uint32_t), format.byteOrder);
    if (!size)
      break;
    const std::uint64_t begin = position + kChunkHeader;
    if (tag == format.sampleChunk) {
      const std::uint64_t declared = *size == kUnknownSize ? longDataSize : *size;
      return declared == kUnknownSize ? std::nullopt
                                      : CheckSampleChunk(begin, declared, file.Size());
    }
    if (tag == kLongSizesChunk)
      longDataSize =
          file.NumberAt(begin + kLongDataSizeOffset, sizeof(std::uint64_t), format.byteOrder)
              .value_or(kUnknownSize);
    position = begin + *size + *size % 2;  // chunks begin at even offsets
  }
  return std::nullopt;
}

// Bytes of an Ogg page with this header, 0 when the file ends within its table of segments.
std::uint64_t OggPageSize(ByteReader& file, std::uint64_t page, std::size_t segments) {
  std::array<unsigned char, 255> lacing{};
  if (!file.ReadAt(page + kOggHeader, lacing.data(), segments))
    return 0;
  std::uint64_t size = kOggHeader + segments;
  for (std::size_t i = 0; i < segments; ++i)
    size += lacing[i];
  return size;
}

std::optional<std::string> CheckOggPages(ByteReader& file) {
  constexpr char kCutPage[] = "is truncated: it ends within a page";
  bool isLastPage = false;
  std::array<unsigned char, kOggHeader> header{};
  for (std::uint64_t page = 0; page < file.Size();) {
    if (!file.ReadAt(page, header.data(), header.size()))
      return isLastPage ? std::nullopt : std::make_optional<std::string>(kCutPage);
    if (std::memcmp(header.data(), kOggTag.data(), kOggTag.size()) != 0)
      break;
    const std::uint64_t size = OggPageSize(file, page, header[kOggSegmentsOffset]);
    if (size == 0 || size > file.Size() - page)
      return kCutPage;
    isLastPage = (header[kOggFlagsOffset] & kOggLastPage) != 0;
    page += size;
  }
  if (isLastPage)
    return std::nullopt;
  return "is truncated: the last page of its stream is missing";
}

}  // namespace

std::optional<std::string> FindTruncation(const std::string& path) {
  ByteReader file(path);
  Tag tag;
  if (!file.ReadAt(0, tag.data(), tag.size()))
    return std::nullopt;
  for (const ChunkFormat& format : kChunkFormats)
    if (tag == format.tag)
      return CheckChunks(file, format);
  if (tag == kOggTag)
    return CheckOggPages(file);
  return std::nullopt;
}

}  // namespace louddesk
