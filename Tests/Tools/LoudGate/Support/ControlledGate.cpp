// Starts the service and the gate, and sends orders with curl.

#include "ControlledGate.h"

#include "Endpoints.h"

using louddesk::Peer;

void ControlledGate::StartControlled(const std::vector<std::string>& options) {
  ASSERT_NO_FATAL_FAILURE(Start({Peer::kMainAppServer}));
  std::vector<std::string> all = {"--control", "--token-file", mToken.Name()};
  all.insert(all.end(), options.begin(), options.end());
  mExpectedLines = 2;
  ASSERT_NO_FATAL_FAILURE(StartGate(all));
  const auto send = [this](const std::string& topic, const std::string& json) {
    mUnit.SendText(Peer::kOpticalAppServer, topic, json);
  };
  send(kEnableReportingTopic, louddesk::EnableReportingJson(true));
  send(louddesk::TopicFor(kPresetTopicPrefix, 1),
       louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
  ExpectAcknowledgement("Start");
  louddesk::LoudnessConfiguration configuration;
  configuration.mode = cLuConf::kManualModeText;
  send(louddesk::TopicFor(kConfigurationTopicPrefix, 1), configuration.Json());
  ExpectAcknowledgement("Start");
  AwaitState("RUNNING");
  AwaitSubscription();
}

// Until the service has subscribed, the gate answers 503 and sends nothing.
void ControlledGate::AwaitSubscription() {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  HttpReply reply;
  do {
    reply = Order("ReportingOn");
  } while (reply.status == 503 && std::chrono::steady_clock::now() < end);
  ASSERT_EQ(200, reply.status) << reply.body;
}

HttpReply ControlledGate::Post(const std::string& body, const std::vector<std::string>& headers,
                               const std::string& cluster) const {
  std::vector<std::string> options = {"--data-binary", body};
  for (const std::string& header : headers)
    options.insert(options.end(), {"-H", header});
  return Get("/api/clusters/" + cluster, options);
}

HttpReply ControlledGate::Order(const std::string& command, const std::string& cluster) const {
  return Post(R"({"Command":")" + command + R"("})", {kBearer, kJson}, cluster);
}

void ControlledGate::AwaitState(const std::string& state) {
  Await("/api/clusters/1-1",
        [&](const nlohmann::json& document) { return document.at("State") == state; });
}
