// Computes the CRC with tables, sixteen bytes at a time.

#include "FlacFrame.h"

#include <array>

namespace louddesk {
namespace {

constexpr unsigned kPolynomial = 0x8005;  // x^16 + x^15 + x^2 + 1, highest bit first
constexpr std::size_t kBytesAtATime = 16;

// Contribution of each byte value to the CRC, for a fixed number of bytes after it.
using Contributions = std::array<std::uint16_t, 256>;

constexpr std::uint16_t FollowedByZero(unsigned sum) {
  for (int bit = 0; bit < 8; ++bit)
    sum = sum << 1U ^ ((sum & 0x8000U) != 0 ? kPolynomial : 0U);
  return static_cast<std::uint16_t>(sum);
}

constexpr std::array<Contributions, kBytesAtATime> MakeTables() {
  std::array<Contributions, kBytesAtATime> tables{};
  for (std::size_t byte = 0; byte < 256; ++byte) {
    auto sum = static_cast<std::uint16_t>(byte << 8U);
    for (Contributions& table : tables)
      sum = table[byte] = FollowedByZero(sum);
  }
  return tables;
}

constexpr std::array<Contributions, kBytesAtATime> kTables = MakeTables();

// Combines the CRC so far with the first two bytes.
unsigned SumOfPiece(unsigned sum, const std::uint8_t* bytes) {
  unsigned next = kTables[kBytesAtATime - 1][bytes[0] ^ sum >> 8U];
  next ^= kTables[kBytesAtATime - 2][bytes[1] ^ (sum & 0xFFU)];
  for (std::size_t i = 2; i < kBytesAtATime; ++i)
    next ^= kTables[kBytesAtATime - 1 - i][bytes[i]];
  return next;
}

}  // namespace

std::uint16_t FlacSum(const std::uint8_t* bytes, std::size_t count) {
  unsigned sum = 0;
  std::size_t i = 0;
  for (; i + kBytesAtATime <= count; i += kBytesAtATime)
    sum = SumOfPiece(sum, bytes + i);
  for (; i < count; ++i)
    sum = (sum << 8U & 0xFFFFU) ^ kTables[0][bytes[i] ^ sum >> 8U];
  return static_cast<std::uint16_t>(sum);
}

}  // namespace louddesk
