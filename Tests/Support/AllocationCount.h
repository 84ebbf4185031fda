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

/// Watches for the end of one block, not null, in place of the one before; tells whether the
/// watched one was given back.
void WatchRelease(const void* memory);
bool IsWatchedReleased();

/// Whether the block at `memory` was given back while `work()` ran.
template <typename Work>
bool IsReleasedBy(const void* memory, Work work) {
  WatchRelease(memory);
  work();
  return IsWatchedReleased();
}
