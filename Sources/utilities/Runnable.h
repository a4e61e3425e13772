#pragma once

#include <cstdint>

/// Work for a thread of its own, which owns the object from a successful start() on and deletes it when run()
/// returns. So it has to be made with new, and its starter lets go of it. Knows no way to wait for the end or
/// to stop the work.
class Runnable {
 public:
  virtual ~Runnable() = default;

  /// The work. What it returns is dropped. An exception that leaves it ends the process, as in any thread.
  virtual std::int32_t run();

  /// Runs the object on a new detached thread. Returns what pthread_create returns: 0, or an error number;
  /// then there is no thread and the object stays the caller's. After 0 it is not the caller's any more: it
  /// may be gone before this returns.
  int start();
};

/// The entry of that thread: runs the object, deletes it, returns 0.
void* runfunction(Runnable* runnable);
