// Messages that the library can send but the service never sends. They must equal their examples.

#include <gtest/gtest.h>

#include <cstdio>

#include "GoldenMessage.h"
#include "HeartBeater.h"
#include "Logger.h"
#include "MqTestKit.h"

namespace {

using golden::IsMessage;

/// The receiving end of an endpoint in the unit's IPC directory.
class Inlet {
 public:
  explicit Inlet(const char* file) : mSocket(zsock_new(ZMQ_PULL)) {
    mqtest::MakeIpcDirectory();
    EXPECT_NE(-1, zsock_bind(mSocket, "%s", mqtest::IpcEndpoint(file).c_str()));
  }
  ~Inlet() { zsock_destroy(&mSocket); }
  Inlet(const Inlet&) = delete;
  Inlet& operator=(const Inlet&) = delete;

  golden::Frames Next() { return mqtest::Receive(mSocket); }

 private:
  zsock_t* mSocket;
};

class MonitorMessagesTest : public testing::Test {
 protected:
  MonitorMessagesTest() {
    mClient->SetHeartBeatJson("QvOptLuCal1", "Telvon8-v1.9.3", PS_PROCESSING);
    mClient->ConnectMqOverIpc();
  }
  ~MonitorMessagesTest() override { cHeartBeater::DeleteInstance(); }

  Inlet mMonitor{kMonitorInletIpcName};
  cHeartBeater* mClient = cHeartBeater::GetInstance();
};

TEST_F(MonitorMessagesTest, HeartbeatIsItsExample) {
  ASSERT_TRUE(mClient->SendBeat());
  EXPECT_THAT(mMonitor.Next(), IsMessage("heartbeat.frames"));
}

TEST_F(MonitorMessagesTest, StatusRequestIsItsExample) {
  mClient->RequestRepub();
  EXPECT_THAT(mMonitor.Next(), IsMessage("status-request.frames"));
}

TEST_F(MonitorMessagesTest, ForwardedRebootIsItsExample) {
  mClient->SendRebootCommand();
  EXPECT_THAT(mMonitor.Next(), IsMessage("forwarded-command-reboot.frames"));
}

TEST_F(MonitorMessagesTest, ForwardedUpgradeIsItsExample) {
  mClient->SendSwUpgradeCommand();
  EXPECT_THAT(mMonitor.Next(), IsMessage("forwarded-command-upgrade.frames"));
}

class LogMessagesTest : public testing::Test {
 protected:
  ~LogMessagesTest() override { Logger::DeleteInstance(); }

  Inlet mSink{kLogSinkIpcName};
};

TEST_F(LogMessagesTest, NotificationIsItsExample) {
  Logger* logger = Logger::GetInstance();
  std::snprintf(logger->mName, sizeof logger->mName, "HwMana");
  ASSERT_EQ(1, logger->AttachMqOverIpc());
  logger->Notify(MsgLevel_Warn, "Loudness", "The source has %s meters", "no");
  EXPECT_THAT(mSink.Next(), IsMessage("log-notification.frames"));
}

}  // namespace
