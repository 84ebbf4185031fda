// Parses the bits of the header with the tables of the standard.

#include "MpegFrame.h"

#include <cstdint>

namespace louddesk {
namespace {

constexpr unsigned kVersion1 = 3;  // 2: version 2, 0: version 2.5; both have lower sample rates
constexpr unsigned kReservedVersion = 1;
constexpr unsigned kVersion25 = 0;

constexpr unsigned kLayer1 = 3;  // 2: layer II, 1: layer III
constexpr unsigned kLayer2 = 2;
constexpr unsigned kReservedLayer = 0;

constexpr unsigned kForbiddenBitRate = 15;
constexpr unsigned kReservedRate = 3;

// kbit/s by index, where index 0 is the free format: for version 1 by layer (III to I), then for
// the other versions.
constexpr std::size_t kBitRates = 15;
constexpr std::uint16_t kBitRatesOf1[3][kBitRates] = {
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448}};
constexpr std::uint16_t kBitRatesOf2[3][kBitRates] = {
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256}};

constexpr std::size_t kSampleRatesOf1[] = {44100, 48000, 32000};  // Hz

struct Header {
  explicit Header(const unsigned char* bytes)
      : version(bytes[1] >> 3U & 3U),
        layer(bytes[1] >> 1U & 3U),
        bitRate(bytes[2] >> 4U),
        sampleRate(bytes[2] >> 2U & 3U),
        padding(bytes[2] >> 1U & 1U) {}

  unsigned version;
  unsigned layer;
  unsigned bitRate;
  unsigned sampleRate;
  unsigned padding;
};

std::size_t SampleRateOf(const Header& header) {
  const std::size_t rate = kSampleRatesOf1[header.sampleRate];
  if (header.version == kVersion1)
    return rate;
  return header.version == kVersion25 ? rate / 4 : rate / 2;
}

// A slot has 4 bytes in layer I and 1 byte in the other layers.
std::size_t SlotsOf(const Header& header) {
  if (header.layer == kLayer1)
    return 12;
  return header.layer == kLayer2 || header.version == kVersion1 ? 144 : 72;
}

}  // namespace

bool IsMpegHeader(const unsigned char* bytes) {
  const Header header(bytes);
  return bytes[0] == 0xFF && (bytes[1] & 0xE0) == 0xE0 && header.version != kReservedVersion &&
         header.layer != kReservedLayer && header.bitRate != kForbiddenBitRate &&
         header.sampleRate != kReservedRate;
}

std::size_t MpegFrameSize(const unsigned char* bytes) {
  const Header header(bytes);
  const auto& bitRates = header.version == kVersion1 ? kBitRatesOf1 : kBitRatesOf2;
  const std::size_t bitsPerSecond = bitRates[header.layer - 1][header.bitRate] * std::size_t{1000};
  if (bitsPerSecond == 0)
    return 0;
  const std::size_t slots = SlotsOf(header) * bitsPerSecond / SampleRateOf(header) + header.padding;
  return header.layer == kLayer1 ? slots * 4 : slots;
}

}  // namespace louddesk
