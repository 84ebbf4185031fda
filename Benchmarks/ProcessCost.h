// What a process takes of the machine.

#pragma once

#include "ServiceProcess.h"

struct Cost {
  double cpuSeconds = 0;  // of all threads, from the scheduler's own account in nanoseconds
  double wakeUps = 0;     // a thread went on after it had waited
  double switches = 0;    // the same, or it had to let another one run

  Cost& operator+=(const Cost& other);
};

Cost operator-(const Cost& after, const Cost& before);

/// What it has taken since its start.
Cost CostOf(const ServiceProcess& process);

/// Memory that it shares with no other process, KiB.
double PrivateKib(const ServiceProcess& process);

/// Whether every thread waits for something to happen.
bool IsIdle(const ServiceProcess& process);
