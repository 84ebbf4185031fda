// The cluster and its clock.

#include "ToldCluster.h"

#include <gtest/gtest.h>

#include "GoldenMessage.h"

using std::chrono::milliseconds;

// 2024-06-10 09:33:19 UTC: 19884 days of 86400 s and 34399 s are 1718011999 s.
ToldCluster::ToldCluster(unsigned number)
    : now{std::chrono::steady_clock::time_point{} + std::chrono::seconds(100),
          louddesk::WallTime{} + std::chrono::seconds(1718011999)},
      cluster({1, number}, now) {
  cluster.TakeConnection(true, 1);
}

void ToldCluster::Pass(milliseconds time) {
  now.steady += time;
  now.wall += time;
}

void ToldCluster::Data(const std::string& file) {
  const auto message = louddesk::DecodeLoudnessMessage({golden::ReadMessage(file), now.steady});
  EXPECT_TRUE(cluster.TakeData(message, now)) << file;
}

void ToldCluster::Answer(const std::string& file) {
  const auto message = louddesk::DecodeStateMessage({golden::ReadMessage(file), now.steady});
  const auto answer = ReadAnswer(message);
  ASSERT_TRUE(answer) << file;
  cluster.TakeAnswer(*answer, now);
}

void ToldCluster::StartMeasuring() {
  Answer("current-configuration.frames");
  Answer("acknowledgement-start.frames");
  Pass(milliseconds(1000));
  Data("loudness-data.frames");
  Pass(milliseconds(40));
}
