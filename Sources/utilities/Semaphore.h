// On a file system that ignores case, <semaphore.h> may find this file. So every inclusion passes on
// to the system's header, also from C, and the guard covers only what follows: #pragma once would skip
// the system's header.
#include_next <semaphore.h>

#if defined(__cplusplus) && !defined(QUENVAR_Q750_SEMAPHORE_CLASS)
#define QUENVAR_Q750_SEMAPHORE_CLASS

#include <cstdint>

/// A counting semaphore for the threads of one process; any number of them may use it at once. It has no
/// name, is not shared with other processes and has no time-out. Nothing throws.
class Semaphore {
 public:
  /// `value` is the initial count, 0 to SEM_VALUE_MAX. With any other, the system's semaphore is not created,
  /// and wait() never returns.
  explicit Semaphore(int value);
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;
  /// No thread may be waiting.
  ~Semaphore();

  /// Decrements the count; blocks while it is 0. Retries without limit after any failure, such as an
  /// interruption by a signal. Returns 0.
  int wait();
  /// Increments the count and wakes one waiting thread. Retries without limit after any failure, such as a
  /// count at its maximum. Returns 0.
  int signal();

  /// The object itself.
  Semaphore* getInstance();

 private:
  sem_t semaphore;
  [[maybe_unused]] std::int32_t initialValue;  // for reference only: never read
};

#endif
