// A cluster that takes the example messages at moments that the test chooses.

#pragma once

#include <string>

#include "Cluster.h"

class ToldCluster {
 public:
  /// A cluster of meter set 1 that can be reached and has published nothing yet. The clock is at
  /// 2024-06-10 09:33:19 UTC.
  explicit ToldCluster(unsigned cluster = 1);

  void Pass(std::chrono::milliseconds time);

  /// Takes a message of Tests/Golden, from the data or the state publisher.
  void Data(const std::string& file);
  void Answer(const std::string& file);

  /// Takes a configuration and the acknowledgement of a start, a second later one loudness message,
  /// and then lets 40 ms pass.
  void StartMeasuring();

  loudgate::Moment now;
  loudgate::Cluster cluster;
};
