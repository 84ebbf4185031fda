// The wiring when the messaging library fails, and when its entry points are called out of order.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "CzmqFaults.h"
#include "LcReactor.h"
#include "MqNames.h"
#include "ReactorMain.h"
#include "Utilities.h"

namespace {

using faults::Call;
using testing::HasSubstr;

class ReactorMainFaultsTest : public testing::Test {
 protected:
  ReactorMainFaultsTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EQ(0, do_mkdir(kIpcDirectory, 0777));
    faults::Reset();
  }

  static void Wire() { initReactorLoop(1, "127.0.0.1", 1, 1); }
};

TEST_F(ReactorMainFaultsTest, EverySubscriptionMustConnect) {
  // The first connection is for heartbeats; its failure is only logged.
  for (int connection = 2; connection <= 6; ++connection) {
    EXPECT_DEATH((faults::Fail(Call::Connect, connection), Wire()), "`ret == true'") << connection;
  }
}

TEST_F(ReactorMainFaultsTest, HeartbeatThatCannotConnectIsOnlyLogged) {
  testing::internal::CaptureStderr();
  Logger::GetInstance()->mConsoleAttached = true;
  faults::Fail(Call::Connect, 1);
  Wire();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("\"Failed to connect to tcp://"));
  EXPECT_NE(-1, oneLuDataTimer);
  cleanReactorLoop();
}

TEST_F(ReactorMainFaultsTest, MeterSetTopicThatCannotBeSubscribedIsOnlyLogged) {
  const struct {
    int subscription;  // number of the subscription that fails
    const char* topic;
  } kCases[] = {{6, "AppProbeIOMatrixStream-1/24"},
                {7, "AppProbeSetLuConf-1/19"},
                {8, "AppIOQVLoudnessCmd-1/20"}};
  for (const auto& row : kCases) {
    EXPECT_EXIT(
        {
          Logger::GetInstance()->mConsoleAttached = true;
          faults::ThrowRuntimeError(Call::Subscribe, row.subscription);
          Wire();
          cleanReactorLoop();
          std::exit(oneLuDataTimer != -1 ? 0 : 1);
        },
        testing::ExitedWithCode(0),
        std::string("\"Failed to subscribe Appserver MQ topic ") + row.topic + "\"")
        << row.topic;
  }
}

TEST_F(ReactorMainFaultsTest, TimerThatTheLoopRefusesStopsTheProcess) {
  EXPECT_DEATH((faults::Fail(Call::LoopTimer, 1), Wire()), "`rc != -1'");
  EXPECT_DEATH((faults::Fail(Call::LoopTimer, 2), Wire()), "`rc != -1'");
}

TEST_F(ReactorMainFaultsTest, CleaningEndsEveryTimer) {
  Wire();
  cleanReactorLoop();
  EXPECT_THAT(faults::EndedTimers(), testing::ElementsAre(oneSecondTimer, oneLuDataTimer));
}

TEST_F(ReactorMainFaultsTest, LoopWithoutWiringStopsTheProcess) {
  EXPECT_DEATH(startReactorLoop(), "`preactor != nullptr'");
  EXPECT_DEATH(cleanReactorLoop(), "`preactor != nullptr'");
}

TEST_F(ReactorMainFaultsTest, CleaningWithoutPublishersStopsTheProcess) {
  EXPECT_DEATH((cLcReactor::GetInstance(), cleanReactorLoop()), "`gpLcPubs != nullptr'");
}

}  // namespace
