// Reading of the state publisher's messages.

#include "Acknowledgement.h"

#include <algorithm>
#include <iterator>

#include "JsonAccess.h"
#include "LoudReport.h"
#include "LuMessageKeys.h"

namespace louddesk {
namespace {

// A topic is one of these and the meter set. The longer ones stand first: the others are their
// beginnings.
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

// A command that may be acknowledged as another one.
struct OtherOutcome {
  const char* asked;
  const char* done;
};

constexpr OtherOutcome kOtherOutcomes[] = {{"Pause", "Stop"}, {"Play", "Start"}};

constexpr char kConfigurationKey[] = "\"Conf\":";

const TopicEntry* FindTopic(const std::string& topic) {
  for (const TopicEntry& entry : kTopics)
    if (topic.rfind(entry.prefix, 0) == 0)
      return &entry;
  return nullptr;
}

// The configuration stands at the end of its envelope, character for character as it was sent.
std::string EnvelopedText(const std::string& json) {
  const std::size_t key = json.find(kConfigurationKey);
  if (key == std::string::npos)
    return "";
  const std::size_t begin = key + sizeof kConfigurationKey - 1;
  return json.substr(begin, json.rfind('}') - begin);
}

std::optional<std::uint32_t> ReadUnsigned(const rapidjson::Document& document, const char* key) {
  std::uint32_t value = 0;
  if (!json::Read(document, key, value))
    return std::nullopt;
  return value;
}

std::string ConfigurationText(const std::string& configuration) {
  rapidjson::Document document;
  std::string standard;
  std::string mode;
  std::uint32_t window = 0;
  std::uint32_t range = 0;
  if (!json::ParseObject(configuration.c_str(), document) ||
      !json::Read(document, lu_key::kLoudnessStandard, standard) ||
      !json::Read(document, lu_key::kMode, mode) ||
      !json::Read(document, lu_key::kLoudnessWindowTime, window) ||
      !json::Read(document, lu_key::kLraWindow, range))
    return "Configuration";
  return "Configuration: " + standard + ", " + mode + ", window " + std::to_string(window) +
         " s, range " + std::to_string(range) + " s";
}

}  // namespace

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
  if (answer.kind != StateKind::kAcknowledgement)
    return false;
  return answer.command == asked ||
         std::any_of(std::begin(kOtherOutcomes), std::end(kOtherOutcomes),
                     [&](const OtherOutcome& other) {
                       return asked == other.asked && answer.command == other.done;
                     });
}

std::string AnswerText(const ServiceAnswer& answer) {
  const std::string text = answer.kind == StateKind::kConfiguration
                               ? ConfigurationText(answer.configuration)
                               : answer.command + " acknowledged";
  return answer.user ? text + ", user " + std::to_string(*answer.user) : text;
}

}  // namespace louddesk
