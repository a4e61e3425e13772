#include "FailingAllocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// Per thread, so that allocations of an emulation's thread are not counted. 0 while none is to fail.
thread_local int untilFailure = 0;

void* allocate(std::size_t size) {
  if (untilFailure > 0 && --untilFailure == 0) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

FailingAllocation::FailingAllocation(int n) {
  untilFailure = n;
}

FailingAllocation::~FailingAllocation() {
  untilFailure = 0;
}

bool FailingAllocation::happened() const {
  return untilFailure == 0;
}

// The whole family is replaced: under AddressSanitizer the forms do not call one another as those of the
// standard library do.
void* operator new(std::size_t size) {
  if (void* block = allocate(size)) return block;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocate(size);
}

void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
  std::free(block);
}
