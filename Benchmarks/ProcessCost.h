// Resources that a process uses.

#pragma once

#include "ServiceProcess.h"

struct Cost {
  double cpuSeconds = 0;  // processor time of all threads, from the scheduler's nanosecond counts
  double wakeUps = 0;     // times that a thread continued after waiting
  double switches = 0;    // wake-ups and preemptions

  Cost& operator+=(const Cost& other);
};

Cost operator-(const Cost& after, const Cost& before);

/// The cost of the process since its start.
Cost CostOf(const ServiceProcess& process);

/// Memory that the process does not share with others, KiB.
double PrivateKib(const ServiceProcess& process);

/// Whether every thread of the process waits.
bool IsIdle(const ServiceProcess& process);
