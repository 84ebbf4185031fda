// Two services of the same meter set and cluster: the second takes over the files of the
// publishers; clients of the first stay connected to it. Neither disturbs the other.

#include <csignal>

#include "Endpoints.h"
#include "FaultyUnit.h"

namespace {

using louddesk::DataClient;
using louddesk::Peer;

class TwinServiceTest : public FaultyUnit {
 protected:
  /// Makes a first service measure, with the stand-in as its client, and then a second service,
  /// with `mNewClient` as its client.
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(StartInOrder());
    mFirst = std::move(mService);
    StartProcess();
    mSecond = std::move(mService);
    ASSERT_TRUE(mSecond->WaitForLine("addQVAppserverMq local optkria", kPatience));
    mNewClient = std::make_unique<DataClient>(louddesk::DataPublisherFile(1, 1));
    ASSERT_TRUE(StartsMeasuring(*mNewClient));
  }

  void TearDown() override {
    for (std::unique_ptr<ServiceProcess>* service : {&mFirst, &mSecond})
      if (*service && (*service)->IsRunning())
        ExpectEndOf(*service);
    FaultyUnit::TearDown();
  }

  /// Makes the service of this client measure. Its subscriptions are the same as those of the first
  /// service, so their arrival cannot be seen: messages are repeated until data arrives.
  bool StartsMeasuring(DataClient& client) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    do {
      mUnit.SendText(Peer::kOpticalAppServer, kEnableReportingTopic,
                     louddesk::EnableReportingJson(true));
      SendPreset(louddesk::PresetForSpeakers(SurroundSpeakers(), 1).Json());
      if (GetsData(client, 10 * kPeriod))
        return true;
    } while (std::chrono::steady_clock::now() < end);
    return false;
  }

  /// Ends one of the services and expects that it reports no errors.
  void ExpectEndOf(std::unique_ptr<ServiceProcess>& service) {
    mService = std::move(service);
    ExpectCleanEnd(SIGTERM);
    mService.reset();
  }

  /// Whether the stand-in, the first service's client, gets data.
  bool OldClientGetsData() {
    mUnit.DropLoudnessData();
    return mUnit.NextLoudnessData(kPatience) && mUnit.NextLoudnessData(kPatience);
  }

  std::unique_ptr<ServiceProcess> mFirst;
  std::unique_ptr<ServiceProcess> mSecond;
  std::unique_ptr<DataClient> mNewClient;
};

TEST_F(TwinServiceTest, OldClientsStayWithTheFirstAndNewOnesGoToTheSecond) {
  EXPECT_TRUE(OldClientGetsData());
  ASSERT_NO_FATAL_FAILURE(Suspend(*mFirst));
  ExpectDataEnded();
  EXPECT_TRUE(GetsData(*mNewClient));
  mFirst->Signal(SIGCONT);
  EXPECT_TRUE(OldClientGetsData());

  ASSERT_NO_FATAL_FAILURE(Suspend(*mSecond));
  Pass(kPeriod);
  EXPECT_FALSE(GetsData(*mNewClient, 5 * kPeriod));
  EXPECT_TRUE(OldClientGetsData());
  mSecond->Signal(SIGCONT);
  EXPECT_TRUE(GetsData(*mNewClient));

  // The first service logs that once for each of its files and does not take the files back.
  EXPECT_EQ(2u, LinesOf(*mFirst, "Somebody else has taken"));
  EXPECT_EQ(0u, LinesOf(*mSecond, "Somebody else has taken"));
}

TEST_F(TwinServiceTest, EndOfTheFirstLeavesTheSecondToNewClients) {
  ExpectEndOf(mFirst);
  EXPECT_TRUE(GetsData(*mNewClient));
  DataClient newest(louddesk::DataPublisherFile(1, 1));
  EXPECT_TRUE(GetsData(newest));
  // The client of the first service also connects to the new file.
  EXPECT_TRUE(OldClientGetsData());
}

TEST_F(TwinServiceTest, EndOfTheSecondLeavesTheFirstToItsOldClientsOnly) {
  ExpectEndOf(mSecond);
  EXPECT_TRUE(OldClientGetsData());
  EXPECT_FALSE(GetsData(*mNewClient, 5 * kPeriod));
  DataClient newest(louddesk::DataPublisherFile(1, 1));
  EXPECT_FALSE(GetsData(newest, 5 * kPeriod));

  // A restart ends this state.
  ExpectEndOf(mFirst);
  ASSERT_NO_FATAL_FAILURE(StartAgain());
  StartMeasuring();
  EXPECT_TRUE(GetsData(newest));
  EXPECT_TRUE(GetsData(*mNewClient));
}

}  // namespace
