// Names and limits of recorded messages.

#include "RecordedMessage.h"

#include <iterator>

#include "RecordingFormat.h"

namespace louddesk {
namespace {

// In the order of the numbers of the senders, from 1.
constexpr const char* kSenderNames[] = {
    "process monitor",  "hardware manager", "main application server", "optical application server",
    "signal processor", "data publisher",   "state publisher",         "recorder"};
static_assert(std::size(kSenderNames) == kLastSender);

}  // namespace

const char* SenderName(Sender sender) {
  return kSenderNames[static_cast<std::size_t>(sender) - 1];
}

bool FitsRecording(const std::vector<std::string>& frames) {
  std::size_t left = kLargestMessage;
  for (const std::string& frame : frames) {
    if (left < kFrameHeadSize || frame.size() > left - kFrameHeadSize)
      return false;
    left -= kFrameHeadSize + frame.size();
  }
  return !frames.empty() && frames.size() <= UINT16_MAX;
}

std::size_t MemoryOf(const RecordedMessage& message) {
  std::size_t size = sizeof message;
  for (const std::string& frame : message.frames)
    size += sizeof(std::string) + frame.size();
  return size;
}

RecordedMessage LossNote(std::uint64_t time, unsigned long count, std::uint64_t since) {
  return {Sender::kRecorder, time, {kLostTopic, std::to_string(count), std::to_string(since)}};
}

}  // namespace louddesk
