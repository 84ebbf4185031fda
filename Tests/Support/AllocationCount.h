// In a program that links this, every call of operator new and delete is counted, on any thread.

#pragma once

#include <cstdint>

/// Blocks of memory allocated since the program began.
std::uint64_t AllocationsSoFar();

/// The part of them that the calling thread allocated.
std::uint64_t OwnAllocationsSoFar();

/// Blocks of memory freed since then.
std::uint64_t ReleasesSoFar();

/// Blocks that the calling thread allocated while `work()` ran. Those of the messaging library's
/// threads come at any time.
template <typename Work>
std::uint64_t AllocationsOf(Work work) {
  const std::uint64_t before = OwnAllocationsSoFar();
  work();
  return OwnAllocationsSoFar() - before;
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
