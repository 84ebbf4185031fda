// Signals that the service ignores, its suspension, and its end by a signal at any time from its
// first instruction on.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

#include "Emulation.h"
#include "FaultyUnit.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using louddesk::Peer;
using Clock = std::chrono::steady_clock;

struct NamedSignal {
  const char* name;
  int signal;
};

constexpr NamedSignal kStraySignals[] = {
    {"User1", SIGUSR1}, {"User2", SIGUSR2},    {"HangUp", SIGHUP},          {"Pipe", SIGPIPE},
    {"Alarm", SIGALRM}, {"FileSize", SIGXFSZ}, {"TerminalOutput", SIGTTOU},
};

class StraySignalTest : public FaultyUnit {};

TEST_F(StraySignalTest, NeitherEndsTheServiceNorDisturbsItsCadence) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  for (const NamedSignal& stray : kStraySignals) {
    SCOPED_TRACE(std::string("row ") + stray.name);
    if (!mService->IsRunning()) {
      ASSERT_NO_FATAL_FAILURE(StartAgain());
      StartMeasuringWithoutConsole();
    }
    for (int i = 0; i < 40; ++i) {
      mService->Signal(stray.signal);
      Pass(kPeriod / 10);
    }
    EXPECT_TRUE(mService->IsRunning()) << "ended by it";
  }
  mUnit.DropHeartbeats();
  EXPECT_TRUE(mUnit.NextHeartbeat(kPatience));
  ExpectMeasures(-20);
  ExpectCadenceAndMemory();
}

class SuspensionTest : public FaultyUnit {
 protected:
  using Counts = std::pair<std::size_t, std::size_t>;  // data messages, heartbeats

  /// Counts the messages of the given time.
  Counts Count(Milliseconds time) {
    const auto end = Clock::now() + time;
    std::size_t messages = 0;
    while (mUnit.NextLoudnessData(louddesk::Remaining(end)))
      ++messages;
    std::size_t beats = 0;
    while (mUnit.NextHeartbeat(Milliseconds{0}))
      ++beats;
    return {messages, beats};
  }
};

TEST_F(SuspensionTest, ResumedServiceSendsOneLateMessageAndThenKeepsItsGrid) {
  constexpr Milliseconds kSuspension{3300};  // 33 data messages, 3 heartbeats
  constexpr Milliseconds kAfter{1500};       // 15 data messages, 1 or 2 heartbeats
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  ASSERT_NO_FATAL_FAILURE(Suspend(*mService));
  Pass(kPeriod);  // messages on their way arrive
  mUnit.DropLoudnessData();
  mUnit.DropHeartbeats();
  EXPECT_EQ(Counts(0, 0), Count(kSuspension));

  const auto resumption = Clock::now();
  mService->Signal(SIGCONT);
  const auto [messages, beats] = Count(kAfter);
  const auto periods = static_cast<std::size_t>((Clock::now() - resumption) / kPeriod);
  RecordFigure("messages_in_1500_ms", static_cast<double>(messages));
  RecordFigure("heartbeats_in_1500_ms", static_cast<double>(beats));
  // Two more are allowed: a late one, and one at the end of the period, whose length depends on the
  // machine. A burst would be 33 more messages and 3 more heartbeats.
  EXPECT_LE(messages, periods + 2);
  EXPECT_GE(messages, 5u);
  EXPECT_LE(beats, periods / 10 + 2);
  EXPECT_TRUE(mUnit.NextHeartbeat(kPatience));
  ExpectMeasures(-20);
  ExpectCadence();
}

/// How long the service may take from a signal to its end, in ms. The limit of the median is the
/// promised time, except under a sanitizer and in the emulator, which translates the code again for
/// every process. The other limit is for the busiest machine.
#if defined(__SANITIZE_ADDRESS__) || defined(LOUDCALC_TEST_EMULATED)
constexpr double kMostOfTheMedian = 600 * kSlowness;
#else
constexpr double kMostOfTheMedian = 150 * kSlowness;
#endif
constexpr double kMostOfAny = 5000 * kSlowness;

/// A signal-processing stage that publishes blocks as fast as it can, while it lives.
class BlockFlood {
 public:
  BlockFlood(const std::string& endpoint, const std::string& topic)
      : mThread([this, endpoint, topic] { Publish(endpoint, topic); }) {}

  ~BlockFlood() {
    mIsOver = true;
    mThread.join();
  }

