// A cluster that is told the example messages at moments that the test chooses.

#pragma once

#include <string>

#include "Cluster.h"

class ToldCluster {
 public:
  /// One of meter set 1 that can be reached and has said nothing yet. It is
  /// 2024-06-10 09:33:19 UTC.
  explicit ToldCluster(unsigned cluster = 1);

  void Pass(std::chrono::milliseconds time);

  /// Takes a message of Tests/Golden, from the data publisher or from that of states.
  void Data(const std::string& file);
  void Answer(const std::string& file);

  /// Takes a start with a configuration, then, a second later, one loudness message. It is 40 ms
  /// after that.
  void StartMeasuring();

  loudgate::Moment now;
  loudgate::Cluster cluster;
};
