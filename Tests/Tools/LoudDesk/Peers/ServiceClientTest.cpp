// Messages to the shipped service, and its answers.

#include "ServiceClient.h"

#include "RunningService.h"

namespace {

using louddesk::Outcome;
using louddesk::Patience;
using louddesk::ServiceClient;
using louddesk::ServiceError;

const std::vector<std::string> kStereo = {"Left", "Right"};

class ServiceClientTest : public RunningService {
 protected:
  void StartConnected() {
    ASSERT_NO_FATAL_FAILURE(Start());
    mClient.Connect(kPatience);
    mClient.SwitchReporting(true);
  }

  /// Sends blocks in which each of the two meters of a stereo programme reads `lkfs`.
  void FeedStereo(double lkfs) {
    louddesk::BlockReading block;
    block.powers[0] = block.powers[1] = PowerOf(lkfs);
    block.peaks[0] = block.peaks[1] = 1000;
    for (int i = 0; i < 8; ++i)
      mUnit.SendRaw(block);
  }

  ServiceClient mClient{mUnit};
};

TEST_F(ServiceClientTest, ServiceMeasuresTheProgramme) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  mClient.Restart(kStereo);
  ASSERT_EQ(Outcome::kDone, mClient.Await(kPatience));
  FeedStereo(-30);
  // Two channels read 3.01 above one.
  ExpectData([](const auto& message) { return message.data.Momentary == -270; }, "-27.0 LKFS");
}

// The same speakers need no further preset.
TEST_F(ServiceClientTest, EveryRestartMeasuresAnewAndIsAnotherUsers) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  mClient.Restart(kStereo);
  ASSERT_EQ(Outcome::kDone, mClient.Await(kPatience));
  const unsigned first = mClient.User();
  FeedStereo(-10);
  ExpectData([](const auto& message) { return message.data.MaxMomentary == -70; }, "-7.0 LKFS");
  mClient.Restart(kStereo);
  ASSERT_EQ(Outcome::kDone, mClient.Await(kPatience));
  EXPECT_NE(first, mClient.User());
  FeedStereo(-30);
  ExpectData([](const auto& message) { return message.data.MaxMomentary == -270; }, "-27.0 LKFS");
}

// The mode must be Manual.
TEST_F(ServiceClientTest, StartedServiceStopsOnCommandAndStartsAgain) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  mClient.Restart(kStereo);
  ASSERT_EQ(Outcome::kDone, mClient.Await(kPatience));
  SendCommand("Stop");
  ExpectAcknowledgement("Stop");
  mClient.Restart(kStereo);
  EXPECT_EQ(Outcome::kDone, mClient.Await(kPatience));
}

TEST_F(ServiceClientTest, ServiceWithoutReportingDoesNotStart) {
  ASSERT_NO_FATAL_FAILURE(StartConnected());
  EnableReporting(false);
  mClient.Restart(kStereo);
  EXPECT_EQ(Outcome::kPending, mClient.Await(5 * kPeriod));
  EnableReporting();
  EXPECT_EQ(Outcome::kDone, mClient.Await(kPatience));
}

TEST_F(ServiceClientTest, MissingServiceIsNamed) {
  mUnit.OpenAll();
  try {
    mClient.Connect(Patience{0});
    FAIL() << "there is no service";
  } catch (const ServiceError& error) {
    EXPECT_STREQ("no service has subscribed in 0.0 s; start LoudCalc -m 1 -c 1", error.what());
  }
}

}  // namespace
