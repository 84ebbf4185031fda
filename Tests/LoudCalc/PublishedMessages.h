// The subscriber's end of the two publisher sockets, for tests that check published messages.

#pragma once

#include <czmq.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Emulation.h"
#include "MqNames.h"
#include "PubHandler.h"
#include "PublishLoudness.h"
#include "Utilities.h"

/// Binds the process's publishers for one meter set and cluster and subscribes to everything they
/// send.
class PublishedMessages {
 public:
  using Message = std::vector<std::string>;  // one string per frame

  PublishedMessages(std::uint32_t meterSet, std::uint32_t cluster) {
    EXPECT_EQ(0, do_mkdir(kIpcDirectory, 0777));
    PublishLoudnessInit();
    gpLcPubs->SetMeterSetNo(meterSet);
    gpLcPubs->SetClusterNo(cluster);
    EXPECT_TRUE(gpLcPubs->Init("127.0.0.1"));
    data_ = Subscribe(kDataPublisherFilePrefix, meterSet, cluster);
    state_ = Subscribe(kStatePublisherFilePrefix, meterSet, cluster);
    Synchronise(data_, gpLcPubs->mpLuDataPubSocket);
    Synchronise(state_, gpLcPubs->mpLuStatePubSocket);
  }

  ~PublishedMessages() {
    zsock_destroy(&data_);
    zsock_destroy(&state_);
  }

  PublishedMessages(const PublishedMessages&) = delete;
  PublishedMessages& operator=(const PublishedMessages&) = delete;

  /// All messages sent since the last call, in order. None is missing, because a marker follows
  /// them through the same socket.
  std::vector<Message> Data() { return Drain(data_, gpLcPubs->mpLuDataPubSocket); }
  std::vector<Message> State() { return Drain(state_, gpLcPubs->mpLuStatePubSocket); }

  /// Frame `index` (2 to 12 as the message counts them) of a data message as its signed value.
  static int Field(const Message& message, std::size_t index) {
    std::int16_t value = 0;
    EXPECT_EQ(sizeof value, message.at(index - 1).size());
    std::memcpy(&value, message.at(index - 1).data(), sizeof value);
    return value;
  }

 private:
  static constexpr int kDeadlineMs = 10000 * kSlowness;
  static constexpr int kRetryMs = 5;

  static zsock_t* Subscribe(const char* prefix, std::uint32_t meterSet, std::uint32_t cluster) {
    MqFileName_t file = {};
    FormatPublisherFile(file, prefix, meterSet, cluster);
    zsock_t* socket = zsock_new(ZMQ_SUB);
    zsock_set_subscribe(socket, "");
    EXPECT_EQ(0, zsock_connect(socket, MQ_IPC_ENDPOINT_FORMAT, kIpcDirectory, file));
    return socket;
  }

  static bool Receive(zsock_t* socket, int timeoutMs, Message& message) {
    zsock_set_rcvtimeo(socket, timeoutMs);
    zmsg_t* frames = zmsg_recv(socket);
    if (frames == nullptr)
      return false;
    message.clear();
    for (zframe_t* frame = zmsg_first(frames); frame != nullptr; frame = zmsg_next(frames))
      message.emplace_back(reinterpret_cast<const char*>(zframe_data(frame)), zframe_size(frame));
    zmsg_destroy(&frames);
    return true;
  }

  std::string NextMarker() { return "marker " + std::to_string(++markers_); }

  // Repeats a marker, because messages are lost until a subscription has reached the publisher.
  void Synchronise(zsock_t* socket, zsock_t* publisher) {
    Message message;
    for (int waited = 0; waited < kDeadlineMs; waited += kRetryMs) {
      zstr_send(publisher, NextMarker().c_str());
      if (Receive(socket, kRetryMs, message)) {
        Drain(socket, publisher);
        return;
      }
    }
    FAIL() << "no subscription";
  }

  std::vector<Message> Drain(zsock_t* socket, zsock_t* publisher) {
    std::vector<Message> messages;
    const std::string marker = NextMarker();
    zstr_send(publisher, marker.c_str());
    for (Message message; Receive(socket, kDeadlineMs, message); messages.push_back(message)) {
      if (message.size() == 1 && message[0] == marker)
        return messages;
      if (message.size() == 1)
        messages.clear();
    }
    ADD_FAILURE() << "marker lost";
    return messages;
  }

  zsock_t* data_ = nullptr;
  zsock_t* state_ = nullptr;
  int markers_ = 0;
};
