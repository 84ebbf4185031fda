// Decodes the service's messages.

#include "ServiceMessages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "JsonAccess.h"
#include "Logger.h"
#include "LoudReport.h"
#include "LuMessageKeys.h"
#include "PubHandler.h"
#include "UnitDocuments.h"

namespace louddesk {
namespace {

bool HasNumbersOnly(const Frames& frames) {
  return std::all_of(frames.begin() + 1, frames.end(),
                     [](const std::string& frame) { return frame.size() == sizeof(std::int16_t); });
}

// A topic is one of these prefixes plus the meter set. Longer prefixes come before their own
// prefixes.
struct TopicEntry {
  const char* prefix;
  StateKind kind;
  bool isRepublished;
};

constexpr TopicEntry kTopics[] = {
    {kAcknowledgementRepubTopicPrefix, StateKind::kAcknowledgement, true},
    {kAcknowledgementTopicPrefix, StateKind::kAcknowledgement, false},
    {kCurrentConfRepubTopicPrefix, StateKind::kConfiguration, true},
    {kCurrentConfTopicPrefix, StateKind::kConfiguration, false},
};

const TopicEntry* FindTopic(const std::string& topic) {
  for (const TopicEntry& entry : kTopics)
    if (topic.rfind(entry.prefix, 0) == 0)
      return &entry;
  return nullptr;
}

// The configuration is the last member of its envelope, unchanged from how it was sent.
std::string EnvelopedText(const std::string& json) {
  constexpr char kKey[] = "\"Conf\":";
  const std::size_t key = json.find(kKey);
  if (key == std::string::npos)
    return "";
  const std::size_t begin = key + sizeof kKey - 1;
  return json.substr(begin, json.rfind('}') - begin);
}

std::optional<std::uint32_t> ReadUnsigned(const rapidjson::Document& document, const char* key) {
  std::uint32_t value = 0;
  return json::Read(document, key, value) ? std::optional(value) : std::nullopt;
}

// All members. The most important come first, because a narrow window cuts off the end.
std::string ConfigurationText(const std::string& configuration) {
  const auto read = ReadConfiguration(configuration);
  if (!read)
    return "Configuration";
  return fmt::format(
      "Configuration: {}, {}, window {} s, range {} s, reference {} LKFS, tolerance {} LU, "
      "alarm {}, shown {}, cluster {}{}",
      read->loudnessStandard, read->mode, read->loudnessWindowTime, read->lraWindow,
      read->referenceLevel, read->alarmTolerance, read->alarm, read->loudnessWindow,
      read->clusterId, read->originFromFp ? ", from the front panel" : "");
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

std::optional<ServiceAnswer> ReadAnswer(const StateMessage& message) {
  const TopicEntry* topic = FindTopic(message.topic);
  rapidjson::Document document;
  if (topic == nullptr || !json::ParseObject(message.json.c_str(), document))
    return std::nullopt;
  ServiceAnswer answer;
  answer.kind = topic->kind;
  answer.isRepublished = topic->isRepublished;
  answer.user = ReadUnsigned(document, lu_key::kWrittenUser);
  answer.cmdTime = ReadUnsigned(document, lu_key::kCommandTimeStamp);
  if (topic->kind == StateKind::kConfiguration)
    answer.configuration = EnvelopedText(message.json);
  else if (!json::Read(document, lu_key::kCommand, answer.command))
    return std::nullopt;
  return answer;
}

bool Settles(const ServiceAnswer& answer, const std::string& asked) {
  const std::string& done = answer.command;
  return answer.kind == StateKind::kAcknowledgement &&
         (done == asked || (asked == cLuCmd::kPauseText && done == cLuCmd::kStopText) ||
          (asked == cLuCmd::kPlayText && done == cLuCmd::kStartText));
}

std::string AnswerText(const ServiceAnswer& answer) {
  const std::string text = answer.kind == StateKind::kConfiguration
                               ? ConfigurationText(answer.configuration)
                               : answer.command + " acknowledged";
  return answer.user ? text + ", user " + std::to_string(*answer.user) : text;
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
