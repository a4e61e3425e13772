#include "AllocationCounter.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

allocations::Counts counts{};
int untilFailure = 0;

void* allocate(std::size_t size) {
  if (untilFailure > 0 && --untilFailure == 0) return nullptr;
  void* memory = std::malloc(size);
  if (memory != nullptr) {
    ++counts.objects;
    ++counts.made;
    counts.bytes += static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
  }
  return memory;
}

void* allocateOrThrow(std::size_t size) {
  void* memory = allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void deallocate(void* memory) {
  if (memory == nullptr) return;
  --counts.objects;
  counts.bytes -= static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
  std::free(memory);
}

}  // namespace

namespace allocations {

Counts now() {
  return counts;
}
void failNth(int n) {
  untilFailure = n;
}

}  // namespace allocations

void* operator new(std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  deallocate(memory);
}
void operator delete[](void* memory) noexcept {
  deallocate(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  deallocate(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  deallocate(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  deallocate(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  deallocate(memory);
}
