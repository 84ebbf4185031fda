// Replaces all forms of the operators for single objects, so that each object is freed in the way
// it was allocated. A separate source file, so that the compiler cannot inline the replacements.

#include "FailingNew.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

std::size_t gUntilFailure = 0;  // allocations up to and including the failure; 0: none will fail

void* Allocate(std::size_t size) {
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void FailNextNew() {
  FailNewAfter(0);
}

void FailNewAfter(std::size_t others) {
  gUntilFailure = others + 1;
}

bool StopFailingNew() {
  return std::exchange(gUntilFailure, 0) == 0;
}

void* operator new(std::size_t size) {
  const bool fails = gUntilFailure != 0 && --gUntilFailure == 0;
  void* memory = fails ? nullptr : Allocate(size);
  if (memory == nullptr)
    throw std::bad_alloc();
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
