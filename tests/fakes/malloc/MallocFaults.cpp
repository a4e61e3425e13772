#include "MallocFaults.h"

#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {

// Child processes continue the count.
struct Shared {
  std::atomic<int> allocationsLeft;  // until the one that fails; 0 while none does
  std::atomic<bool> failsForEver;
  std::atomic<bool> failing;  // every allocation
};
Shared* shared = nullptr;  // once there was an object

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool possible = false;
#else
constexpr bool possible = true;

bool mustFail() {
  if (shared == nullptr) return false;
  bool fails = shared->failing;
  if (!fails && shared->allocationsLeft > 0) fails = --shared->allocationsLeft == 0;
  if (fails) errno = ENOMEM;
  shared->failing = fails && shared->failsForEver;
  return fails;
}
#endif

}  // namespace

bool MallocFaults::arePossible() {
  return possible;
}

MallocFaults::MallocFaults(int n, bool allAfter) {
  if (shared == nullptr)
    shared = static_cast<Shared*>(
        mmap(nullptr, sizeof *shared, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  shared->failsForEver = allAfter;
  shared->allocationsLeft = n;
}

MallocFaults::~MallocFaults() {
  shared->allocationsLeft = 0;
  shared->failing = false;
}

bool MallocFaults::happened() const {
  return shared->allocationsLeft == 0;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) noexcept {
  return mustFail() ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
  return mustFail() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) noexcept {
  return mustFail() ? nullptr : __libc_realloc(block, size);
}
}
#endif
