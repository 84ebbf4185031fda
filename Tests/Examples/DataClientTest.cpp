// The example data client beside the shipped service.

#include <czmq.h>

#include <chrono>
#include <cmath>
#include <csignal>

#include "ExampleProcess.h"
#include "RunningService.h"

namespace {

using testing::HasSubstr;

constexpr char kGap[] = "no data for 1 s: ";
constexpr char kNotData[] = "a message that is not loudness data is left out";

/// Level of each channel of a 5.1 programme that reads `lkfs`. The weights are 3 x 1 and 2 x 1.41.
double ChannelLevel(double lkfs) {
  return lkfs - 10 * std::log10(3 + 2 * 1.41);
}

void Publish(zsock_t* publisher, const std::string& topic, const std::vector<std::string>& frames) {
  zmsg_t* message = zmsg_new();
  zmsg_addstr(message, topic.c_str());
  for (const std::string& frame : frames)
    zmsg_addstr(message, frame.c_str());
  zmsg_send(&message, publisher);
}

class DataClientTest : public RunningService, public testing::WithParamInterface<Language> {
 protected:
  void StartClient(const std::vector<std::string>& arguments = {}) {
    mClient = StartExample(GetParam(), arguments);
  }

  /// Expects a line that contains `text` after the lines read so far.
  void ExpectPrints(const std::string& text) {
    EXPECT_TRUE(mClient->WaitForLine(text, kPatience, mRead))
        << text << "\n"
        << mClient->StandardOutput() << mClient->StandardError() << Output();
  }

  void SkipPrinted() { mRead = mClient->LineCount(); }

  std::unique_ptr<ServiceProcess> mClient;
  std::size_t mRead = 0;  // lines read so far
};

INSTANTIATE_TEST_SUITE_P(Languages, DataClientTest,
                         testing::ValuesIn(LanguagesOf("data_client.py")),
                         [](const auto& language) { return language.param.name; });

TEST_P(DataClientTest, PrintsTheFiguresAndSaysWhenTheyNoLongerChange) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  StartClient();
  ExpectPrints("M   ---  S   ---  I   --- LKFS  TP    --- dBTP  no block yet");
  // Three blocks of warm-up; the integrated loudness is refreshed on the tenth block.
  Feed(20, ChannelLevel(-23.0), 16384);
  ExpectPrints("M -23.0  S -23.0  I -23.0 LKFS  TP  -6.02 dBTP");
  ExpectPrints("M -23.0  S -23.0  I -23.0 LKFS  TP  -6.02 dBTP  no change for 3 s");
  ExpectPrints("  no change for 4 s");

  SkipPrinted();
  Feed(4, ChannelLevel(-33.0), 8192);
  ExpectPrints("M -33.0");
  ExpectPrints("LKFS  TP -12.04 dBTP");
}

TEST_P(DataClientTest, TellsAPauseFromBlocksThatStop) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  StartClient();
  Feed(20, ChannelLevel(-23.0));
  ExpectPrints("M -23.0");
  SendCommand("Pause");
  ExpectPrints("  paused");
  SkipPrinted();
  for (int message = 0; message < 40; ++message)
    ASSERT_TRUE(mUnit.NextLoudnessData(kPatience));
  ExpectPrints("  paused");
  EXPECT_THAT(mClient->StandardOutput(), testing::Not(HasSubstr("no change")));
}

TEST_P(DataClientTest, SilenceIsNotTakenForAFault) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  StartClient();
  // Powers and peaks of 0, which count as 1.
  louddesk::BlockReading silence;
  for (int block = 0; block < 10; ++block)
    mUnit.SendRaw(silence);
  ExpectPrints("M   ---  S   ---  I   --- LKFS  TP -90.31 dBTP");
  mUnit.DropLoudnessData();
  for (int message = 0; message < 40; ++message)
    ASSERT_TRUE(mUnit.NextLoudnessData(kPatience));
  EXPECT_THAT(mClient->StandardOutput(), testing::Not(HasSubstr("no change")));
}

TEST_P(DataClientTest, SaysThatThereIsNoProgramme) {
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  StartClient();
  ExpectPrints("no block yet");
  SendPreset("{}");
  ExpectPrints("M   ---  S   ---  I   --- LKFS  TP    --- dBTP  no programme");
  ExpectPrints(kGap);
}

TEST_P(DataClientTest, OutlivesAServiceThatStartsLateAndAgain) {
  StartClient();
  ExpectPrints(kGap);
  ASSERT_NO_FATAL_FAILURE(Start());
  StartMeasuring();
  ExpectPrints("data again");
  SkipPrinted();
  ExpectCleanEnd(SIGTERM);
  ExpectPrints(kGap);
  SkipPrinted();
  ASSERT_NO_FATAL_FAILURE(StartAgain());
  StartMeasuring();
  ExpectPrints("data again");
  Feed(20, ChannelLevel(-23.0), 16384);
  ExpectPrints("M -23.0  S -23.0  I -23.0 LKFS  TP  -6.02 dBTP");
}

TEST_P(DataClientTest, LeavesOutWhatIsNotLoudnessData) {
  zsys_dir_create("/run/shm/mq");
  zsock_t* publisher = zsock_new(ZMQ_XPUB);
  zsock_set_xpub_verbose(publisher, 1);
  ASSERT_EQ(0, zsock_bind(publisher, "ipc:///run/shm/mq/ProbeLc1LoudnessDataPub-m1c1.ipc"));
  StartClient();
  for (int subscriber = 0; subscriber < 2; ++subscriber) {  // the unit's own and the example
    zmsg_t* subscription = zmsg_recv(publisher);
    zmsg_destroy(&subscription);
  }
  // The text "PP" is the code 0x5050 = 20560.
  const std::vector<std::string> codes(11, "PP");
  Publish(publisher, "LoudnessData", {});
  Publish(publisher, "LoudnessData2", codes);
  Publish(publisher, "LoudnessData", std::vector<std::string>(11, "P"));
  Publish(publisher, "LoudnessData", codes);
  ExpectPrints("M 2056.0  S 2056.0  I 2056.0 LKFS  TP 205.60 dBTP");
  // One notice per message that is not loudness data. Waits for them, because the example's two
  // streams are read independently.
  const std::string notices = std::string(kNotData) + "\n" + kNotData + "\n" + kNotData + "\n";
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (mClient->StandardError() != notices && std::chrono::steady_clock::now() < end)
    Pass(std::chrono::milliseconds{10});
  EXPECT_EQ(notices, mClient->StandardError());
  zsock_destroy(&publisher);
}

TEST_P(DataClientTest, EndsInOrderOnEverySignal) {
  for (const int signal : {SIGINT, SIGTERM}) {
    StartClient({"2", "8"});
    mRead = 0;
    ExpectPrints(kGap);
    mClient->Signal(signal);
    const auto report = mClient->WaitForExit(kPatience);
    ASSERT_TRUE(report);
    EXPECT_EQ(0, report->signal);
    EXPECT_EQ(0, report->status) << mClient->StandardError();
  }
}

TEST_P(DataClientTest, WrongArgumentsAreRefused) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"0"}, {"1", "9"}, {"1", "x"}, {"-1"}, {"1", "1", "1"}, {""}}) {
    StartClient(arguments);
    const auto report = mClient->WaitForExit(kPatience);
    ASSERT_TRUE(report);
    EXPECT_EQ(2, report->status);
    EXPECT_THAT(mClient->StandardError(), testing::StartsWith("usage: "));
  }
}

}  // namespace
