// Output of the cost benchmarks: a line for each row of the table that Benchmarks/run makes.

#pragma once

#include <cstdio>

/// Prints a row on standard error, because the service's own units print on standard output: the
/// name of the cost, the unit, our cost and the cost of the floor, separated by tabs.
inline void PrintRow(const char* what, const char* unit, double ours, double floor) {
  std::fprintf(stderr, "%s\t%s\t%.9g\t%.9g\n", what, unit, ours, floor);
}
