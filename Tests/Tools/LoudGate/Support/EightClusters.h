// A board of eight clusters behind the gate.

#pragma once

#include "GateProcess.h"

class EightClusters : public GateTest {
 protected:
  static constexpr unsigned kClusters = 8;

  /// Starts the services and the gate, and waits until all eight measure one meter each.
  void StartBoard();

 private:
  std::vector<std::unique_ptr<ServiceProcess>> mOthers;
};
