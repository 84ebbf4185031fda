// The start of a measurement on the shipped service.

#include "ServiceStarter.h"

#include "RunningService.h"

namespace {

using louddesk::Patience;
using louddesk::ServiceStarter;
using testing::HasSubstr;

const std::vector<std::string> kStereo = {"Left", "Right"};

class ServiceStarterTest : public RunningService {
 protected:
  void StartConnected() {
    ASSERT_NO_FATAL_FAILURE(Start());
    ASSERT_TRUE(mStarter.Connect(kPatience)) << mStarter.WhyNotConnected();
  }

  /// Two meters of a stereo programme at a power that reads `lkfs` on each of them.
  void FeedStereo(double lkfs) {
    louddesk::BlockReading block;
    block.powers[0] = block.powers[1] = PowerOf(lkfs);
    block.peaks[0] = block.peaks[1] = 1000;
    for (int i = 0; i < 8; ++i)
      mUnit.SendRaw(block);
  }

  ServiceStarter mStarter{mUnit};
};

TEST_F(ServiceStarterTest, ServiceMeasuresTheProgramme) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  mStarter.Restart(kStereo);
  ASSERT_TRUE(mStarter.AwaitRestart(kPatience));
  FeedStereo(-30);
  // Two channels read 3.01 above one.
  ExpectData([](const auto& message) { return message.data.Momentary == -270; }, "-27.0 LKFS");
}

// The same speakers need no further preset.
TEST_F(ServiceStarterTest, EveryRestartMeasuresAnewAndIsAnotherUsers) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  mStarter.Restart(kStereo);
  ASSERT_TRUE(mStarter.AwaitRestart(kPatience));
  const unsigned first = mStarter.User();
  FeedStereo(-10);
  ExpectData([](const auto& message) { return message.data.MaxMomentary == -70; }, "-7.0 LKFS");
  mStarter.Restart(kStereo);
  ASSERT_TRUE(mStarter.AwaitRestart(kPatience));
  EXPECT_NE(first, mStarter.User());
  FeedStereo(-30);
  ExpectData([](const auto& message) { return message.data.MaxMomentary == -270; }, "-27.0 LKFS");
}

// As it is in the mode Manual.
TEST_F(ServiceStarterTest, StartedServiceObeysAStopAndStartsAgain) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  mStarter.Restart(kStereo);
  ASSERT_TRUE(mStarter.AwaitRestart(kPatience));
  SendCommand("Stop");
  ExpectAcknowledgement("Stop");
  mStarter.Restart(kStereo);
  EXPECT_TRUE(mStarter.AwaitRestart(kPatience));
}

TEST_F(ServiceStarterTest, ServiceWithoutReportingDoesNotStart) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  EnableReporting(false);
  mStarter.Restart(kStereo);
  EXPECT_FALSE(mStarter.AwaitRestart(5 * kPeriod));
  EnableReporting();
  EXPECT_TRUE(mStarter.AwaitRestart(kPatience));
}

TEST_F(ServiceStarterTest, MissingServiceIsNamed) {
  mUnit.OpenAll();
  EXPECT_FALSE(mStarter.Connect(Patience{0}));
  EXPECT_EQ("no service has subscribed in 0.0 s; start LoudCalc -m 1 -c 1",
            mStarter.WhyNotConnected());
}

}  // namespace
