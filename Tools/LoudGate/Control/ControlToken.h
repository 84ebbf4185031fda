// The secret token that allows a client to send commands.

#pragma once

#include <array>
#include <stdexcept>
#include <string>

namespace loudgate {

/// The token cannot be used. The text is one line for the user and reveals nothing of the token.
class TokenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Shortest and longest token, in characters. 32 characters of `openssl rand -hex` are 128 bits.
constexpr std::size_t kShortestToken = 32;
constexpr std::size_t kLongestToken = 256;

class ControlToken {
 public:
  /// Reads the token, one line of printable characters without blanks. The file must be writable by
  /// its owner alone, and readable by no more than its owner and its group. Keeps only the token's
  /// hash. Throws TokenError.
  explicit ControlToken(const std::string& file);

  /// Whether the value of an Authorization header is "Bearer " and this token. Takes the same time
  /// for every wrong token of the same length.
  bool IsIn(const std::string& authorization) const;

 private:
  static constexpr std::size_t kHashBytes = 32;
  using Hash = std::array<unsigned char, kHashBytes>;

  static Hash HashOf(const std::string& token);

  Hash mHash;
};

}  // namespace loudgate
