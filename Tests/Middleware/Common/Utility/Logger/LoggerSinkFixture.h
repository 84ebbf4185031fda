// The log sink's end of the logger's socket and a logger that is ready for it.

#pragma once

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cstdio>
#include <string>

#include "CzmqFaults.h"
#include "Logger.h"
#include "MqTestKit.h"

constexpr char kIpcEndpoint[] = "ipc:///run/shm/mq/loggerSinkMq.ipc";
constexpr char kTcpEndpoint[] = "tcp://127.0.0.1:9000";

// The log sink of the unit.
class Sink {
 public:
  explicit Sink(const char* endpoint) : socket_(zsock_new(ZMQ_PULL)) {
    EXPECT_NE(zsock_bind(socket_, "%s", endpoint), -1) << endpoint;
  }
  ~Sink() { zsock_destroy(&socket_); }
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  mqtest::Frames NextFrames() { return mqtest::Receive(socket_); }

  // The next message, which has one frame; empty when none comes.
  std::string Next() {
    const mqtest::Frames frames = NextFrames();
    EXPECT_EQ(frames.size(), 1U);
    return frames.empty() ? std::string() : frames[0];
  }

  // The text of the next message.
  std::string NextText() {
    rapidjson::Document document;
    document.Parse(Next().c_str());
    return document.IsObject() ? document["Message"].GetString() : "";
  }

  bool HasMore() { return mqtest::HasMessage(socket_); }

 private:
  zsock_t* socket_;
};

class LoggerSinkTest : public testing::Test {
 protected:
  static constexpr int kMostMessages = 100000;  // more than all queues together hold

  LoggerSinkTest() {
    mqtest::MakeIpcDirectory();
    Logger::DeleteInstance();
    mpLogger = Logger::GetInstance();
    std::snprintf(mpLogger->mName, sizeof mpLogger->mName, "LoudC");
    faults::Reset();
  }

  ~LoggerSinkTest() override {
    faults::Reset();
    mqtest::Console console;
    Logger::DeleteInstance();
    // Waits for sockets that close in the background; the next test must not see them.
    zsys_shutdown();
  }

  // Attaches the logger and drops its lines about that, on the console and at the sink.
  void AttachQuietly() {
    const MsgLevel_e level = mpLogger->mLogLevel;
    mpLogger->mLogLevel = MsgLevel_None;
    ASSERT_EQ(mpLogger->AttachMqOverIpc(), 1);
    mpLogger->mLogLevel = level;
  }

  void MakeVerbose() {
    mpLogger->mLogLevel = MsgLevel_Debug;
    mpLogger->mConsoleAttached = true;
  }

  // Sends numbers, which nobody reads, until one is refused. Returns how many were accepted, at
  // most kMostMessages.
  int FillQueue() {
    int sent = 0;
    while (sent < kMostMessages && Send(std::to_string(sent)))
      ++sent;
    return sent;
  }

  bool Send(const std::string& text) {
    return mpLogger->SendJson(MsgType_Logging, MsgLevel_Info, text.c_str(), nullptr);
  }

  Logger* mpLogger = nullptr;
};
