// The contents of a recording. Docs/RECORDING.md describes the file.

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace louddesk {

/// The sender of a message: a peer of the service, or one of the service's own publishers. The
/// recorder's own notes are stored in the same form. The numbers are stored in the file.
enum class Sender : std::uint8_t {
  kProcessMonitor = 1,
  kHardwareManager,
  kMainAppServer,
  kOpticalAppServer,
  kSignalProcessor,
  kDataPublisher,
  kStatePublisher,
  kRecorder,
};

constexpr std::uint8_t kLastSender = static_cast<std::uint8_t>(Sender::kRecorder);

/// Whether the sender is the service.
constexpr bool IsOfService(Sender sender) {
  return sender == Sender::kDataPublisher || sender == Sender::kStatePublisher;
}

/// Whether the sender is a peer of the service.
constexpr bool IsOfPeer(Sender sender) {
  return sender < Sender::kDataPublisher;
}

/// The name of the sender, for the user.
const char* SenderName(Sender sender);

/// The head of a file.
struct RecordingHead {
  std::uint32_t meterSet = 1;  // of the service
  std::uint32_t cluster = 1;   // of the service
  std::uint64_t start = 0;     // time 0 of the messages, microseconds since 1970
};

struct RecordedMessage {
  Sender sender = Sender::kProcessMonitor;
  std::uint64_t time = 0;           // microseconds since the start
  std::vector<std::string> frames;  // the first one is the topic
};

/// Limit of the bytes in all frames of a message, with four more for the length of each frame. The
/// service takes no message of this size.
constexpr std::size_t kLargestMessage = 1 << 20;

/// About the bytes of memory that a message takes.
std::size_t MemoryOf(const RecordedMessage& message);

/// A recording that cannot be written or read. The text is one line for the user.
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Whether a recording can hold the message.
bool FitsRecording(const std::vector<std::string>& frames);

/// The topic of the note that messages are missing. Its other frames are their number and the time
/// of the first one in microseconds, both as decimal digits.
constexpr char kLostTopic[] = "Lost";

/// The note, written at `time`, that `count` messages from `since` on are missing.
RecordedMessage LossNote(std::uint64_t time, unsigned long count, std::uint64_t since);

}  // namespace louddesk
