// The sum by which a frame of FLAC shows that it is intact (RFC 9639, section 9.3).

#pragma once

#include <cstddef>
#include <cstdint>

namespace louddesk {

/// The CRC-16 of FLAC over bytes. That of whole frames is 0, as each ends with the sum of what
/// stands before.
std::uint16_t FlacSum(const std::uint8_t* bytes, std::size_t count);

}  // namespace louddesk
