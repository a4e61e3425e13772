#include "LeakSweep.h"

#ifdef Q750_ADDRESS_SANITIZER  // set by fuzz/CMakeLists.txt

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <unordered_set>

// Of the sanitizers' allocator interface, whose header only clang installs. Returns 0 if there is no room
// for more hooks.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*onMalloc)(const volatile void*, std::size_t),
                                                         void (*onFree)(const volatile void*));

namespace {

std::unordered_set<const volatile void*>& blocks() {
  static std::unordered_set<const volatile void*> set(1024);
  return set;
}

// Atomic although there is one thread: a compiler assumes that malloc() and free() read no variable of the
// program, so it would drop a plain store that is followed by another. The hooks read this one.
std::atomic<bool> sweeping = false;

// The set allocates too: what it does is not recorded.
template <typename Change>
void record(Change change) {
  if (!sweeping) return;
  sweeping = false;
  change(blocks());
  sweeping = true;
}

void allocated(const volatile void* block, std::size_t) {
  record([block](auto& set) { set.insert(block); });
}

void freed(const volatile void* block) {
  record([block](auto& set) { set.erase(block); });
}

}  // namespace

// Whether a block left over belongs to malloc() or to operator new is not known: free() has to take both.
extern "C" const char* __asan_default_options() {
  return "alloc_dealloc_mismatch=0";
}

LeakSweep::LeakSweep() {
  static const int installed = __sanitizer_install_malloc_and_free_hooks(allocated, freed);
  if (installed == 0) std::abort();
  sweeping = true;
}

LeakSweep::~LeakSweep() {
  sweeping = false;
  for (const volatile void* block : blocks()) std::free(const_cast<void*>(block));
  blocks().clear();
}

#else

LeakSweep::LeakSweep() = default;
LeakSweep::~LeakSweep() = default;

#endif