 private:
  void Publish(const std::string& endpoint, const std::string& topic) const {
#ifdef __SANITIZE_ADDRESS__
    // The messaging library leaks the frames of a block that is only partly written when the
    // service ends.
    const __lsan::ScopedDisabler lossesAreTheLibrarys;
#endif
    zsock_t* stage = zsock_new(ZMQ_XPUB);  // drops what does not fit into its queue
    EXPECT_NE(-1, zsock_bind(stage, "%s", endpoint.c_str()));
    // Powers and peaks do not matter; the sizes are those of 32 meters.
    const louddesk::Frames block = {topic, std::string(128, '\1'), std::string(256, '\1'), "spare"};
    while (!mIsOver)
      louddesk::SendFrames(stage, block);
    AwaitUnsubscription(stage);
    zsock_destroy(&stage);
  }

  /// The messaging library aborts when a socket closes while it still clears up a connection that
  /// broke in the middle of a block. That is done when the service's subscription is withdrawn.
  static void AwaitUnsubscription(zsock_t* stage) {
    zsock_set_rcvtimeo(stage, static_cast<int>(kPatience.count()));
    int subscribers = 0;
    while (subscribers > 0 || (zsock_events(stage) & ZMQ_POLLIN) != 0) {
      zframe_t* change = zframe_recv(stage);
      ASSERT_TRUE(change) << "the service has not left";
      subscribers += zframe_data(change)[0] == 1 ? 1 : -1;
      zframe_destroy(&change);
    }
  }

  std::atomic<bool> mIsOver{false};
  std::thread mThread;
};

void PrintTo(const NamedSignal& signal, std::ostream* stream) {
  *stream << signal.name;
}

/// How long the service takes from a signal to its end.
class EndingSignalTest : public FaultyUnit, public testing::WithParamInterface<NamedSignal> {
 protected:
  void TearDown() override {
    if (!mTimes.empty())
      ExpectPromptEnds();
    FaultyUnit::TearDown();
  }

  void ExpectTimedEnd() {
    const auto start = Clock::now();
    ExpectCleanEnd(GetParam().signal);
    mTimes.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }

  void StartAfresh() {
    ASSERT_NO_FATAL_FAILURE(StartAgain());
    StartMeasuringWithoutConsole();
  }

 private:
  /// Checks the times. An idle machine takes some milliseconds; a busy one may delay any end, but
  /// not most of them.
  void ExpectPromptEnds() {
    std::sort(mTimes.begin(), mTimes.end());
    const double median = mTimes[mTimes.size() / 2];
    RecordFigure("median_time_to_the_end_ms", median);
    RecordFigure("longest_time_to_the_end_ms", mTimes.back());
    EXPECT_LE(median, kMostOfTheMedian);
    EXPECT_LE(mTimes.back(), kMostOfAny);
  }

  std::vector<double> mTimes;  // ms
};

TEST_P(EndingSignalTest, IsObeyedFromTheFirstInstructionOn) {
  constexpr int kDelays = 50;  // ms; the start takes less
  ServiceStart start;
  // A signal before main stays pending until main unblocks it.
  start.options.blockedSignals = {SIGTERM, SIGINT};
  for (int delay = 0; delay <= kDelays; ++delay) {
    SCOPED_TRACE(std::to_string(delay) + " ms");
    StartProcess(start);
    std::this_thread::sleep_for(std::chrono::milliseconds{delay});
    ASSERT_NO_FATAL_FAILURE(ExpectTimedEnd());
  }
}

TEST_P(EndingSignalTest, IsObeyedAtAnyMomentOfThePeriod) {
  constexpr Milliseconds kStep{20};
  mUnit.OpenAll();
  for (Milliseconds offset{}; offset < kPeriod; offset += kStep) {
    SCOPED_TRACE(offset.count());
    ASSERT_NO_FATAL_FAILURE(StartAfresh());
    Feed(8, -20);
    ASSERT_TRUE(mUnit.NextLoudnessData(kPatience));
    Pass(offset);
    ASSERT_NO_FATAL_FAILURE(ExpectTimedEnd());
  }
}

TEST_P(EndingSignalTest, IsObeyedUnderAnEndlessFloodOfBlocks) {
  constexpr int kEnds = 5;
  mUnit.OpenAll({Peer::kSignalProcessor});
  const BlockFlood flood(mUnit.EndpointOf(Peer::kSignalProcessor), mUnit.RawTopic());
  for (int end = 0; end < kEnds; ++end) {
    ASSERT_NO_FATAL_FAILURE(StartAfresh());
    ExpectData([](const auto& message) { return message.data.Momentary > -990; }, "a level");
    ASSERT_NO_FATAL_FAILURE(ExpectTimedEnd());
  }
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignalTest,
                         testing::Values(NamedSignal{"Term", SIGTERM}, NamedSignal{"Int", SIGINT}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
