// Parses headers of MPEG audio frames (ISO/IEC 11172-3 and 13818-3). Stateless.

#pragma once

#include <cstddef>

namespace louddesk {

/// Size of the header in bytes.
constexpr std::size_t kMpegHeader = 4;

/// Whether `kMpegHeader` bytes are a header: eleven synchronisation bits, then fields without
/// reserved values.
bool IsMpegHeader(const unsigned char* bytes);

/// Size of the frame in bytes, including the header; 0 if the header does not determine it, as in
/// the free format. REQUIRES: `IsMpegHeader`.
std::size_t MpegFrameSize(const unsigned char* header);

}  // namespace louddesk
