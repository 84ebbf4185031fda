// Decoding of the service's messages.

#include "ServiceMessages.h"

#include <algorithm>
#include <cstring>

#include "JsonAccess.h"

namespace louddesk {

namespace {

constexpr char kLoudnessTopic[] = "LoudnessData";
constexpr std::size_t kLoudnessFrames = 12;

bool HasNumbersOnly(const Frames& frames) {
  return std::all_of(frames.begin() + 1, frames.end(),
                     [](const std::string& frame) { return frame.size() == sizeof(std::int16_t); });
}

}  // namespace

LoudnessMessage DecodeLoudnessMessage(const Arrival& arrival) {
  LoudnessMessage message;
  message.frames = arrival.frames;
  message.time = arrival.time;
  message.wellFormed = arrival.frames.size() == kLoudnessFrames &&
                       arrival.frames.front() == kLoudnessTopic && HasNumbersOnly(arrival.frames);
  if (!message.wellFormed)
    return message;
  LoudnessData_t& data = message.data;
  std::int16_t* const fields[kLoudnessFrames - 1] = {
      &data.MaxMomentary, &data.Momentary, &data.ShortTerm,
      &data.Integrated,   &data.Lra,       &data.Program,
      &data.MaxTruePeak,  &data.TruePeak,  &message.validSource,
      &message.command,   &message.cluster};
  for (std::size_t i = 0; i < kLoudnessFrames - 1; ++i)
    std::memcpy(fields[i], arrival.frames[i + 1].data(), sizeof(std::int16_t));
  return message;
}

StateMessage DecodeStateMessage(const Arrival& arrival) {
  StateMessage message;
  message.frames = arrival.frames;
  message.topic = arrival.frames.empty() ? "" : arrival.frames[0];
  message.json = arrival.frames.size() < 2 ? "" : arrival.frames[1];
  return message;
}

LogLine DecodeLogLine(const Frames& frames) {
  LogLine line;
  line.frames = frames;
  if (frames.empty())
    return line;
  rapidjson::Document document;
  if (!json::ParseObject(frames.front().c_str(), document)) {
    line.message = frames.front();
    return line;
  }
  json::Read(document, "MsgType", line.type);
  json::Read(document, "Level", line.level);
  json::Read(document, "Name", line.name);
  json::Read(document, "Message", line.message);
  return line;
}

std::vector<int> PublishedCodes(const LoudnessData_t& data) {
  return {data.MaxMomentary, data.Momentary, data.ShortTerm,   data.Integrated,
          data.Lra,          data.Program,   data.MaxTruePeak, data.TruePeak};
}

}  // namespace louddesk
