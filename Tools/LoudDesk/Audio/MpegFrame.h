// The header of a frame of MPEG audio, as ISO/IEC 11172-3 and 13818-3 have it. Stateless.

#pragma once

#include <cstddef>

namespace louddesk {

/// Bytes of the header.
constexpr std::size_t kMpegHeader = 4;

/// Whether `kMpegHeader` bytes are a header: eleven bits of synchronization, then values of which
/// some are reserved.
bool IsMpegHeader(const unsigned char* bytes);

/// Bytes of the frame with its header, as the header says; 0 where it does not, as in the free
/// format. REQUIRES: `IsMpegHeader`.
std::size_t MpegFrameSize(const unsigned char* header);

}  // namespace louddesk
