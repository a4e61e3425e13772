#include "AllocationFaults.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t anySize = 0;
std::size_t failingSize = anySize;
bool failsForEver = false;
std::atomic<int> allocationsLeft = 0;  // until the one that fails; 0 while none does
std::atomic<bool> failing = false;     // every allocation
std::atomic<long> held = 0;

bool mustFail(std::size_t size) {
  if (failing) return true;
  if (allocationsLeft == 0 || (failingSize != anySize && size != failingSize)) return false;
  const bool fails = --allocationsLeft == 0;
  failing = fails && failsForEver;
  return fails;
}

void giveBack(void* block) {
  if (block != nullptr) --held;
  std::free(block);
}

}  // namespace

AllocationFaults AllocationFaults::nth(int n) {
  return {n, anySize, false};
}
AllocationFaults AllocationFaults::from(int n) {
  return {n, anySize, true};
}
AllocationFaults AllocationFaults::ofSize(std::size_t size, int n) {
  return {n, size, false};
}

AllocationFaults::AllocationFaults(int n, std::size_t size, bool allAfter) {
  failingSize = size;
  failsForEver = allAfter;
  allocationsLeft = n;
}

AllocationFaults::~AllocationFaults() {
  allocationsLeft = 0;
  failing = false;
}

long AllocationFaults::blocksHeld() {
  return held;
}

bool AllocationFaults::happened() const {
  return allocationsLeft == 0;
}

// The whole family is replaced: under AddressSanitizer the forms do not rest on each other as they do in
// the standard library.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  void* block = mustFail(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) ++held;
  return block;
}

void* operator new(std::size_t size) {
  void* block = operator new(size, std::nothrow);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}

void operator delete(void* block) noexcept {
  giveBack(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
  giveBack(block);
}
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
  giveBack(block);
}
void operator delete[](void* block) noexcept {
  giveBack(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
  giveBack(block);
}
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
  giveBack(block);
}
