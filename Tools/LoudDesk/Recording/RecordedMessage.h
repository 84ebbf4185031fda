// What a recording consists of. Docs/RECORDING.md describes the file.

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace louddesk {

/// Who sent a message: a peer of the service, or one of the service's own publishers. The numbers
/// are those of the file.
enum class Sender : std::uint8_t {
  kProcessMonitor = 1,
  kHardwareManager,
  kMainAppServer,
  kOpticalAppServer,
  kSignalProcessor,
  kDataPublisher,
  kStatePublisher,
};

constexpr std::uint8_t kLastSender = static_cast<std::uint8_t>(Sender::kStatePublisher);

/// Whether the service publishes there; otherwise it is one of its peers.
constexpr bool IsOfService(Sender sender) {
  return sender >= Sender::kDataPublisher;
}

/// The sender, for people.
const char* SenderName(Sender sender);

/// What stands at the beginning of a file.
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

/// Bytes that all frames of a message have at most, with four for the length of each. Nothing that
/// the service takes is as long.
constexpr std::size_t kLargestMessage = 1 << 20;

/// A recording that cannot be written or read. The text is one line for the user.
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Whether a recording can hold the message.
bool FitsRecording(const std::vector<std::string>& frames);

}  // namespace louddesk
