// The secret of those who may send commands.

#pragma once

#include <array>
#include <stdexcept>
#include <string>

namespace loudgate {

/// The token cannot be used. The text is one line for the user and has nothing of the token in it.
class TokenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Characters of a token. 32 of `openssl rand -hex` are 128 bits.
constexpr std::size_t kShortestToken = 32;
constexpr std::size_t kLongestToken = 256;

class ControlToken {
 public:
  /// Reads the token, a line of printable characters without blanks, from a file that nobody but
  /// its owner can write and others cannot read. Keeps only its hash. Throws TokenError.
  explicit ControlToken(const std::string& file);

  /// Whether the value of an Authorization header, "Bearer " and the token, has this token. Takes
  /// the same time for every other token of that length.
  bool IsIn(const std::string& authorization) const;

 private:
  static constexpr std::size_t kHashBytes = 32;
  using Hash = std::array<unsigned char, kHashBytes>;

  static Hash HashOf(const std::string& token);

  Hash mHash;
};

}  // namespace loudgate
