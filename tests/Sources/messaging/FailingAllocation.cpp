#include "FailingAllocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// 0: none fails.
int allocationsUntilFailure = 0;

void* allocate(std::size_t size) {
  if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

FailingAllocation::FailingAllocation(int n) {
  allocationsUntilFailure = n;
}

FailingAllocation::~FailingAllocation() {
  allocationsUntilFailure = 0;
}

void* operator new(std::size_t size) {
  if (void* block = allocate(size)) return block;
  throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

void operator delete[](void* block) noexcept {
  std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}
