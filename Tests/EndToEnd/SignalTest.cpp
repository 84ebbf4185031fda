// Signals that mean nothing to the service, its suspension, and its end by a signal at any moment
// from its first instruction on.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

#include "FaultyUnit.h"

namespace {

using louddesk::Peer;
using Clock = std::chrono::steady_clock;

struct NamedSignal {
  const char* name;
  int signal;
};

void PrintTo(const NamedSignal& signal, std::ostream* stream) {
  *stream << signal.name;
}

const auto kNameOfSignal = [](const auto& test) { return std::string(test.param.name); };

class StraySignalTest : public FaultyUnit, public testing::WithParamInterface<NamedSignal> {};

TEST_P(StraySignalTest, NeitherEndsTheServiceNorDisturbsItsCadence) {
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  ASSERT_NO_FATAL_FAILURE(BeginWatch());
  mUnit.DropHeartbeats();
  for (int i = 0; i < 100; ++i) {
    mService->Signal(GetParam().signal);
    Pass(kPeriod / 4);
  }
  EXPECT_TRUE(mUnit.NextHeartbeat(kPatience));
  ExpectMeasures(-20);
  ExpectWatchedWell();
}

INSTANTIATE_TEST_SUITE_P(Signals, StraySignalTest,
                         testing::Values(NamedSignal{"User1", SIGUSR1},
                                         NamedSignal{"User2", SIGUSR2},
                                         NamedSignal{"HangUp", SIGHUP},
                                         NamedSignal{"Pipe", SIGPIPE},
                                         NamedSignal{"Alarm", SIGALRM}),
                         kNameOfSignal);

class SuspensionTest : public FaultyUnit {
 protected:
  using Counts = std::pair<std::size_t, std::size_t>;  // data messages, heartbeats

  /// What comes in the given time.
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
  Pass(kPeriod);  // for what was on its way
  mUnit.DropLoudnessData();
  mUnit.DropHeartbeats();
  EXPECT_EQ(Counts(0, 0), Count(kSuspension));

  mService->Signal(SIGCONT);
  const auto [messages, beats] = Count(kAfter);
  RecordFigure("messages_in_1500_ms", static_cast<double>(messages));
  RecordFigure("heartbeats_in_1500_ms", static_cast<double>(beats));
  // One that is late, one at either end of the stretch; a burst would be 33 more.
  EXPECT_LE(messages, 15u + 2u);
  EXPECT_GE(messages, 5u);
  EXPECT_LE(beats, 2u + 1u);
  EXPECT_TRUE(mUnit.NextHeartbeat(kPatience));
  ExpectMeasures(-20);
  ExpectCadence();
}

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
    zsock_t* stage = zsock_new(ZMQ_PUB);  // drops what does not fit into its queue
    EXPECT_NE(-1, zsock_bind(stage, "%s", endpoint.c_str()));
    // Any power and peak; the sizes are those of 32 meters.
    const louddesk::Frames block = {topic, std::string(128, '\1'), std::string(256, '\1'), "spare"};
    while (!mIsOver)
      louddesk::SendFrames(stage, block);
    zsock_destroy(&stage);
  }

  std::atomic<bool> mIsOver{false};
  std::thread mThread;
};

/// How long the service takes from a signal to its end.
class EndingSignalTest : public FaultyUnit, public testing::WithParamInterface<NamedSignal> {
 protected:
  void TearDown() override {
    std::sort(mTimes.begin(), mTimes.end());
    RecordFigure("median_time_to_the_end_ms", mTimes.at(mTimes.size() / 2));
    RecordFigure("longest_time_to_the_end_ms", mTimes.back());
    // An idle machine takes some milliseconds.
    EXPECT_LE(mTimes.front(), 500);
    FaultyUnit::TearDown();
  }

  void ExpectTimedEnd() {
    const auto start = Clock::now();
    ExpectCleanEnd(GetParam().signal);
    mTimes.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }

  void StartAfresh() {
    ASSERT_TRUE(mUnit.WaitFor([this] { return !mUnit.HasSubscribers(); }, kPatience));
    StartProcess();
    ASSERT_TRUE(mUnit.WaitUntilSubscribed(kPatience)) << mUnit.MissingSubscriptions();
    mUnit.DropStates();
    StartMeasuringUnheard();
  }

  std::vector<double> mTimes;  // ms
};

TEST_P(EndingSignalTest, IsObeyedFromTheFirstInstructionOn) {
  constexpr int kDelays = 50;  // ms, by which the start is over
  ServiceStart start;
  // One that comes before main is kept until main asks for it.
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
  ASSERT_NO_FATAL_FAILURE(StartInOrder());
  mUnit.Close(Peer::kSignalProcessor);
  const BlockFlood flood(mUnit.EndpointOf(Peer::kSignalProcessor), mUnit.RawTopic());
  ExpectData([](const auto& message) { return message.data.Momentary > -990; }, "a level");
  ExpectTimedEnd();
}

INSTANTIATE_TEST_SUITE_P(Signals, EndingSignalTest,
                         testing::Values(NamedSignal{"Term", SIGTERM}, NamedSignal{"Int", SIGINT}),
                         kNameOfSignal);

}  // namespace
