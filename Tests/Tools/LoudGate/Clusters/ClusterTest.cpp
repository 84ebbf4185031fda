// The counts, readings and peaks of a cluster.

#include "Cluster.h"

#include <gtest/gtest.h>

#include "LuEnumerations.h"

namespace {

using loudgate::Cluster;
using loudgate::Moment;
using std::chrono::milliseconds;

const Moment kStart = {std::chrono::steady_clock::time_point{} + std::chrono::seconds(100),
                       louddesk::WallTime{} + std::chrono::seconds(1718011999)};

class ClusterTest : public testing::Test {
 protected:
  ClusterTest() { mCluster.TakeConnection(true, 1); }

  void Pass(milliseconds time) {
    mNow.steady += time;
    mNow.wall += time;
  }

  void Data(LuCmd_e command = LU_CMD_START, bool isWellFormed = true,
            std::int16_t truePeak = kNoTruePeakCode) {
    louddesk::LoudnessMessage message;
    message.wellFormed = isWellFormed;
    message.command = static_cast<std::int16_t>(command);
    message.cluster = 3;
    message.validSource = 1;
    message.data.TruePeak = truePeak;
    message.time = mNow.steady;
    EXPECT_EQ(isWellFormed, mCluster.TakeData(message, mNow));
  }

  // Sends a message with this true peak every 100 ms for `time`.
  void Peaks(milliseconds time, std::int16_t code) {
    for (const auto end = mNow.steady + time; mNow.steady < end; Pass(milliseconds(100)))
      Data(LU_CMD_START, true, code);
  }

  void Answer(const std::string& command, bool isRepublished = false) {
    louddesk::ServiceAnswer answer;
    answer.command = command;
    answer.isRepublished = isRepublished;
    mCluster.TakeAnswer(answer, mNow);
  }

  const loudgate::ClusterCounts& Counts() const { return mCluster.Counts(); }

