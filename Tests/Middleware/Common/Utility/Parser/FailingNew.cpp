// Replaces the operators for one object, all forms together, so that each object is freed the way
// it was obtained. A source of its own: the compiler must not see through the replacements.

#include "FailingNew.h"

#include <cstdlib>
#include <new>

namespace {

bool gFailNext = false;

void* Allocate(std::size_t size) {
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void FailNextNew() {
  gFailNext = true;
}

void* operator new(std::size_t size) {
  void* memory = gFailNext ? nullptr : Allocate(size);
  gFailNext = false;
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
