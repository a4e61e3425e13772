// On a file system that does not tell upper from lower case, <semaphore.h> may lead here. So every inclusion
// passes on to the system's header, also from C, and only what follows stands under a guard. No pragma once.
#include_next <semaphore.h>

#if defined(__cplusplus) && !defined(QUENVAR_Q750_SEMAPHORE_CLASS)
#define QUENVAR_Q750_SEMAPHORE_CLASS

#include <cstdint>

/// A counting semaphore for the threads of one process; any number of them may use it at once. Neither names
/// nor shares it with other processes, and knows no time limit. Nothing throws.
class Semaphore {
 public:
  /// `value` is the count to begin with, 0 to SEM_VALUE_MAX. Another makes a semaphore that is none: its
  /// wait() never returns.
  explicit Semaphore(int value);
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;
  /// No thread may be waiting.
  ~Semaphore();

  /// Takes one off the count; waits while it is 0. Tries again without limit whatever goes wrong, be it an
  /// interruption by a signal. Returns 0.
  int wait();
  /// Adds one to the count and lets one waiting thread go on. Tries again without limit whatever goes wrong,
  /// be it a count at its highest. Returns 0.
  int signal();

  /// The object itself.
  Semaphore* getInstance();

 private:
  sem_t semaphore;
  [[maybe_unused]] std::int32_t initialValue;  // for reference only: never read
};

#endif
