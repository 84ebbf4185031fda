// Decoding of the service's messages.

#include "ServiceMessages.h"

#include <algorithm>
#include <cstring>

#include "JsonAccess.h"
#include "Logger.h"
#include "PubHandler.h"

namespace louddesk {
namespace {

bool HasNumbersOnly(const Frames& frames) {
  return std::all_of(frames.begin() + 1, frames.end(),
                     [](const std::string& frame) { return frame.size() == sizeof(std::int16_t); });
}

}  // namespace

LoudnessMessage DecodeLoudnessMessage(const Arrival& arrival) {
  LoudnessMessage message;
  message.frames = arrival.frames;
  message.time = arrival.time;
  message.wellFormed = arrival.frames.size() == kLuDataFrameCount &&
                       arrival.frames.front() == kLoudnessDataTopic &&
                       HasNumbersOnly(arrival.frames);
  if (!message.wellFormed)
    return message;
  LuDataContent_t content{};
  for (std::size_t i = 1; i < kLuDataFrameCount; ++i)
    std::memcpy(&(content.*kLuDataFrames[i].value), arrival.frames[i].data(), sizeof(std::int16_t));
  message.data = content;
  message.validSource = content.ValidSrc;
  message.command = content.Cmd;
  message.cluster = content.ClId;
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
  json::Read(document, log_key::kType, line.type);
  json::Read(document, log_key::kLevel, line.level);
  json::Read(document, log_key::kName, line.name);
  json::Read(document, log_key::kMessage, line.message);
  return line;
}

std::vector<int> PublishedCodes(const LoudnessData_t& data) {
  return {data.MaxMomentary, data.Momentary, data.ShortTerm,   data.Integrated,
          data.Lra,          data.Program,   data.MaxTruePeak, data.TruePeak};
}

}  // namespace louddesk
