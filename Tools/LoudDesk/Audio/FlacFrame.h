// The checksum of FLAC frames (RFC 9639, section 9.3).

#pragma once

#include <cstddef>
#include <cstdint>

namespace louddesk {

/// The CRC-16 of FLAC over bytes. It is 0 for an intact whole frame, which ends with the checksum
/// of the bytes before.
std::uint16_t FlacSum(const std::uint8_t* bytes, std::size_t count);

}  // namespace louddesk
