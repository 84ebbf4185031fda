// Counts allocations. Replaces every form of operator new and delete, because a sanitizer's runtime
// defines all of them and does not count.

#include "AllocationCount.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> gAllocations{0};
thread_local std::uint64_t gOwnAllocations = 0;
std::atomic<std::uint64_t> gReleases{0};
std::atomic<const void*> gWatched{nullptr};

constexpr std::size_t kUsualAlignment = alignof(std::max_align_t);

// Not inlined: otherwise the compiler warns that aligned_alloc and operator delete do not match.
[[gnu::noinline]] void* Allocate(std::size_t size, std::size_t alignment) noexcept {
  ++gAllocations;
  ++gOwnAllocations;
  const std::size_t units = size == 0 ? 1 : (size + alignment - 1) / alignment;
  return std::aligned_alloc(alignment, units * alignment);
}

[[gnu::noinline]] void Release(void* memory) noexcept {
  if (memory != nullptr)
    ++gReleases;
  const void* watched = memory;
  gWatched.compare_exchange_strong(watched, nullptr);
  std::free(memory);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
  void* memory = Allocate(size, alignment);
  if (memory == nullptr)
    throw std::bad_alloc();
  return memory;
}

}  // namespace

std::uint64_t AllocationsSoFar() {
  return gAllocations;
}

std::uint64_t OwnAllocationsSoFar() {
  return gOwnAllocations;
}

std::uint64_t ReleasesSoFar() {
  return gReleases;
}

void WatchRelease(const void* memory) {
  gWatched = memory;
}

bool IsWatchedReleased() {
  return gWatched == nullptr;
}

void* operator new(std::size_t size) {
  return AllocateOrThrow(size, kUsualAlignment);
}
void* operator new[](std::size_t size) {
  return AllocateOrThrow(size, kUsualAlignment);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, kUsualAlignment);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, kUsualAlignment);
}
void operator delete(void* memory) noexcept {
  Release(memory);
}
void operator delete[](void* memory) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
  Release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  Release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  Release(memory);
}
