// The sum of a frame of FLAC, against the published check value of its CRC and its definition.

#include "FlacFrame.h"

#include <gtest/gtest.h>

#include <random>
#include <string_view>
#include <vector>

namespace louddesk {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint16_t SumOf(const Bytes& bytes) {
  return FlacSum(bytes.data(), bytes.size());
}

// The remainder of the bits, as a polynomial, times x^16, by x^16 + x^15 + x^2 + 1 (RFC 9639,
// section 9.3).
std::uint16_t RemainderOf(const Bytes& bytes) {
  unsigned remainder = 0;
  for (const std::uint8_t byte : bytes)
    for (unsigned bit = 8; bit-- > 0;) {
      const unsigned top = (remainder >> 15U & 1U) ^ (byte >> bit & 1U);
      remainder = (remainder << 1U ^ top * 0x8005U) & 0xFFFFU;
    }
  return static_cast<std::uint16_t>(remainder);
}

Bytes RandomBytes(std::size_t count) {
  std::mt19937 random(static_cast<unsigned>(count));
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

// CRC catalogues know it as CRC-16/UMTS.
TEST(FlacFrameTest, TheCheckValueIsThatOfTheCrc) {
  constexpr std::string_view kDigits = "123456789";
  EXPECT_EQ(SumOf(Bytes(kDigits.begin(), kDigits.end())), 0xFEE8);
}

TEST(FlacFrameTest, TheSumIsTheRemainderWhateverTheLength) {
  for (std::size_t count = 0; count < 100; ++count)
    EXPECT_EQ(SumOf(RandomBytes(count)), RemainderOf(RandomBytes(count))) << count << " bytes";
}

TEST(FlacFrameTest, BytesWithTheirSumBehindThemAreIntactUntilABitChanges) {
  Bytes frame = RandomBytes(75);
  const std::uint16_t sum = RemainderOf(frame);
  frame.push_back(static_cast<std::uint8_t>(sum >> 8U));
  frame.push_back(static_cast<std::uint8_t>(sum));
  EXPECT_EQ(SumOf(frame), 0);
  for (std::size_t bit = 0; bit < 8 * frame.size(); ++bit) {
    Bytes changed = frame;
    changed[bit / 8] = static_cast<std::uint8_t>(changed[bit / 8] ^ 1U << bit % 8);
    EXPECT_NE(SumOf(changed), 0) << "bit " << bit;
  }
}

}  // namespace
}  // namespace louddesk
