// How a played unit handles the answers to its orders.

#include "ServiceControl.h"

#include <sstream>

#include "AnsweringService.h"
#include "RunningService.h"

namespace {

using louddesk::OrderOf;
using louddesk::Peer;
using testing::HasSubstr;
using testing::Not;

class ServiceControlTest : public RunningService {
 protected:
  void SetUp() override {
    mUnit.Open(Peer::kMainAppServer);
    ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
  }

  /// Sends the order and returns the time stamp that it was sent with.
  unsigned Order(const std::string& word) {
    mControl.Send(*OrderOf(word));
    return mService.NextTimeStamp(kPatience);
  }

  /// Handles answers until `text` has been shown.
  void ExpectShown(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (mOut.str().find(text) == std::string::npos && std::chrono::steady_clock::now() < end) {
      mControl.TakeAnswers();
      Pass(kPeriod / 10);
    }
    EXPECT_THAT(mOut.str(), HasSubstr(text));
  }

  std::ostringstream mOut;
  louddesk::LiveLine mLine{mOut, {}};
  louddesk::ServiceControl mControl{mUnit, mLine};
  AnsweringService mService{mUnit};
};

TEST_F(ServiceControlTest, AcknowledgementWithItsStampSettlesAnOrder) {
  mService.Acknowledge("Pause", Order("pause"));
  ExpectShown("Pause acknowledged, user 7\n");
  EXPECT_TRUE(mControl.IsReady());
  EXPECT_THAT(mOut.str(), Not(HasSubstr("another client")));
}

// If two commands arrive within one tick, the service acknowledges both with the stamp of the last.
TEST_F(ServiceControlTest, AcknowledgementWithAnotherStampSettlesItToo) {
  mService.Acknowledge("Pause", Order("pause") + 1000);
  ExpectShown(
      "Pause acknowledged, user 7\n"
      "Pause acknowledged with the time stamp of another client's command\n");
  EXPECT_TRUE(mControl.IsReady());
}

TEST_F(ServiceControlTest, AcknowledgementOfAnotherCommandSettlesNothing) {
  mService.Acknowledge("Stop", Order("start") + 1000);
  ExpectShown("Stop acknowledged, user 7\n");
  EXPECT_FALSE(mControl.IsReady());
}

TEST_F(ServiceControlTest, ResetBeforeAStartSettlesNothingYet) {
  const unsigned timeStamp = Order("start");
  mService.Acknowledge("Reset", timeStamp);
  ExpectShown("Reset acknowledged, user 7\n");
  EXPECT_FALSE(mControl.IsReady());
  mService.Acknowledge("Start", timeStamp);
  ExpectShown("Start acknowledged, user 7\n");
  EXPECT_TRUE(mControl.IsReady());
}

TEST_F(ServiceControlTest, OrderThatComesToNothingIsReported) {
  Order("stop");
  ExpectShown("No answer to stop\n");
  EXPECT_TRUE(mControl.IsReady());
}

}  // namespace
