#pragma once

// The heap of the whole program, with a lock that detects reentry: at one call of malloc() or free() it
// raises a signal while it holds the lock. A handler that allocates or frees could deadlock there with
// another heap; here it is counted, and so is one that locks a mutex.
//
//   {
//     const InterruptedHeap heap(SIGUSR1, 7);   // inside the seventh call of this thread from here on
//     ...
//     EXPECT_EQ(heap.violations(), 0);
//   }
//
// One at a time in a process. Replaces malloc() and its family, and pthread_mutex_lock(), wherever this is
// linked or preloaded, so not in a build with sanitizers.
class InterruptedHeap {
 public:
  // Raises the signal `times` times in the n-th call (from 1).
  InterruptedHeap(int signal, long n, int times = 1);
  ~InterruptedHeap();
  InterruptedHeap(const InterruptedHeap&) = delete;
  InterruptedHeap& operator=(const InterruptedHeap&) = delete;

  // Whether the n-th call has been made.
  bool happened() const;
  // Calls of the heap, and mutexes locked, by handlers that interrupted it.
  long violations() const;
};
