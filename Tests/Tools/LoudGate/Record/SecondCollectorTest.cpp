// Sorts messages into seconds, at moments that the test chooses.

#include "SecondCollector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ToldCluster.h"

namespace {

using louddesk::kMissedReading;
using louddesk::RecordedEvent;
using louddesk::RecordedSecond;
using louddesk::RecordedState;
using loudgate::PlaceReadings;
using loudgate::SecondCollector;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int16_t kMissed = kMissedReading;
constexpr std::int64_t kStart = 1718011999;  // start of ToldCluster, s since 1970

class SecondCollectorTest : public testing::Test {
 protected:
  SecondCollectorTest() { mTold.StartMeasuring(); }

  void Advance() { mCollector.Advance({&mTold.cluster}, mTold.now); }

  void Pass(milliseconds time) {
    mTold.Pass(time);
    Advance();
  }

  // Takes a message with this momentary loudness.
  void Data(std::int16_t momentary, std::int16_t peak = -500) {
    louddesk::LoudnessMessage message;
    message.wellFormed = true;
    message.validSource = 1;
    message.command = LU_CMD_START;
    message.data.Momentary = momentary;
    message.data.ShortTerm = static_cast<std::int16_t>(momentary - 1);
    message.data.TruePeak = peak;
    message.time = mTold.now.steady;
    mTold.cluster.TakeData(message, mTold.now);
    mCollector.TakeData(mTold.cluster, message, mTold.now);
  }

  // Advances to the beginning of the next second.
  void NextSecond() {
    const auto time = mTold.now.wall.time_since_epoch();
    Pass(std::chrono::ceil<milliseconds>(std::chrono::floor<std::chrono::seconds>(time) +
                                         std::chrono::seconds(1) - time));
  }

  // Takes messages of the same loudness every 100 ms, starting now.
  void Feed(int count, std::int16_t momentary = -230) {
    for (int i = 0; i < count; ++i) {
      Data(momentary);
      Pass(milliseconds(100));
    }
  }

  std::vector<RecordedSecond> Seconds() { return mCollector.TakeBatch().seconds[{1, 1}]; }

