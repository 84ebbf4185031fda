// In a program that links this, every call of operator new and delete is counted, on any thread.

#pragma once

#include <cstdint>

/// Blocks of memory allocated since the program began.
std::uint64_t AllocationsSoFar();

/// Blocks of memory freed since then.
std::uint64_t ReleasesSoFar();

/// Blocks allocated while `work()` ran.
template <typename Work>
std::uint64_t AllocationsOf(Work work) {
  const std::uint64_t before = AllocationsSoFar();
  work();
  return AllocationsSoFar() - before;
}

/// Watches the block at `memory`, not null, instead of the one watched before.
void WatchRelease(const void* memory);

/// Whether the watched block has been freed.
bool IsWatchedReleased();

/// Whether the block at `memory` was freed while `work()` ran.
template <typename Work>
bool IsReleasedBy(const void* memory, Work work) {
  WatchRelease(memory);
  work();
  return IsWatchedReleased();
}