  Moment mNow = kStart;
  Cluster mCluster{{1, 3}, kStart};
};

TEST_F(ClusterTest, IsNamedByMeterSetAndCluster) {
  EXPECT_EQ("1-3", mCluster.Name());
}

TEST_F(ClusterTest, AFileAloneIsNotACluster) {
  EXPECT_FALSE(Cluster({1, 3}, kStart).IsKnown(kStart));
  EXPECT_TRUE(mCluster.IsKnown(kStart));
}

TEST_F(ClusterTest, OneThatHasSpokenStaysKnown) {
  Data();
  mCluster.TakeConnection(false, 0);
  Pass(std::chrono::hours(1));
  EXPECT_TRUE(mCluster.IsKnown(mNow));
}

// Pauses and a source without meters add no readings.
TEST_F(ClusterTest, CountsTheReadingsOfARunningMeasurement) {
  for (const LuCmd_e command : {LU_CMD_START, LU_CMD_PLAY, LU_CMD_PAUSE})
    Data(command);
  louddesk::LoudnessMessage invalid;
  invalid.wellFormed = true;
  invalid.command = LU_CMD_START;
  invalid.validSource = 0;
  mCluster.TakeData(invalid, mNow);
  EXPECT_EQ(2u, mCluster.Readings().Histogram().readings);
}

// A service that gets no more blocks repeats its last figures.
TEST_F(ClusterTest, CountsOneReadingOfATimeWithoutChange) {
  Peaks(milliseconds(1000), -2000);
  Peaks(milliseconds(2900), -1000);
  EXPECT_EQ(39u, mCluster.Readings().Histogram().readings);
  Peaks(milliseconds(60000), -1000);
  EXPECT_EQ(11u, mCluster.Readings().Histogram().readings);
  Peaks(milliseconds(1000), -2000);
  EXPECT_EQ(21u, mCluster.Readings().Histogram().readings);
}

TEST_F(ClusterTest, CountsEveryReadingOfSilence) {
  constexpr std::int16_t kSilentPeakCode = -9031;  // the level of a peak of 1 in 32768, 0.01 dBTP
  Peaks(milliseconds(10000), kSilentPeakCode);
  EXPECT_EQ(100u, mCluster.Readings().Histogram().belowGate);
}

TEST_F(ClusterTest, KeepsTheLastMessageAndWhenItCame) {
  EXPECT_FALSE(mCluster.Last());
  Data();
  Pass(milliseconds(100));
  Data(LU_CMD_PAUSE);
  ASSERT_TRUE(mCluster.Last());
  EXPECT_EQ(LU_CMD_PAUSE, mCluster.Last()->command);
  EXPECT_EQ(mNow.wall, mCluster.LastTime());
  EXPECT_EQ(2u, Counts().messages);
}

TEST_F(ClusterTest, OneOfAnUnknownFormIsOnlyCounted) {
  Data(LU_CMD_START, false);
  EXPECT_EQ(0u, Counts().messages);
  EXPECT_EQ(1u, Counts().malformed);
  EXPECT_FALSE(mCluster.Last());
}

TEST_F(ClusterTest, LateDataOfARunningMeasurementIsAGap) {
  Data();
  Pass(milliseconds(499));
  Data();
  EXPECT_EQ(0u, Counts().gaps);
  Pass(milliseconds(500));
  Data();
  EXPECT_EQ(1u, Counts().gaps);
}

TEST_F(ClusterTest, DataThatWasStoppedLeavesNoGap) {
  Data();
  Answer("Stop");
  Pass(milliseconds(5000));
  Data();
  EXPECT_EQ(0u, Counts().gaps);
}

TEST_F(ClusterTest, ARepublicationExplainsNoGap) {
  Data();
  Answer("Start", true);
  Pass(milliseconds(5000));
  Data();
  EXPECT_EQ(1u, Counts().gaps);
}

TEST_F(ClusterTest, WhatWasNotRunningLeavesNoGap) {
  for (const LuCmd_e command : {LU_CMD_NONE, LU_CMD_STOP}) {
    Data(command);
    Pass(milliseconds(5000));
    Data();
  }
  EXPECT_EQ(0u, Counts().gaps);
}

TEST_F(ClusterTest, EveryConnectionButTheFirstIsARestart) {
  EXPECT_EQ(0u, Counts().restarts);
  mCluster.TakeConnection(false, 0);
  mCluster.TakeConnection(true, 1);
  EXPECT_EQ(1u, Counts().restarts);
  mCluster.TakeConnection(true, 2);  // both since the last call
  EXPECT_EQ(3u, Counts().restarts);
}

TEST_F(ClusterTest, AnswersAreThoseThatAreNotRepublished) {
  Answer("Start", true);
  Answer("Pause");
  EXPECT_EQ(1u, Counts().answers);
  ASSERT_EQ(1u, mCluster.Model().Notes().size());
  EXPECT_EQ("2024-06-10T09:33:19.000Z", mCluster.Model().Notes().front().localTime);
}

TEST_F(ClusterTest, RevisionChangesWithWhateverComes) {
  const auto before = mCluster.Revision();
  Data();
  const auto between = mCluster.Revision();
  Answer("Start", true);
  EXPECT_NE(before, between);
  EXPECT_NE(between, mCluster.Revision());
}

TEST_F(ClusterTest, APeakIsRecentForHalfAMinuteAtLeastAndAMinuteAtMost) {
  EXPECT_EQ(kNoTruePeakCode, mCluster.RecentTruePeak());
  // The peak comes at the beginning and near the end of a span of half a minute.
  for (const milliseconds begin : {milliseconds(0), milliseconds(29000)}) {
    Peaks(begin, -2000);
    Peaks(milliseconds(100), -50);
    Peaks(loudgate::kRecent, -2000);
    EXPECT_EQ(-50, mCluster.RecentTruePeak()) << begin.count();
    Peaks(loudgate::kRecent, -2000);
    EXPECT_EQ(-2000, mCluster.RecentTruePeak()) << begin.count();
  }
}

TEST_F(ClusterTest, APeakBeforeAGapOfAMinuteIsNotRecent) {
  Peaks(milliseconds(100), -50);
  Pass(2 * loudgate::kRecent);
  Peaks(milliseconds(100), -2000);
  EXPECT_EQ(-2000, mCluster.RecentTruePeak());
}

}  // namespace