  ToldCluster mTold;
  SecondCollector mCollector;
};

TEST(PlaceReadingsTest, TenHaveTheirTenths) {
  EXPECT_THAT(
      PlaceReadings(
          {{1, 0}, {2, 1}, {3, 2}, {4, 3}, {5, 4}, {6, 5}, {7, 6}, {8, 7}, {9, 8}, {10, 9}}),
      ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
}

TEST(PlaceReadingsTest, OneThatIsMissingIsMarkedWhereItIs) {
  EXPECT_THAT(
      PlaceReadings({{1, 0}, {2, 1}, {3, 2}, {5, 4}, {6, 5}, {7, 6}, {8, 7}, {9, 8}, {10, 9}}),
      ElementsAre(1, 2, 3, kMissed, 5, 6, 7, 8, 9, 10));
  EXPECT_THAT(PlaceReadings({}), testing::Each(kMissed));
}

TEST(PlaceReadingsTest, OnesThatCameTogetherTakeTheirTurns) {
  EXPECT_THAT(PlaceReadings({{1, 0}, {2, 0}, {3, 5}, {4, 5}, {5, 9}, {6, 9}}),
              ElementsAre(1, 2, kMissed, kMissed, kMissed, 3, 4, kMissed, 5, 6));
  EXPECT_THAT(PlaceReadings({{1, 9}, {2, 9}, {3, 9}}),
              ElementsAre(kMissed, kMissed, kMissed, kMissed, kMissed, kMissed, kMissed, 1, 2, 3));
}

TEST_F(SecondCollectorTest, ASecondHasItsReadingsAndTheHighestPeak) {
  NextSecond();
  const auto time =
      std::chrono::floor<std::chrono::seconds>(mTold.now.wall.time_since_epoch()).count();
  for (std::int16_t i = 0; i < 10; ++i) {
    Data(static_cast<std::int16_t>(-300 + i), i == 4 ? -12 : -700);
    Pass(milliseconds(100));
  }
  Feed(20);
  const auto seconds = Seconds();
  ASSERT_LE(1u, seconds.size());
  EXPECT_EQ(time, seconds[0].time);
  EXPECT_THAT(seconds[0].momentary,
              ElementsAre(-300, -299, -298, -297, -296, -295, -294, -293, -292, -291));
  EXPECT_EQ(-292, seconds[0].shortTerm);
  EXPECT_EQ(-12, seconds[0].truePeak);
  EXPECT_EQ(RecordedState::kRunning, seconds[0].state);
  EXPECT_TRUE(seconds[0].isSourceValid);
}

TEST_F(SecondCollectorTest, AMessageThatIsLateIsStillOfItsSecond) {
  NextSecond();
  for (int i = 0; i < 9; ++i) {
    Data(-100);
    Pass(milliseconds(100));
  }
  Pass(milliseconds(101));
  Data(-100);  // 1 ms into the next second
  for (int i = 0; i < 10; ++i) {
    Pass(milliseconds(99));
    Data(-200);
  }
  Pass(milliseconds(1000));
  Pass(milliseconds(1000));
  const auto seconds = Seconds();
  ASSERT_GE(seconds.size(), 2u);
  EXPECT_THAT(seconds[0].momentary, testing::Each(-100));
  EXPECT_THAT(seconds[1].momentary, testing::Each(-200));
}

TEST_F(SecondCollectorTest, SecondsWithoutMessagesAreMarked) {
  NextSecond();
  Feed(10);
  Pass(milliseconds(1000));
  Pass(milliseconds(1000));
  Pass(milliseconds(1000));
  const auto seconds = Seconds();
  ASSERT_EQ(3u, seconds.size());
  EXPECT_THAT(seconds[1].momentary, testing::Each(kMissed));
  EXPECT_EQ(kNoLoudnessCode, seconds[1].shortTerm);
  EXPECT_EQ(kNoTruePeakCode, seconds[1].truePeak);
  EXPECT_EQ(seconds[1].time + 1, seconds[2].time);
  EXPECT_EQ(RecordedState::kSilent, seconds[2].state);
}

TEST_F(SecondCollectorTest, AServiceThatIsGoneHasNoSeconds) {
  NextSecond();
  Feed(10);
  mTold.cluster.TakeConnection(false, 0);
  for (int i = 0; i < 100; ++i)
    Pass(milliseconds(100));
  const auto batch = mCollector.TakeBatch();
  EXPECT_LE(batch.seconds.at({1, 1}).size(), 4u);
  EXPECT_EQ("state", batch.events.back().kind);
  EXPECT_EQ("dead", batch.events.back().text);
}

TEST_F(SecondCollectorTest, TheEndHasTheSecondThatGoesOn) {
  NextSecond();
  Feed(5);
  mCollector.Finish();
  const auto seconds = Seconds();
  ASSERT_FALSE(seconds.empty());
  EXPECT_THAT(seconds.back().momentary, ElementsAre(-230, -230, -230, -230, -230, kMissed, kMissed,
                                                    kMissed, kMissed, kMissed));
}

TEST_F(SecondCollectorTest, AClockThatIsSetBackGivesItsSecondsTwice) {
  NextSecond();
  Feed(30, -100);
  mTold.now.wall -= std::chrono::seconds(3);
  Feed(30, -200);
  mCollector.Finish();
  std::map<std::int64_t, int> times;
  for (const RecordedSecond& second : Seconds())
    ++times[second.time];
  EXPECT_THAT(times, testing::Contains(testing::Pair(testing::_, 2)));
}

TEST_F(SecondCollectorTest, AClockThatIsSetIsAnEvent) {
  Pass(milliseconds(100));
  mTold.now.wall -= std::chrono::hours(1);
  Pass(milliseconds(100));
  Pass(milliseconds(100));
  mTold.now.wall += std::chrono::hours(24 * 365);
  Pass(milliseconds(100));
  std::vector<std::string> told;
  for (const RecordedEvent& event : mCollector.TakeBatch().events)
    if (event.kind == "clock") {
      EXPECT_FALSE(event.cluster);
      told.push_back(std::to_string(event.time) + " " + event.text);
    }
  // The clock starts at kStart + 1.04 s, and each step takes 100 ms.
  EXPECT_THAT(
      told, ElementsAre(std::to_string((kStart + 1 - 3600) * 1000 + 240) + " set back by 3600.0 s",
                        std::to_string((kStart + 1 - 3600 + 31536000) * 1000 + 440) +
                            " set forward by 31536000.0 s"));
}

// The publishers' files are removed, and another service of the same name starts.
TEST_F(SecondCollectorTest, AClusterThatTheBoardForgotIsANewOneWhenItComesAgain) {
  mTold.cluster.TakeConnection(true, 1);
  NextSecond();
  ASSERT_EQ(1u, mTold.cluster.Counts().restarts);
  for (int i = 0; i < 40; ++i) {
    mTold.Pass(milliseconds(100));
    mCollector.Advance({}, mTold.now);
  }
  mCollector.TakeBatch();
  const ToldCluster other;
  mCollector.Advance({&other.cluster}, mTold.now);
  std::vector<std::string> kinds;
  for (const RecordedEvent& event : mCollector.TakeBatch().events)
    kinds.push_back(event.kind);
  EXPECT_THAT(kinds, ElementsAre("state"));
}

TEST_F(SecondCollectorTest, EventsBeyondTheirBoundAreOneGap) {
  louddesk::ServiceAnswer answer;
  answer.kind = louddesk::StateKind::kConfiguration;
  for (int i = 0; i < 1000; ++i) {
    answer.configuration = std::string(16000, static_cast<char>('a' + i % 2));
    mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  }
  const auto events = mCollector.TakeBatch().events;
  EXPECT_LT(events.size(), 20u);
  EXPECT_EQ("gap", events.back().kind);
  EXPECT_EQ("more events came than are kept", events.back().text);
  EXPECT_EQ(1000 - (events.size() - 1), mCollector.LostEvents());
  mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  answer.configuration = "{}";
  mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  EXPECT_EQ("configuration", mCollector.TakeBatch().events.back().kind);
}

TEST_F(SecondCollectorTest, ChangesAreEventsOnceEach) {
  Advance();
  mTold.cluster.TakeConnection(false, 0);
  mTold.cluster.TakeConnection(true, 1);
  Advance();
  Advance();
  louddesk::ServiceAnswer answer;
  answer.kind = louddesk::StateKind::kConfiguration;
  answer.isRepublished = true;
  answer.configuration = "{\"a\":1}";
  mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  answer.configuration = "{\"a\":2}";
  mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  answer = {};
  answer.command = "Stop";
  answer.user = 17;
  mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  answer.isRepublished = true;
  mCollector.TakeAnswer(mTold.cluster, answer, mTold.now);
  std::vector<std::pair<std::string, std::string>> told;
  for (const RecordedEvent& event : mCollector.TakeBatch().events) {
    told.emplace_back(event.kind, event.text);
    EXPECT_EQ((kStart + 1) * 1000 + 40, event.time);
  }
  EXPECT_THAT(
      told, ElementsAre(testing::Pair("state", "running"), testing::Pair("programme", "has meters"),
                        testing::Pair("restart", "the service was started again"),
                        testing::Pair("configuration", "{\"a\":1}"),
                        testing::Pair("configuration", "{\"a\":2}"),
                        testing::Pair("acknowledgement", "Stop acknowledged, user 17")));
}

}  // namespace
