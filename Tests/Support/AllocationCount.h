// Counts every call of operator new and delete, on any thread, in a program that links this unit.

#pragma once

#include <cstdint>

/// Blocks of memory allocated since the program began.
std::uint64_t AllocationsSoFar();

/// Blocks that the calling thread has allocated since the program began.
std::uint64_t OwnAllocationsSoFar();

/// Blocks of memory freed since the program began.
std::uint64_t ReleasesSoFar();

/// Blocks that the calling thread allocated while `work()` ran. The messaging library's threads
/// allocate at any time and are not counted.
template <typename Work>
std::uint64_t AllocationsOf(Work work) {
  const std::uint64_t before = OwnAllocationsSoFar();
  work();
  return OwnAllocationsSoFar() - before;
}

/// Watches the block at `memory`, which must not be null, instead of the previous one.
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
