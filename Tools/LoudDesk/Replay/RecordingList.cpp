// Formats messages as JSON.

#include "RecordingList.h"

#include <fmt/format.h>

#include <cstring>

#include "DocumentWriter.h"
#include "PubHandler.h"
#include "Utf8Text.h"

namespace louddesk {
namespace {

bool IsBinary(const RecordedMessage& message) {
  return message.sender == Sender::kSignalProcessor || message.sender == Sender::kDataPublisher;
}

std::string HexOf(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes)
    text += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return text;
}

bool IsLoudnessData(const RecordedMessage& message) {
  if (message.frames.size() != kLuDataFrameCount || message.frames.front() != kLoudnessDataTopic)
    return false;
  for (std::size_t i = 1; i < kLuDataFrameCount; ++i)
    if (message.frames[i].size() != sizeof(std::int16_t))
      return false;
  return true;
}

void WriteFigures(DocumentWriter& writer, const std::vector<std::string>& frames) {
  writer.OpenObject("figures");
  for (std::size_t i = 1; i < kLuDataFrameCount; ++i) {
    std::int16_t value = 0;
    std::memcpy(&value, frames[i].data(), sizeof value);
    writer.Signed(kLuDataFrames[i].name, value);
  }
  writer.CloseObject();
}

void WriteFrames(DocumentWriter& writer, const RecordedMessage& message) {
  writer.OpenArray("frames");
  for (std::size_t i = 1; i < message.frames.size(); ++i) {
    const std::string& frame = message.frames[i];
    const bool isText = !IsBinary(message) && Utf8Of(frame) == frame;
    writer.Text(DocumentWriter::kNoKey, isText ? frame : HexOf(frame));
  }
  writer.CloseArray();
}

}  // namespace

std::string MessageLine(unsigned long number, const RecordedMessage& message) {
  DocumentWriter writer;
  writer.Number("n", std::to_string(number));
  writer.Number("time", fmt::format("{:.6f}", static_cast<double>(message.time) / 1e6));
  writer.Text("from", SenderName(message.sender)).Text("topic", Utf8Of(message.frames.front()));
  if (IsLoudnessData(message))
    WriteFigures(writer, message.frames);
  else
    WriteFrames(writer, message);
  return writer.Finish();
}

}  // namespace louddesk
