#include "InterruptedHeap.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>

// The underlying heap, under the names that the C library provides for programs that replace it.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

std::atomic<pid_t> owner{0};  // of the heap's lock: the thread that is inside it
std::atomic<pid_t> interrupted{0};
std::atomic<long> callsLeft{0};  // of that thread, until the signal; 0 while none is due
std::atomic<int> signalToRaise{0};
std::atomic<int> timesToRaise{0};
std::atomic<long> found{0};

// Holds the lock. In a handler that interrupted the holder, it is held already.
class HeapLock {
 public:
  HeapLock() : self_(gettid()) {
    if (owner == self_) {
      ++found;
      return;
    }
    for (pid_t nobody = 0; !owner.compare_exchange_weak(nobody, self_); nobody = 0) sched_yield();
    held_ = true;
    if (interrupted == self_ && callsLeft > 0 && --callsLeft == 0) interrupt();
  }
  ~HeapLock() {
    if (held_) owner = 0;
  }
  HeapLock(const HeapLock&) = delete;
  HeapLock& operator=(const HeapLock&) = delete;

 private:
  static void interrupt() {
    const int error = errno;
    for (int left = timesToRaise; left > 0; --left) raise(signalToRaise);
    errno = error;
  }

  const pid_t self_;
  bool held_ = false;
};

}  // namespace

InterruptedHeap::InterruptedHeap(int signal, long n, int times) {
  found = 0;
  signalToRaise = signal;
  timesToRaise = times;
  interrupted = gettid();
  callsLeft = n;
}

InterruptedHeap::~InterruptedHeap() {
  callsLeft = 0;
  interrupted = 0;
}

bool InterruptedHeap::happened() const {
  return callsLeft == 0;
}

long InterruptedHeap::violations() const {
  return found;
}

extern "C" {

void* malloc(std::size_t size) {
  const HeapLock lock;
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  const HeapLock lock;
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  const HeapLock lock;
  return __libc_realloc(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
  const HeapLock lock;
  return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) {
  const HeapLock lock;
  __libc_free(block);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
  using Lock = int (*)(pthread_mutex_t*);
  static const auto next = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  if (owner == gettid()) ++found;
  return next(mutex);
}
}
