// Bytes of a recording that writer and reader share. Docs/RECORDING.md describes the file.

#pragma once

#include <cstddef>
#include <cstdint>

namespace louddesk {

/// The beginning of every recording, and the version of what follows.
constexpr char kRecordingMark[] = {'L', 'O', 'U', 'D', 'R', 'E', 'C', '1'};

/// In the place of a sender: the recording was ended, not cut off.
constexpr std::uint8_t kEndMark = 0;

/// Bytes of the number before a frame that tells its size.
constexpr std::size_t kFrameHeadSize = 4;

/// Windows of the compression, as powers of two: that of the writer covers more than a minute; the
/// reader takes what every decoder of Zstandard should support (RFC 8878, 3.1.1.1.2).
constexpr int kWriterWindowLog = 19;
constexpr int kReaderWindowLog = 23;

}  // namespace louddesk
