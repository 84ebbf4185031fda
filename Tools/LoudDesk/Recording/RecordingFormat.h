// Parts of the file format that writer and reader share. Docs/RECORDING.md describes the file.

#pragma once

#include <cstddef>
#include <cstdint>

namespace louddesk {

/// The first bytes of every recording. They include the version of the format.
constexpr char kRecordingMark[] = {'L', 'O', 'U', 'D', 'R', 'E', 'C', '1'};

/// Replaces the sender at the end of a recording that was ended properly.
constexpr std::uint8_t kEndMark = 0;

/// Bytes of the size before each frame.
constexpr std::size_t kFrameHeadSize = 4;

/// Windows of the compression, as powers of two. The writer's window covers more than a minute. The
/// reader accepts windows that every Zstandard decoder should support (RFC 8878, 3.1.1.1.2).
constexpr int kWriterWindowLog = 19;
constexpr int kReaderWindowLog = 23;

}  // namespace louddesk
