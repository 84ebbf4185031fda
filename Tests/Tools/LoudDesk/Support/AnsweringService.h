// A service of meter set 1, cluster 1 that measures nothing and sends the answers that a test
// chooses.

#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "BoundSocket.h"
#include "Endpoints.h"
#include "JsonAccess.h"
#include "LoudReport.h"
#include "UnitStandIn.h"

class AnsweringService {
 public:
  /// Binds the service's publishers, and subscribes to the application server of `unit` as soon as
  /// that exists.
  explicit AnsweringService(const louddesk::UnitStandIn& unit)
      : mDataPublisher(ZMQ_PUB, louddesk::Endpoint::Ipc(louddesk::DataPublisherFile(1, 1))),
        mStatePublisher(ZMQ_PUB, louddesk::Endpoint::Ipc(louddesk::StatePublisherFile(1, 1))),
        mCommands(zsock_new(ZMQ_SUB)) {
    mDataPublisher.Open();
    mStatePublisher.Open();
    for (const std::string& topic :
         {std::string(kSystemStatusTopic), std::string(kApplicationCommandTopic),
          std::string(kHwmStatusTopic), std::string(kAppLoudnessCommandTopic),
          std::string(kEnableReportingTopic), louddesk::TopicFor(kPresetTopicPrefix, 1),
          louddesk::TopicFor(kConfigurationTopicPrefix, 1), CommandTopic()})
      zsock_set_subscribe(mCommands, topic.c_str());
    zsock_set_reconnect_ivl(mCommands, 10);
    zsock_connect(mCommands, "%s", unit.EndpointOf(louddesk::Peer::kMainAppServer).c_str());
  }

  ~AnsweringService() { zsock_destroy(&mCommands); }

  AnsweringService(const AnsweringService&) = delete;
  AnsweringService& operator=(const AnsweringService&) = delete;

  /// Waits for the next command and returns its time stamp; 0 when none comes within `patience`.
  unsigned NextTimeStamp(louddesk::Patience patience) {
    zsock_set_rcvtimeo(mCommands, static_cast<int>(patience.count()));
    for (zmsg_t* message = zmsg_recv(mCommands); message != nullptr;
         message = zmsg_recv(mCommands)) {
      const louddesk::Frames frames = Taken(message);
      rapidjson::Document document;
      unsigned timeStamp = 0;
      if (frames.size() == 2 && frames[0] == CommandTopic() &&
          json::ParseObject(frames[1].c_str(), document) &&
          json::Read(document, "CmdTS", timeStamp))
        return timeStamp;
    }
    ADD_FAILURE() << "no command";
    return 0;
  }

  void Acknowledge(const std::string& command, unsigned timeStamp) {
    const std::string json = "{\"Command\":\"" + command +
                             "\",\"ClusterId\":1,\"CmdTS\":" + std::to_string(timeStamp) +
                             ",\"UID\":7,\"MeterSet\":1}";
    zstr_sendx(mStatePublisher.Socket(), louddesk::TopicFor(kAcknowledgementTopicPrefix, 1).c_str(),
               json.c_str(), nullptr);
  }

 private:
  static std::string CommandTopic() { return louddesk::TopicFor(kCommandTopicPrefix, 1); }

  static louddesk::Frames Taken(zmsg_t* message) {
    louddesk::Frames frames;
    for (zframe_t* frame = zmsg_first(message); frame != nullptr; frame = zmsg_next(message))
      frames.emplace_back(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
    zmsg_destroy(&message);
    return frames;
  }

  louddesk::BoundSocket mDataPublisher;
  louddesk::BoundSocket mStatePublisher;
  zsock_t* mCommands;  // owned
};
