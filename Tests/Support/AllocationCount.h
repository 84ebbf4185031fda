// In a program that links this, every operator new and delete counts, whatever thread calls it.

#pragma once

#include <cstdint>

/// Blocks of memory that were asked for since the program began.
std::uint64_t AllocationsSoFar();

/// Blocks of memory that were given back since then.
std::uint64_t ReleasesSoFar();

/// Blocks that were asked for while `work()` ran.
template <typename Work>
std::uint64_t AllocationsOf(Work work) {
  const std::uint64_t before = AllocationsSoFar();
  work();
  return AllocationsSoFar() - before;
}
