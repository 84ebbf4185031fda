// The bytes of a ZeroMQ connection: greeting, handshake and frames of ZMTP 3.0 (ZeroMQ RFC 23), for
// peers that deviate from them.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zmtp {

constexpr std::size_t kGreetingSize = 64;

// The first byte of a frame.
constexpr char kLast = 0;       // short frame, the last of its message
constexpr char kMore = 1;       // short frame, another follows
constexpr char kLongFrame = 2;  // its length field has 8 bytes instead of one
constexpr char kCommand = 4;

/// Signature, version 3.0, mechanism NULL, and zeros to the end.
inline std::string Greeting() {
  std::string greeting("\xFF\0\0\0\0\0\0\0\0\x7F\3\0NULL", 16);
  greeting.resize(kGreetingSize);
  return greeting;
}

/// A length of `bytes` bytes, highest byte first.
inline std::string Length(std::uint64_t length, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
    text += static_cast<char>(length >> shift & 0xFF);
  return text;
}

/// A frame of at most 255 bytes.
inline std::string ShortFrame(char flags, const std::string& body) {
  return flags + Length(body.size(), 1) + body;
}

/// The handshake of the mechanism NULL: one command with the socket's type, for example "SUB".
inline std::string Ready(const std::string& type) {
  return ShortFrame(kCommand,
                    std::string("\5READY") + "\13Socket-Type" + Length(type.size(), 4) + type);
}

/// A subscription, to a topic of at most 254 bytes.
inline std::string Subscription(const std::string& topic) {
  return ShortFrame(kLast, '\1' + topic);
}

}  // namespace zmtp
